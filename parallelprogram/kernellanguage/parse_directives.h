// How a kernel is run: the size of its groups, and how it is spread over threads.
#pragma once

#include "parallelprogram/kernellanguage/parse_part.h"

namespace ostra::kernellanguage {

class ParseExpressions;

class ParseDirectives : ParsePart {
 public:
  ParseDirectives(const ParseBasis& basis, ParseExpressions& expressions)
      : ParsePart(basis), _expressions(expressions) {}

  void ReadGroupSize(NodeList& items);
  void ReadTuning(NodeList& items);
  // [numthreads(8, 8, 1)]
  void FailForeignGroupSize();

 private:
  ParseExpressions& _expressions;
};

}  // namespace ostra::kernellanguage

// Where reading goes on behind a broken statement.
#pragma once

#include "parallelprogram/kernellanguage/parse_types.h"

namespace ostra::kernellanguage {

class ParseRecovery : ParsePart {
 public:
  ParseRecovery(const ParseBasis& basis, ParseTypes& types) : ParsePart(basis), _types(types) {}

  // Skips the rest of the statement: to behind its ";", to before the "}" of its block, or to a line that begins the
  // next one.
  void Recover();

 private:
  ParseTypes& _types;
};

}  // namespace ostra::kernellanguage

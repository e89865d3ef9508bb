// The parameters of a kernel, in both forms.
#pragma once

#include "parallelprogram/kernellanguage/parse_types.h"

namespace ostra::kernellanguage {

class ParseParameters : ParsePart {
 public:
  ParseParameters(const ParseBasis& basis, ParseTypes& types) : ParsePart(basis), _types(types) {}

  // (type) name, (type) name ...
  void ReadInputs(NodeList& items);
  // struct KernelInput { type name; ... };
  void ReadStructForm(NodeList& items);

 private:
  // The name behind the type.
  void ReadName(NodeIndex type, NodeList& parameters);
  void AddList(const Token& start, const NodeList& parameters, UInt16 flags, NodeList& items);

  ParseTypes& _types;
};

}  // namespace ostra::kernellanguage

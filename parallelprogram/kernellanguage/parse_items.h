// What stands outside of functions.
#pragma once

#include "parallelprogram/kernellanguage/parse_directives.h"
#include "parallelprogram/kernellanguage/parse_functions.h"
#include "parallelprogram/kernellanguage/parse_parameters.h"
#include "parallelprogram/kernellanguage/parse_structs.h"

namespace ostra::kernellanguage {

class ParseItems : ParsePart {
 public:
  struct Uses {
    ParseUnknownTypes& unknownTypes;
    ParseTypes& types;
    ParseDeclarations& declarations;
    ParseDirectives& directives;
    ParseParameters& parameters;
    ParseStructs& structs;
    ParseFunctions& functions;
  };

  ParseItems(const ParseBasis& basis, const Uses& uses)
      : ParsePart(basis),
        _unknownTypes(uses.unknownTypes),
        _types(uses.types),
        _declarations(uses.declarations),
        _directives(uses.directives),
        _parameters(uses.parameters),
        _structs(uses.structs),
        _functions(uses.functions) {}

  // Adds the next item, if it has a node.
  void ReadItem(NodeList& items);

 private:
  // The first and the last line of a namespace, which has no node.
  Bool TakeNamespace();
  // What begins with a word of the language; false if it does not.
  Bool ReadWordItem(NodeList& items);
  void ReadFunctionOrConstant(NodeList& items);

  ParseUnknownTypes& _unknownTypes;
  ParseTypes& _types;
  ParseDeclarations& _declarations;
  ParseDirectives& _directives;
  ParseParameters& _parameters;
  ParseStructs& _structs;
  ParseFunctions& _functions;
  Int _namespaces = 0;  // that are open
};

}  // namespace ostra::kernellanguage

// The ways in which a kernel reaches its parameters: UNIFORM(x), UNIFORM_BUFFER(x), LOCALDATA(x, index, local), and the
// bare names that are arguments of other words.
#pragma once

#include "parallelprogram/kernellanguage/resolve_unknown_names.h"

namespace ostra::kernellanguage {

class ResolveExpressions;

class ResolveParameterWords : ResolvePart {
 public:
  ResolveParameterWords(const ResolveBasis& basis, const ResolveNames& names, ResolveUnknownNames& unknownNames,
                        ResolveExpressions& expressions)
      : ResolvePart(basis), _names(names), _unknownNames(unknownNames), _expressions(expressions) {}

  TypeIndex ParameterWord(NodeIndex node);  // kUniform or kBuffer
  TypeIndex LocalData(NodeIndex node);
  // A parameter by its name alone.
  TypeIndex BareName(NodeIndex node, NodeIndex parameter);
  // The argument of a word that names a parameter, `image` or UNIFORM(image); kNoNode with an error.
  NodeIndex ReadArgument(NodeIndex argument, WordId word);

 private:
  const ResolveNames& _names;
  ResolveUnknownNames& _unknownNames;
  ResolveExpressions& _expressions;
};

}  // namespace ostra::kernellanguage

// Calls of functions of the file.
#pragma once

#include "parallelprogram/kernellanguage/resolve_conversions.h"
#include "parallelprogram/kernellanguage/resolve_expressions.h"
#include "parallelprogram/kernellanguage/resolve_places.h"

namespace ostra::kernellanguage {

class ResolveFunctionCalls : ResolvePart {
 public:
  struct Uses {
    const ResolveNames& names;
    ResolveConversions& conversions;
    ResolvePlaces& places;
    ResolveExpressions& expressions;
  };

  ResolveFunctionCalls(const ResolveBasis& basis, const Uses& uses) : ResolvePart(basis), _uses(uses) {}

  // `functions` have the name of the call.
  TypeIndex Call(NodeIndex node, std::span<const NodeIndex> functions);

 private:
  struct Form;

  Form ReadForm(NodeIndex function) const;
  // The number of the form; nothing with a message.
  std::optional<std::size_t> ChooseForm(NodeIndex node, const std::vector<Form>& forms, const TypeList& types);
  Bool CheckCount(NodeIndex node, const Form& form);
  Bool ReadArgument(NodeIndex argument, const Form& form, std::size_t index);

  const Uses _uses;
};

}  // namespace ostra::kernellanguage

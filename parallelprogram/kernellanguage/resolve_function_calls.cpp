#include "parallelprogram/kernellanguage/resolve_function_calls.h"

#include <algorithm>

#include "parallelprogram/kernellanguage/conversions.h"

namespace ostra::kernellanguage {

// How a function is called.
struct ResolveFunctionCalls::Form {
  NodeIndex function = kNoNode;
  TypeList parameters = {};
  std::vector<char> isExact = {};  // per parameter, a Bool: the function sets it
  std::size_t needed = 0;          // arguments without a default value
};

ResolveFunctionCalls::Form ResolveFunctionCalls::ReadForm(NodeIndex function) const {
  Form form{.function = function};
  const auto children = _tree.GetChildren(function);
  for (const NodeIndex parameter : children.subspan(1, children.size() - 2)) {
    form.parameters.push_back(_resolved.type[parameter]);
    if (Child(parameter, 2) == kNoNode) ++form.needed;
    form.isExact.push_back(SetsArgument(_tree.nodes[parameter].flags));
  }
  return form;
}

std::optional<std::size_t> ResolveFunctionCalls::ChooseForm(NodeIndex node, const std::vector<Form>& forms,
                                                            const TypeList& types) {
  if (forms.size() == 1) return 0;
  std::vector<Candidate> candidates;
  for (const Form& form : forms) {
    const Bool isEnough = types.size() >= form.needed && types.size() <= form.parameters.size();
    const std::size_t count = isEnough ? types.size() : form.parameters.size();
    candidates.push_back(
        {std::span(form.parameters).first(count), {reinterpret_cast<const Bool*>(form.isExact.data()), count}});
  }
  std::size_t chosen = 0;
  if (ChooseOverload(_resolved.types, candidates, types, chosen) == Choice::kFound) return chosen;
  Stop(node, Join({"the choice between functions \"", NameOf(node), "\" for ", ListTypes(types)}));
  return std::nullopt;
}

TypeIndex ResolveFunctionCalls::Call(NodeIndex node, std::span<const NodeIndex> functions) {
  Bool isKnown = false;
  const auto arguments = _tree.GetChildren(node);
  const TypeList types = _uses.expressions.ReadArguments(arguments, isKnown);
  if (!isKnown) return kUnknownType;
  const Bool isOwn = std::find(functions.begin(), functions.end(), _resolved.functions.back()) != functions.end();
  if (!_uses.names.IsInKernel() && isOwn) return Stop(node, "a function that calls itself");
  std::vector<Form> forms;
  for (const NodeIndex function : functions) forms.push_back(ReadForm(function));
  const auto chosen = ChooseForm(node, forms, types);
  if (!chosen || !CheckCount(node, forms[*chosen])) return kUnknownType;
  const Form& form = forms[*chosen];
  if (arguments.size() < form.parameters.size()) Extend(node);
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    if (!ReadArgument(arguments[i], form, i)) return kUnknownType;
  }
  _resolved.meaning[node] = {.kind = MeaningKind::kFunction, .target = form.function};
  return _resolved.type[form.function];
}

Bool ResolveFunctionCalls::CheckCount(NodeIndex node, const Form& form) {
  const std::size_t count = _tree.GetChildren(node).size(), most = form.parameters.size();
  if (count >= form.needed && count <= most) return true;
  const std::string least = form.needed == most ? "" : Join({std::to_string(form.needed), " to "});
  Fail(node,
       Join({"\"", NameOf(node), "\" takes ", least, std::to_string(most),
             most == 1 ? " argument, not " : " arguments, not ", std::to_string(count)}),
       {{GetOffset(form.function), "it is declared here"}});
  return false;
}

Bool ResolveFunctionCalls::ReadArgument(NodeIndex argument, const Form& form, std::size_t index) {
  const NodeIndex parameter = Child(form.function, index + 1);
  const TypeIndex wanted = form.parameters[index];
  const std::string what = Join({"the argument \"", NameOf(parameter), "\""});
  if (!form.isExact[index]) return _uses.conversions.Convert(argument, wanted, what);
  if (_resolved.type[argument] == wanted) return _uses.places.CheckPlace(argument, what);
  Fail(argument,
       Join({what, " is changed by the function: it needs a variable of type ", TypeName(wanted), ", this is a ",
             TypeName(_resolved.type[argument])}),
       {{GetOffset(form.function), "it is declared here"}});
  return false;
}

}  // namespace ostra::kernellanguage

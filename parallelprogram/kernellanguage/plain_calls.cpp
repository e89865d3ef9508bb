#include "parallelprogram/kernellanguage/plain_calls.h"

#include "parallelprogram/kernellanguage/changes.h"
#include "parallelprogram/kernellanguage/library_words.h"
#include "parallelprogram/kernellanguage/plain_bools.h"
#include "parallelprogram/kernellanguage/plain_changes.h"
#include "parallelprogram/kernellanguage/plain_expressions.h"
#include "parallelprogram/kernellanguage/plain_matrices.h"

namespace ostra::kernellanguage {

std::string PlainCalls::Call(NodeIndex node) {
  const Meaning& meaning = _resolved.meaning[node];
  if (meaning.kind == MeaningKind::kFunction) return CallOfFunction(node);
  return meaning.kind == MeaningKind::kWord ? CallOfWord(node) : CallAsWritten(node);
}

std::string PlainCalls::CallOfWord(NodeIndex node) {
  const WordId word = _resolved.meaning[node].word;
  if (word >= WordId::kLessThan && word <= WordId::kNot) return _uses.bools.CallOfBools(node);
  if (IsGroupWord(word)) return CallOfGroup(node);
  if (IsLibraryWord(word) || IsLongCall(word, _types[_resolved.type[node]].scalar)) return CallOfLibrary(node);
  const auto operands = _tree.GetChildren(node);
  const TypeIndex first = operands.empty() ? kUnknownType : _resolved.converted[operands[0]];
  if (word == WordId::kMul && operands.size() == 2)
    return _uses.matrices.MultiplyMatrix(_resolved.type[node], {operands[0], first},
                                         {operands[1], _resolved.converted[operands[1]]});
  if (!operands.empty() && _kernel.IsMatrix(first) && _types[first].count == 2)
    return _uses.matrices.CallOfSmallMatrix(node);
  if (_uses.checkPlan.NeedsCheck(node))
    return Join({_tree.GetName(node), "(", _uses.expressions.Expression(operands[0]), ", ",
                 _uses.expressions.Expression(operands[1]), ", ",
                 _uses.checks.CheckLayer(node, _uses.expressions.Expression(operands[2])), ")"});
  if (word == WordId::kRenderNoise)
    return Join({"RenderNoise(", NoiseNumber(operands[0]), ", ", _uses.expressions.List(node, 1), ")"});
  if (_options.isForGpu && IsTruncOfDouble(_resolved, node))
    return CallTruncOfDouble(_uses.expressions.Expression(operands[0]));
  return CallAsWritten(node);
}

// Some drivers give numbers of this size back as they are, where floor and ceil are right.
std::string PlainCalls::CallTruncOfDouble(const std::string& number) {
  return _helpers.Call("ostra_trunc_of_double", kDoubleType, {kDoubleType},
                       "\treturn (v0 < 0.0) ? -floor(-v0) : ((v0 > 0.0) ? floor(v0) : v0);\n", {number});
}

std::string PlainCalls::CallAsWritten(NodeIndex node) {
  const Meaning& meaning = _resolved.meaning[node];
  const Bool isOffset = meaning.kind == MeaningKind::kWord && meaning.word == WordId::kMatrixOffset;
  const std::string_view name = isOffset ? GetWord(meaning.word).name : _tree.GetName(node);
  return Join({name, "(", _uses.expressions.List(node, 0), ")"});
}

std::string PlainCalls::CallOfFunction(NodeIndex node) {
  const NodeIndex function = _resolved.meaning[node].target;
  std::string arguments = Arguments(node);
  // Arguments that are not given.
  const auto parameters = _tree.GetChildren(function);
  for (std::size_t i = _tree.GetChildren(node).size() + 1; i + 1 < parameters.size(); ++i) {
    const NodeIndex value = Child(parameters[i], 2);
    if (value == kNoNode) continue;
    arguments += Join({arguments.empty() ? "" : ", ", _uses.expressions.Expression(value)});
  }
  if (_uses.reportPlan.IsReportingFunction(function)) arguments += Join({arguments.empty() ? "" : ", ", "ostraState"});
  return Join({NameOf(function), "(", arguments, ")"});
}

std::string PlainCalls::CallOfGroup(NodeIndex node) {
  const auto arguments = _tree.GetChildren(node);
  const std::string value = _uses.expressions.Expression(arguments[0], Binding::kAssignment);
  std::string index;
  if (arguments.size() == 2) {
    index = NewName("Index");
    const std::string given = _uses.expressions.Expression(arguments[1]);
    Line({MarkOf(node), "const uint ", index, " = ", given, ";"});
  }
  return _uses.groups.CallGroup(node, value, index);
}

std::string PlainCalls::CallOfLibrary(NodeIndex node) {
  const Meaning& meaning = _resolved.meaning[node];
  const Bool isLong = IsLongCall(meaning.word, _types[_resolved.type[node]].scalar);
  const Overload& overload = (isLong ? GetLongOverloads(meaning.word) : GetOverloads(meaning.word))[meaning.overload];
  std::vector<std::string> arguments;
  for (std::size_t i = 0; i < _tree.GetChildren(node).size(); ++i) arguments.push_back(Argument(node, i));
  // Synonyms have the functions of the first word.
  return _uses.library.CallLibrary(GetWord(meaning.word).name, overload, arguments);
}

std::string PlainCalls::Argument(NodeIndex call, std::size_t index) {
  const NodeIndex argument = Child(call, index);
  if (!IsChangedArgument(_tree, _resolved, call, index) || KindOf(argument) == NodeKind::kName)
    return _uses.expressions.Expression(argument);
  _uses.expressions.CheckPlainPlace(argument);
  return call == _uses.changes.GetCopyingCall() && _uses.hoistPlan.IsCopied(argument)
             ? _uses.changes.CopyArgument(argument)
             : _uses.expressions.Expression(argument);
}

std::string PlainCalls::Arguments(NodeIndex node) {
  std::string list;
  for (std::size_t i = 0; i < _tree.GetChildren(node).size(); ++i)
    list += Join({i == 0 ? "" : ", ", Argument(node, i)});
  return list;
}

// As it is written: the translator reads it.
std::string PlainCalls::NoiseNumber(NodeIndex number) {
  if (KindOf(number) == NodeKind::kLiteral) return Join({MarkOf(number), _tree.GetName(number)});
  return _uses.expressions.Value(number, Binding::kAssignment);
}

}  // namespace ostra::kernellanguage

#include "parallelprogram/kernellanguage/group_cut_statements.h"

#include <algorithm>

#include "parallelprogram/kernellanguage/join.h"

namespace ostra::kernellanguage {
namespace {

constexpr std::string_view kBeginPiece =
    "ForEachInvocation<OstraGroupSize>(InWorkGroupID, [&]([[maybe_unused]] const Vec3<UInt32>& InGlobalInvocationID, "
    "[[maybe_unused]] const Vec3<UInt32>& InLocalInvocationID, [[maybe_unused]] UInt32 ostraLinearInvocation, "
    "[[maybe_unused]] UInt32 ostraNumber) {\n";

}  // namespace

void GroupCutStatements::Statement(NodeIndex node) {
  if (node == kNoNode || _output.GetRefusal()) return;
  if (!_kernel.isCut[node] && node != _kernel.body) return Collect(node);
  switch (KindOf(node)) {
    case NodeKind::kBlock:
      for (const NodeIndex statement : _tree.GetChildren(node)) Statement(statement);
      return;
    case NodeKind::kBarrier:
      return EndPiece();
    case NodeKind::kIf:
      Decide(Child(node, 0));
      Outside({"if (ostraCondition) {"});
      Statement(Child(node, 1));
      Outside({"} else {"});
      Statement(Child(node, 2));
      return Outside({"}"});
    case NodeKind::kFor:
    case NodeKind::kWhile:
    case NodeKind::kDoWhile:
      return Loop(node);
    case NodeKind::kReturn:
      return Outside({"return;"});
    case NodeKind::kBreak:
      return Outside({"break;"});
    case NodeKind::kContinue:
      return Outside({"goto ostraContinue", std::to_string(_continued.back()), ";"});
    default:
      return _output.Refuse(node, Join({"\"", GetKindName(KindOf(node)), "\" around a groupSharedBarrier"}));
  }
}

// Adds a statement to the piece.
void GroupCutStatements::Collect(NodeIndex node) {
  const NodeKind kind = KindOf(node);
  const Bool isNothing = kind == NodeKind::kEmpty || kind == NodeKind::kNoiseMark || kind == NodeKind::kSharedArray ||
                         kind == NodeKind::kMakeLocal;
  if (isNothing) return;
  if (kind != NodeKind::kDeclaration) return Add(GroupPiece::Kind::kStatement, node);
  // Variables of a block that is cut may be needed behind the next barrier.
  for (const NodeIndex variable : _tree.GetChildren(node)) {
    if (_variables.IsAt(variable, GroupPlace::kShared))
      DeclareShared(variable);
    else
      Add(GroupPiece::Kind::kVariable, variable);
  }
}

void GroupCutStatements::DeclareShared(NodeIndex variable) {
  const std::string name = _kernel.GetUniqueName(variable);
  _output.AddConstant({"[[maybe_unused]] ", _kernel.GetTypeName(TypeOf(variable)), " ", name, "{};\n"});
  Outside({_output.GetLineMark(variable), name, " = ", _expressions.Expression(Child(variable, 2)), ";"});
}

void GroupCutStatements::Loop(NodeIndex node) {
  const LoopParts loop = GetLoopParts(_tree, node);
  const Bool isDo = KindOf(node) == NodeKind::kDoWhile;
  Statement(loop.start);
  Outside({"for (;;) {"});
  const auto leave = [&] {
    if (loop.condition == kNoNode) return;
    Decide(loop.condition);
    Outside({"if (!ostraCondition) break;"});
  };
  if (!isDo) leave();
  _continued.push_back(node);
  Outside({"{"});
  Statement(loop.body);
  Outside({"}"});
  _continued.pop_back();
  if (HasContinue(_tree, loop.body)) Outside({"ostraContinue", std::to_string(node), ":;"});
  if (isDo) leave();
  if (loop.step != kNoNode) Step(node, loop.step);
  Outside({"}"});
}

void GroupCutStatements::Step(NodeIndex loop, NodeIndex step) {
  const NodeKind change = KindOf(step);
  const Bool isChange = change == NodeKind::kAssign || change == NodeKind::kPostfix || change == NodeKind::kUnary;
  const Bool isOfGroup = isChange && KindOf(Child(step, 0)) == NodeKind::kName && _values.IsShared(Child(step, 0));
  if (isOfGroup)
    Outside({_output.GetLineMark(loop), _expressions.Expression(step), ";"});
  else
    Add(GroupPiece::Kind::kStep, loop);
}

void GroupCutStatements::Decide(NodeIndex condition) {
  if (_values.IsShared(condition)) {
    Outside({_output.GetLineMark(condition), "ostraCondition = static_cast<Bool>(", _expressions.Expression(condition),
             ");"});
    return;
  }
  Add(GroupPiece::Kind::kCondition, condition);
  EndPiece();
}

void GroupCutStatements::Outside(std::initializer_list<std::string_view> parts) {
  EndPiece();
  _output.Write(parts);
  _output.Write({"\n"});
}

void GroupCutStatements::EndPiece() {
  for (const GroupPiece::Item& item : _piece.items) AddItem(item);
  const std::string text = _output.TakePiece();
  if (!text.empty()) {
    std::string repeated;
    _piece.repeated = TakeRepeated();
    for (const NodeIndex variable : _piece.repeated)
      repeated +=
          Join({"[[maybe_unused]] const ", _expressions.Variable(variable, _kernel.GetUniqueName(variable)), ";\n"});
    const std::string_view guard =
        _kernel.earlyReturn == kNoNode ? "" : "if (ostraMemory.ostraHasReturned[ostraNumber]) return;\n";
    const std::string scalar = Join({kBeginPiece, guard, repeated, text, "});\n"});
    _piece.kept = _variables.TakeKept();
    _output.Write({_lanes ? _lanes->Print(std::move(_piece), scalar) : scalar});
    _variables.CountPiece();
  }
  _variables.TakeKept();
  _piece = {};
}

// To the loop over the invocations.
void GroupCutStatements::AddItem(const GroupPiece::Item& item) {
  switch (item.kind) {
    case GroupPiece::Kind::kStatement:
      return _statements.Statement(item.node);
    case GroupPiece::Kind::kVariable:
      return _statements.Declare(item.node);
    case GroupPiece::Kind::kCondition:
      _output.MarkLine(item.node);
      return _output.Line({"ostraCondition = static_cast<Bool>(", _expressions.Expression(item.node), ");"});
    case GroupPiece::Kind::kStep:
      _output.MarkLine(item.node);
      return _output.Line({_expressions.Expression(Child(item.node, 2)), ";"});
  }
}

// What the piece computes again, each variable behind those that it needs.
std::vector<NodeIndex> GroupCutStatements::TakeRepeated() {
  std::vector<NodeIndex> repeated;
  const std::vector<NodeIndex>& all = _variables.GetAll();
  for (std::size_t i = all.size(); i-- > 0;) {
    if (!_variables.IsRepeatedHere(all[i])) continue;
    // Its value may add others.
    _expressions.Expression(Child(all[i], 2));
    repeated.push_back(all[i]);
  }
  _variables.ForgetRepeated();
  std::reverse(repeated.begin(), repeated.end());
  return repeated;
}

}  // namespace ostra::kernellanguage

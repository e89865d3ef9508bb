#include "parallelprogram/kernellanguage/group_code.h"

#include "parallelprogram/kernellanguage/cpp_text.h"
#include "parallelprogram/kernellanguage/group_printer.h"

namespace ostra::kernellanguage {
namespace {

constexpr std::string_view kBeginPiece =
    "ForEachInvocation<OstraGroupSize>(InWorkGroupID, [&]([[maybe_unused]] const Vec3<UInt32>& InGlobalInvocationID, "
    "[[maybe_unused]] const Vec3<UInt32>& InLocalInvocationID, [[maybe_unused]] UInt32 ostraLinearInvocation, "
    "[[maybe_unused]] UInt32 ostraNumber) {\n";

}  // namespace

void GroupPrinter::Refuse(NodeIndex node, std::string reason) {
  if (!_refusal) _refusal = NotUnderstood{_tree.nodes[node].offset, std::move(reason)};
}

void GroupPrinter::Line(std::initializer_list<std::string_view> parts) {
  for (const std::string_view part : parts) _piece += part;
  _piece += '\n';
}

void GroupPrinter::MarkLine(NodeIndex node) { _piece += MakeLineDirective(_sources.Locate(_tree.nodes[node].offset)); }

void GroupPrinter::EndPiece() {
  for (const GroupPiece::Item& item : _items.items) AddItem(item);
  if (!_piece.empty()) {
    std::string repeated;
    _items.repeated = TakeRepeated();
    for (const NodeIndex variable : _items.repeated)
      repeated += Join({"[[maybe_unused]] const ", VariableText(variable, UniqueName(variable)), ";\n"});
    const std::string_view guard =
        _earlyReturn == kNoNode ? "" : "if (ostraMemory.ostraHasReturned[ostraNumber]) return;\n";
    const std::string scalar = Join({kBeginPiece, guard, repeated, _piece, "});\n"});
    _text += _lanes ? PieceInLanes(scalar) : scalar;
    ++_pieceCount;
  }
  _piece.clear();
  _kept.clear();
  _items = {};
}

// To the loop over the invocations.
void GroupPrinter::AddItem(const GroupPiece::Item& item) {
  switch (item.kind) {
    case GroupPiece::Kind::kStatement:
      return Statement(item.node);
    case GroupPiece::Kind::kVariable:
      return Declare(item.node);
    case GroupPiece::Kind::kCondition:
      MarkLine(item.node);
      return Line({"ostraCondition = static_cast<Bool>(", Expression(item.node), ");"});
    case GroupPiece::Kind::kStep:
      MarkLine(item.node);
      return Line({Expression(Child(item.node, 2)), ";"});
  }
}

void GroupPrinter::Outside(std::initializer_list<std::string_view> parts) {
  EndPiece();
  for (const std::string_view part : parts) _text += part;
  _text += '\n';
}

void GroupPrinter::Run() {
  _text.clear();
  _constants.clear();
  _pieceCount = 0;
  if (_earlyReturn != kNoNode) _text = "for (Bool& hasReturned : ostraMemory.ostraHasReturned) hasReturned = false;\n";
  Cut(Child(_tree.kernel, 0));
  EndPiece();
}

// A statement that the group comes to as one; others go into the piece.
void GroupPrinter::Cut(NodeIndex node) {
  if (node == kNoNode || _refusal) return;
  const NodeKind kind = KindOf(node);
  const Bool isBody = node == Child(_tree.kernel, 0);
  if (!_isCut[node] && !isBody) {
    // Variables of a block that is cut may be needed behind the next barrier.
    if (kind == NodeKind::kDeclaration) {
      for (const NodeIndex variable : _tree.GetChildren(node)) {
        if (const auto known = _variables.find(variable);
            known != _variables.end() && known->second.place == Place::kShared)
          Declare(variable);
        else
          Add(GroupPiece::Kind::kVariable, variable);
      }
      return;
    }
    const Bool isNothing = kind == NodeKind::kEmpty || kind == NodeKind::kNoiseMark || kind == NodeKind::kSharedArray ||
                           kind == NodeKind::kMakeLocal;
    if (!isNothing) Add(GroupPiece::Kind::kStatement, node);
    return;
  }
  switch (kind) {
    case NodeKind::kBlock:
      for (const NodeIndex statement : _tree.GetChildren(node)) Cut(statement);
      return;
    case NodeKind::kBarrier:
      return EndPiece();
    case NodeKind::kIf:
      Decide(Child(node, 0));
      Outside({"if (ostraCondition) {"});
      Cut(Child(node, 1));
      Outside({"} else {"});
      Cut(Child(node, 2));
      return Outside({"}"});
    case NodeKind::kFor:
    case NodeKind::kWhile:
    case NodeKind::kDoWhile:
      return CutLoop(node);
    case NodeKind::kReturn:
      return Outside({"return;"});
    case NodeKind::kBreak:
      return Outside({"break;"});
    case NodeKind::kContinue:
      return Outside({"goto ostraContinue", std::to_string(_continued.back()), ";"});
    default:
      return Refuse(node, Join({"\"", GetKindName(kind), "\" around a groupSharedBarrier"}));
  }
}

void GroupPrinter::CutLoop(NodeIndex node) {
  const NodeKind kind = KindOf(node);
  const Bool isFor = kind == NodeKind::kFor, isDo = kind == NodeKind::kDoWhile;
  const NodeIndex condition = Child(node, kind == NodeKind::kWhile ? 0 : 1);
  const NodeIndex body = Child(node, isFor ? 3 : isDo ? 0 : 1);
  if (isFor) Cut(Child(node, 0));
  Outside({"for (;;) {"});
  const auto leave = [&] {
    if (condition == kNoNode) return;
    Decide(condition);
    Outside({"if (!ostraCondition) break;"});
  };
  if (!isDo) leave();
  _continued.push_back(node);
  Outside({"{"});
  Cut(body);
  Outside({"}"});
  _continued.pop_back();
  if (HasContinue(_tree, body)) Outside({"ostraContinue", std::to_string(node), ":;"});
  if (isDo) leave();
  if (isFor && Child(node, 2) != kNoNode) {
    const NodeIndex step = Child(node, 2);
    const NodeKind change = KindOf(step);
    const Bool isChange = change == NodeKind::kAssign || change == NodeKind::kPostfix || change == NodeKind::kUnary;
    if (isChange && KindOf(Child(step, 0)) == NodeKind::kName && IsShared(Child(step, 0))) {
      Outside({MakeLineDirective(_sources.Locate(_tree.nodes[node].offset)), Expression(step), ";"});
    } else {
      Add(GroupPiece::Kind::kStep, node);
    }
  }
  Outside({"}"});
}

void GroupPrinter::Decide(NodeIndex condition) {
  if (IsShared(condition)) {
    Outside({MakeLineDirective(_sources.Locate(_tree.nodes[condition].offset)), "ostraCondition = static_cast<Bool>(",
             Expression(condition), ");"});
    return;
  }
  Add(GroupPiece::Kind::kCondition, condition);
  EndPiece();
}

// Numbers that C++ may want to know, as labels and sizes.
Bool GroupPrinter::IsConstant(NodeIndex expression) const {
  const NodeKind kind = KindOf(expression);
  if (kind == NodeKind::kLiteral || kind == NodeKind::kType) return true;
  if (kind == NodeKind::kName) {
    const auto known = _variables.find(_resolved.meaning[expression].target);
    return known != _variables.end() && known->second.place == Place::kConstant;
  }
  if (kind != NodeKind::kUnary && kind != NodeKind::kBinary && kind != NodeKind::kConstruct && kind != NodeKind::kCast)
    return false;
  const Operation operation = _tree.nodes[expression].operation;
  if (operation == Operation::kIncrement || operation == Operation::kDecrement) return false;
  for (const NodeIndex child : _tree.GetChildren(expression)) {
    if (!IsConstant(child)) return false;
  }
  return true;
}

void GroupPrinter::Declare(NodeIndex variable) {
  const auto [known, isNew] = _variables.try_emplace(variable, Variable{Place::kPiece, _pieceCount});
  const TypeIndex type = _resolved.type[variable];
  const NodeIndex value = Child(variable, 2);
  known->second.piece = _pieceCount;
  if (isNew) {
    _order.push_back(variable);
    const Bool isNumber = _tree.HasFlag(variable, kIsConst) && _types.IsScalar(type) && value != kNoNode;
    if (isNumber && IsConstant(value)) known->second.place = Place::kConstant;
    known->second.isRepeatable = CanBeRepeated(variable);
  }
  const std::string name = UniqueName(variable);
  if (known->second.place == Place::kShared) {
    _constants += Join({"[[maybe_unused]] ", TypeName(type), " ", name, "{};\n"});
    return Outside(
        {MakeLineDirective(_sources.Locate(_tree.nodes[variable].offset)), name, " = ", Expression(value), ";"});
  }
  if (TypeName(type).empty()) return Refuse(variable, Join({"a variable of type ", _types.GetName(type)}));
  if (known->second.place == Place::kConstant) {
    _constants += Join({"[[maybe_unused]] const ", VariableText(variable, name), ";\n"});
    return;
  }
  if (known->second.place == Place::kRepeated) return;
  MarkLine(variable);
  switch (known->second.place) {
    case Place::kPiece:
      return Line({"[[maybe_unused]] ", VariableText(variable, name), ";"});
    case Place::kConstant:
    case Place::kShared:
    case Place::kRepeated:
      return;
    case Place::kKept:
      _kept.insert(variable);
      break;
  }
  if (value == kNoNode) return;
  const Bool isList = KindOf(value) == NodeKind::kInitializerList;
  const std::string kept = Join({"ostraMemory.", name, "[ostraNumber]"});
  if (_types[type].kind == TypeKind::kArray)
    return Line({"{ const ", VariableText(variable, "ostraValues"), "; CopyArray(", kept, ", ostraValues); }"});
  Line({kept, " = ", isList ? TypeName(type) : "", Expression(value), ";"});
}

// A variable of the kernel is named in the current piece.
void GroupPrinter::Use(NodeIndex variable) {
  const auto known = _variables.find(variable);
  if (known == _variables.end()) return;
  if (known->second.place == Place::kPiece && known->second.piece != _pieceCount)
    known->second.place = known->second.isRepeatable ? Place::kRepeated : Place::kKept;
  if (known->second.place == Place::kRepeated) _repeated.insert(variable);
  if (known->second.place == Place::kKept) _kept.insert(variable);
}

// The arrays in group memory, and the variables that are kept for each invocation.
std::string GroupPrinter::Declarations() const {
  std::string text;
  const std::string count =
      Join({"[", std::to_string(_resolved.groupSize[0]), "u * ", std::to_string(_resolved.groupSize[1]), "u * ",
            std::to_string(_resolved.groupSize[2]), "u]"});
  for (NodeIndex node = 0; node < static_cast<NodeIndex>(_tree.nodes.size()); ++node) {
    if (!_tree.Is(node, NodeKind::kSharedArray)) continue;
    const TypeIndex type = _resolved.type[node];
    text += Join({TypeName(type), " ", UniqueName(node), ArraySizes(type), ";\n"});
  }
  if (_earlyReturn != kNoNode) text += Join({"Bool ostraHasReturned", count, ";\n"});
  for (const NodeIndex variable : _order) {
    const TypeIndex type = _resolved.type[variable];
    if (_variables.at(variable).place == Place::kKept)
      text += Join({TypeName(type), " ", UniqueName(variable), count, ArraySizes(type), ";\n"});
  }
  return text;
}

GroupCode GroupPrinter::Print() {
  if (_tree.HasFlag(_tree.kernel, kIsMethodForm)) Refuse(_tree.kernel, "a kernel that can fail");
  FindChanges();
  FindShared(Child(_tree.kernel, 0));
  _earlyReturn = FindEarlyReturn(Child(_tree.kernel, 0), false, false);
  Run();
  Run();
  GroupCode code;
  std::string& text = code.text;
  text = Join({"OSTRA_GROUP_KERNEL_CLASS(", _options.className, ", ", _options.parameters, ") {\n"});
  text += Join({"using ", _options.className, "Values::", _options.className, "Values;\n"});
  text += Join({"struct OstraMemory {\n", Declarations(), "};\n"});
  text +=
      "void RunGroup([[maybe_unused]] const Vec3<UInt32>& InWorkGroupID, [[maybe_unused]] OstraMemory& ostraMemory) "
      "const {\n[[maybe_unused]] Bool ostraCondition = false;\n";
  text += Join({_constants, _text, "}\n};\n"});
  if (_refusal) text.clear();
  if (!_refusal) RunInLanes(code);
  code.refusal = std::move(_refusal);
  return code;
}

GroupCode PrintGroupCode(const AnalyzedKernel& kernel, const GroupCodeOptions& options) {
  if (auto refusal = FindUnprintable(kernel)) return {.text = {}, .refusal = std::move(refusal)};
  return GroupPrinter(kernel, options).Print();
}

}  // namespace ostra::kernellanguage

// Pieces of a kernel whose invocations exchange values, in lanes along x of the group. Values that are kept across a
// barrier are loaded where a piece begins and stored where it ends, so that they stay in registers meanwhile.
#include <algorithm>

#include "parallelprogram/kernellanguage/changes.h"
#include "parallelprogram/kernellanguage/lane_piece_printer.h"

namespace ostra::kernellanguage {
namespace {

constexpr std::string_view kBeginPiece =
    "ForEachRow<OstraGroupSize>(InWorkGroupID, [&]([[maybe_unused]] UInt32 ostraX, [[maybe_unused]] UInt32 ostraY, "
    "[[maybe_unused]] UInt32 ostraZ, [[maybe_unused]] UInt32 ostraLinear, [[maybe_unused]] const Vec3<UInt32>& "
    "ostraLocal, [[maybe_unused]] UInt32 ostraNumber, [[maybe_unused]] Mask ostraActive) OSTRA_KERNEL_FLAT {";

// A piece that does less for each store here and there in group memory is slower in lanes: that memory is as near to
// one invocation as its variables.
constexpr int kOperationsPerStore = 12;

NodeIndex GetPart(const SyntaxTree& tree, const GroupPiece::Item& item) {
  return item.kind == GroupPiece::Kind::kStep ? tree.GetChild(item.node, 2) : item.node;
}

void AddChanged(const SyntaxTree& tree, const ResolvedTree& resolved, NodeIndex node, std::vector<NodeIndex>& changed) {
  for (const NodeIndex place : ListChangedPlaces(tree, resolved, node)) {
    const Meaning& meaning = resolved.meaning[FindPlaceRoot(tree, place)];
    if (meaning.kind == MeaningKind::kVariable) changed.push_back(meaning.target);
  }
  for (const NodeIndex child : tree.GetChildren(node)) {
    if (child != kNoNode) AddChanged(tree, resolved, child, changed);
  }
}

}  // namespace

LaneCode LanePiecePrinter::PrintCommon() {
  Prepare();
  if (_resolved.groupSize[0] == 1) Refuse(_tree.kernel, "groups of one invocation along x, the axis of the lanes");
  return out.Take();
}

// Whether lanes of the type are loaded and stored as a run of elements.
Bool LanePiecePrinter::IsOrdinaryValue(TypeIndex type) const {
  return (_types.IsScalar(type) || _types.IsVector(type)) && _types[type].scalar != Scalar::kBool;
}

// The value that an earlier piece has left.
void LanePiecePrinter::LoadKept(NodeIndex variable) {
  const TypeIndex type = TypeOf(variable);
  const std::string name = _names.GetVariable(variable), kept = Join({"ostraMemory.", name});
  masks.SetVariableDepth(variable, 1);
  if (FormOf(variable) != LaneForm::kLanes) {
    const Bool isArray = _types[type].kind == TypeKind::kArray;
    if (isArray) return Refuse(variable, "an array that is kept across a barrier");
    return Line({"[[maybe_unused]] ", SharedType(type), " ", name, " = ", kept, "[ostraNumber];"});
  }
  if (_types[type].kind == TypeKind::kArray) {
    const TypeIndex element = _types[type].element;
    const std::string lanes = LaneType(element, variable), count = std::to_string(_types[type].count);
    Line({"[[maybe_unused]] ", lanes, " ", name, "[", count, "];"});
    Line({"for (int ostraElement = 0; ostraElement < ", count, "; ++ostraElement)"});
    return Line({name, "[ostraElement] = MapLanes<", lanes, ">(", GetMask(),
                 ", [&](int ostraLane) OSTRA_KERNEL_FLAT { return ", kept,
                 "[ostraNumber + static_cast<UInt32>(ostraLane)][ostraElement]; });"});
  }
  const std::string lanes = rows.IsInRows(variable) ? _values.RowsType(type) : LaneType(type, variable);
  const std::string_view load = rows.IsInRows(variable) ? "LoadRowsOfRun(" : "LoadRun(";
  if (IsOrdinaryValue(type))
    return Line({"[[maybe_unused]] ", lanes, " ", name, " = ", load, kept, ", ostraNumber, ", GetMask(), ");"});
  Line({"[[maybe_unused]] ", lanes, " ", name, " = MapLanes<", lanes, ">(", GetMask(),
        ", [&](int ostraLane) OSTRA_KERNEL_FLAT { return ", kept,
        "[ostraNumber + static_cast<UInt32>(ostraLane)]; });"});
}

// Leaves the value to later pieces.
void LanePiecePrinter::KeepValue(NodeIndex variable) {
  const TypeIndex type = TypeOf(variable);
  const std::string name = _names.GetVariable(variable), kept = Join({"ostraMemory.", name});
  const std::string each = Join({"ForEachLaneIn(", GetMask(), ", [&](int ostraLane) OSTRA_KERNEL_FLAT { "});
  const std::string own = Join({kept, "[ostraNumber + static_cast<UInt32>(ostraLane)]"});
  const LaneForm form = FormOf(variable);
  if (_types[type].kind == TypeKind::kArray) {
    if (form != LaneForm::kLanes) return Refuse(variable, "an array that is kept across a barrier");
    Line({"for (int ostraElement = 0; ostraElement < ", std::to_string(_types[type].count), "; ++ostraElement)"});
    return Line({each, own, "[ostraElement] = GetLane(", name, "[ostraElement], ostraLane); });"});
  }
  if (rows.IsInRows(variable)) return Line({"StoreRowsOfRun(", kept, ", ostraNumber, ", name, ", ", GetMask(), ");"});
  if (IsOrdinaryValue(type)) {
    const Int32 stride = form == LaneForm::kLinear ? _uniformity.Get(variable).stride : 0;
    const std::string lanes = _values.ToLanes({name, form, type, stride}, variable);
    return Line({"StoreRun(", kept, ", ostraNumber, ", lanes, ", ", GetMask(), ");"});
  }
  Line({each, own, " = ", form == LaneForm::kLanes ? Join({"GetLane(", name, ", ostraLane)"}) : name, "; });"});
}

void LanePiecePrinter::Item(const GroupPiece::Item& item) {
  switch (item.kind) {
    case GroupPiece::Kind::kStatement:
      return _statements.Statement(item.node);
    case GroupPiece::Kind::kVariable:
      MarkLine(item.node);
      return _variables.Variable(item.node);
    case GroupPiece::Kind::kStep:
      MarkLine(item.node);
      return _assignments.Effect(Child(item.node, 2));
    case GroupPiece::Kind::kCondition:
      MarkLine(item.node);
      // The same in the whole group, but lanes may not know it.
      if (FormOf(item.node) == LaneForm::kShared)
        return Line({"ostraCondition = static_cast<Bool>(", _shared.Shared(item.node), ");"});
      return Line({"ostraCondition = Any(", _expressions.ToMaskUnder(GetMask(), item.node), ");"});
  }
}

// The first store to group memory at places that differ.
NodeIndex LanePiecePrinter::CountStores(NodeIndex node, LaneWalk& walk) const {
  NodeIndex first = kNoNode;
  const NodeIndex target = KindOf(node) == NodeKind::kAssign ? Child(node, 0) : kNoNode;
  if (target != kNoNode && KindOf(target) == NodeKind::kIndex && KindOf(Child(target, 0)) == NodeKind::kName &&
      _names.IsMemory(Child(target, 0)) && FormOf(Child(target, 1)) == LaneForm::kLanes) {
    ++walk.elementCount;
    first = node;
  }
  for (const NodeIndex child : _tree.GetChildren(node)) {
    const NodeIndex inside = child == kNoNode ? kNoNode : CountStores(child, walk);
    if (first == kNoNode) first = inside;
  }
  return first;
}

NodeIndex LanePiecePrinter::FindSlowStore(const GroupPiece& piece) const {
  NodeIndex first = kNoNode;
  LaneWalk stores, work;
  for (const GroupPiece::Item& item : piece.items) {
    const NodeIndex store = CountStores(item.node, stores);
    if (first == kNoNode) first = store;
    walks.CountWork(item.node, work);
  }
  return work.operationCount < kOperationsPerStore * stores.elementCount ? first : kNoNode;
}

LaneCode LanePiecePrinter::PrintPiece(const GroupPiece& piece) {
  masks.Begin("ostraActive");
  exits.Clear();
  held.Clear();
  _variables.SetKept({});
  std::vector<NodeIndex> changed, declared;
  for (const GroupPiece::Item& item : piece.items) {
    AddChanged(_tree, _resolved, GetPart(_tree, item), changed);
    if (item.kind == GroupPiece::Kind::kVariable) declared.push_back(item.node);
  }
  if (const NodeIndex store = FindSlowStore(piece); store != kNoNode)
    Refuse(store, "a store to group memory at places that differ, with little else to do, which is slower in lanes");
  const auto has = [](const std::vector<NodeIndex>& nodes, NodeIndex node) {
    return std::find(nodes.begin(), nodes.end(), node) != nodes.end();
  };
  Line({kBeginPiece});
  Line({"[[maybe_unused]] Mask ostraReturned = false;"});
  for (const NodeIndex variable : piece.repeated) _variables.Variable(variable);
  _variables.SetKept(piece.kept);
  for (const NodeIndex variable : piece.kept) {
    if (!has(declared, variable)) LoadKept(variable);
  }
  int open = 0;
  for (std::size_t i = 0; i < piece.items.size() && !HasRefused(); ++i) {
    const GroupPiece::Item& item = piece.items[i];
    Item(item);
    if (item.kind != GroupPiece::Kind::kStatement || i + 1 == piece.items.size() || !jumps.HasExit(item.node)) continue;
    Line({"if (Any(", GetMask(), ")) {"});
    ++open;
  }
  for (; open > 0; --open) Line({"}"});
  for (const NodeIndex variable : piece.kept) {
    if (has(declared, variable) || has(changed, variable)) KeepValue(variable);
  }
  Line({"});"});
  return out.Take();
}

}  // namespace ostra::kernellanguage

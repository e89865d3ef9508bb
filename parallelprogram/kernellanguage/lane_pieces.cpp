// Pieces of a kernel whose invocations exchange values, in lanes along x of the group. Values that are kept across a
// barrier are loaded where a piece begins and stored where it ends, so that they stay in registers meanwhile.
#include <algorithm>
#include <utility>

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
  if (_refusal) _text.clear();
  return {std::exchange(_text, {}), std::exchange(_refusal, std::nullopt)};
}

// Whether lanes of the type are loaded and stored as a run of elements.
Bool LanePiecePrinter::IsOrdinaryValue(TypeIndex type) const {
  return (_types.IsScalar(type) || _types.IsVector(type)) && _types[type].scalar != Scalar::kBool;
}

// The value that an earlier piece has left.
void LanePiecePrinter::LoadKept(NodeIndex variable) {
  const TypeIndex type = TypeOf(variable);
  const std::string name = _names.GetVariable(variable), kept = Join({"ostraMemory.", name});
  _variableDepths[variable] = 1;
  if (FormOf(variable) != Form::kLanes) {
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
  const std::string lanes = _isInRows[variable] ? RowsType(type) : LaneType(type, variable);
  const std::string_view load = _isInRows[variable] ? "LoadRowsOfRun(" : "LoadRun(";
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
  const Form form = FormOf(variable);
  if (_types[type].kind == TypeKind::kArray) {
    if (form != Form::kLanes) return Refuse(variable, "an array that is kept across a barrier");
    Line({"for (int ostraElement = 0; ostraElement < ", std::to_string(_types[type].count), "; ++ostraElement)"});
    return Line({each, own, "[ostraElement] = GetLane(", name, "[ostraElement], ostraLane); });"});
  }
  if (_isInRows[variable]) return Line({"StoreRowsOfRun(", kept, ", ostraNumber, ", name, ", ", GetMask(), ");"});
  if (IsOrdinaryValue(type)) {
    const Int32 stride = form == Form::kLinear ? _uniformity.Get(variable).stride : 0;
    const std::string lanes = ToLanes({name, form, type, stride}, variable);
    return Line({"StoreRun(", kept, ", ostraNumber, ", lanes, ", ", GetMask(), ");"});
  }
  Line({each, own, " = ", form == Form::kLanes ? Join({"GetLane(", name, ", ostraLane)"}) : name, "; });"});
}

void LanePiecePrinter::Item(const GroupPiece::Item& item) {
  switch (item.kind) {
    case GroupPiece::Kind::kStatement:
      return Statement(item.node);
    case GroupPiece::Kind::kVariable:
      MarkLine(item.node);
      return Variable(item.node);
    case GroupPiece::Kind::kStep:
      MarkLine(item.node);
      return Effect(Child(item.node, 2));
    case GroupPiece::Kind::kCondition:
      MarkLine(item.node);
      // The same in the whole group, but lanes may not know it.
      if (FormOf(item.node) == Form::kShared)
        return Line({"ostraCondition = static_cast<Bool>(", Shared(item.node), ");"});
      return Line({"ostraCondition = Any(", ToMaskUnder(GetMask(), item.node), ");"});
  }
}

// The first store to group memory at places that differ.
NodeIndex LanePiecePrinter::CountStores(NodeIndex node, Walk& walk) const {
  NodeIndex first = kNoNode;
  const NodeIndex target = KindOf(node) == NodeKind::kAssign ? Child(node, 0) : kNoNode;
  if (target != kNoNode && KindOf(target) == NodeKind::kIndex && KindOf(Child(target, 0)) == NodeKind::kName &&
      _names.IsMemory(Child(target, 0)) && FormOf(Child(target, 1)) == Form::kLanes) {
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
  Walk stores, work;
  for (const GroupPiece::Item& item : piece.items) {
    const NodeIndex store = CountStores(item.node, stores);
    if (first == kNoNode) first = store;
    CountWork(item.node, work);
  }
  return work.operationCount < kOperationsPerStore * stores.elementCount ? first : kNoNode;
}

LaneCode LanePiecePrinter::PrintPiece(const GroupPiece& piece) {
  _masks = {{"ostraActive"}};
  _exits.clear();
  _held.clear();
  _isKept.assign(_tree.nodes.size(), false);
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
  for (const NodeIndex variable : piece.repeated) Variable(variable);
  for (const NodeIndex variable : piece.kept) {
    _isKept[variable] = true;
    if (!has(declared, variable)) LoadKept(variable);
  }
  int open = 0;
  for (std::size_t i = 0; i < piece.items.size() && !HasRefused(); ++i) {
    const GroupPiece::Item& item = piece.items[i];
    Item(item);
    if (item.kind != GroupPiece::Kind::kStatement || i + 1 == piece.items.size() || !HasExit(item.node)) continue;
    Line({"if (Any(", GetMask(), ")) {"});
    ++open;
  }
  for (; open > 0; --open) Line({"}"});
  for (const NodeIndex variable : piece.kept) {
    if (has(declared, variable) || has(changed, variable)) KeepValue(variable);
  }
  Line({"});"});
  if (_refusal) _text.clear();
  return {std::exchange(_text, {}), std::exchange(_refusal, std::nullopt)};
}

}  // namespace ostra::kernellanguage

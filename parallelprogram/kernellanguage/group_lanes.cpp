// The pieces of a kernel in lanes, those that have such a form.
#include <algorithm>

#include "parallelprogram/kernellanguage/changes.h"
#include "parallelprogram/kernellanguage/group_printer.h"

namespace ostra::kernellanguage {
namespace {

// Operations in any order of which leave the same value.
Bool IsCommutative(WordId word) {
  return word == WordId::kAtomicAdd || word == WordId::kAtomicSub || word == WordId::kAtomicMin ||
         word == WordId::kAtomicMax || word == WordId::kAtomicAnd || word == WordId::kAtomicOr ||
         word == WordId::kAtomicXor;
}

// Finds the atomic operations of a piece whose order matters. Invocations in lanes do one operation after the other,
// each in all lanes: their order is that of single invocations if the piece has one operation on a place alone.
class AtomicOrder {
 public:
  AtomicOrder(const SyntaxTree& tree, const ResolvedTree& resolved) : _tree(tree), _resolved(resolved) {}

  void Add(NodeIndex node, Bool isInLoop) {
    const NodeKind kind = _tree.nodes[node].kind;
    const Meaning& meaning = _resolved.meaning[node];
    if (kind == NodeKind::kCall && meaning.kind == MeaningKind::kWord && IsAtomic(meaning.word))
      _calls.push_back({node, FindMemory(_tree.GetChild(node, 0)), isInLoop});
    isInLoop = isInLoop || IsLoop(kind);
    for (const NodeIndex child : _tree.GetChildren(node)) {
      if (child != kNoNode) Add(child, isInLoop);
    }
  }

  // kNoNode if the order of none matters.
  NodeIndex Find() const {
    for (const Call& call : _calls) {
      const auto isOther = [&](const Call& other) { return other.memory == call.memory && other.node != call.node; };
      const Bool isAlone = !call.isInLoop && std::none_of(_calls.begin(), _calls.end(), isOther);
      const WordId word = _resolved.meaning[call.node].word;
      const auto isUnlike = [&](const Call& other) {
        return other.memory == call.memory && _resolved.meaning[other.node].word != word;
      };
      const Bool isFree = IsCommutative(word) && std::none_of(_calls.begin(), _calls.end(), isUnlike) &&
                          !IsRead(_tree.GetChildren(call.node).back());
      if (!isAlone && !isFree) return call.node;
    }
    return kNoNode;
  }

 private:
  struct Call {
    NodeIndex node, memory;
    Bool isInLoop;
  };

  // The declaration of the buffer, array or counter.
  NodeIndex FindMemory(NodeIndex place) const {
    const NodeIndex root = FindPlaceRoot(_tree, place);
    return _resolved.meaning[_tree.Is(root, NodeKind::kCall) ? _tree.GetChild(root, 0) : root].target;
  }

  Bool IsOldValue(NodeIndex name) const {
    return std::any_of(_calls.begin(), _calls.end(),
                       [&](const Call& call) { return _tree.GetChildren(call.node).back() == name; });
  }

  // Whether anything but these operations names the variable.
  Bool IsRead(NodeIndex old) const {
    const NodeIndex variable = _resolved.meaning[old].target;
    for (NodeIndex node = 0; node < static_cast<NodeIndex>(_tree.nodes.size()); ++node) {
      const Bool isNamed = _tree.Is(node, NodeKind::kName) && _resolved.meaning[node].kind == MeaningKind::kVariable &&
                           _resolved.meaning[node].target == variable;
      if (isNamed && !IsOldValue(node)) return true;
    }
    return false;
  }

  const SyntaxTree& _tree;
  const ResolvedTree& _resolved;
  std::vector<Call> _calls;
};

}  // namespace

GroupNames GroupPrinter::NameVariables() const {
  GroupNames names;
  for (const NodeIndex variable : _order) names[variable] = UniqueName(variable);
  for (NodeIndex node = 0; node < static_cast<NodeIndex>(_tree.nodes.size()); ++node) {
    if (_tree.Is(node, NodeKind::kSharedArray)) names[node] = Join({"ostraMemory.", UniqueName(node)});
  }
  return names;
}

std::optional<NotUnderstood> GroupPrinter::FindOrderedAtomic() const {
  AtomicOrder order(_tree, _resolved);
  for (const GroupPiece::Item& item : _items.items) order.Add(item.node, false);
  const NodeIndex call = order.Find();
  if (call == kNoNode) return {};
  return NotUnderstood{_tree.nodes[call].offset, "atomic operations whose order matters"};
}

// The loop over the invocations in lanes, or one after the other for a piece that has no wide form.
std::string GroupPrinter::PieceInLanes(const std::string& scalar) {
  std::erase_if(_items.items, [this](const GroupPiece::Item& item) {
    if (item.kind != GroupPiece::Kind::kVariable) return false;
    const Place place = _variables.at(item.node).place;
    return place != Place::kPiece && place != Place::kKept;
  });
  _items.kept.assign(_kept.begin(), _kept.end());
  auto refusal = FindOrderedAtomic();
  LaneCode code;
  if (!refusal) {
    code = _lanes->PrintPiece(_items);
    refusal = code.refusal;
  }
  if (!refusal) return std::move(code.text);
  _laneRefusals.push_back(*std::move(refusal));
  return scalar;
}

void GroupPrinter::RunInLanes(GroupCode& code) {
  const UniformityTable uniformity = AnalyzeUniformity(_tree, _resolved, UniformityScope::kRowOfGroup);
  const GroupNames names = NameVariables();
  const LaneCodeOptions options{.className = _options.className, .parameters = _options.parameters};
  LanePiecePrinter lanes(_kernel, uniformity, options, names);
  LaneCode common = lanes.PrintCommon();
  code.pieceCount = _pieceCount;
  if (_earlyReturn != kNoNode)
    common.refusal = {_tree.nodes[_earlyReturn].offset, "a return behind which the others come to more than one part"};
  if (common.refusal) {
    code.laneRefusals = {*common.refusal};
    return;
  }
  _lanes = &lanes;
  Run();
  _lanes = nullptr;
  code.laneRefusals = std::move(_laneRefusals);
  if (static_cast<int>(code.laneRefusals.size()) == code.pieceCount) return;
  const std::string values = Join({_options.className, "Values"});
  const std::string name = Join({"Ostra", _options.className, "Lanes"});
  code.lanes =
      Join({"struct ", name, " : ", values, " {\n", "explicit ", name, "(const ", values, "& values) : ", values,
            "(values) {}\nusing OstraMemory = ", _options.className, "Body::OstraMemory;\n", common.text,
            "OSTRA_KERNEL_INLINE void RunGroup([[maybe_unused]] const Vec3<UInt32>& InWorkGroupID, "
            "[[maybe_unused]] OstraMemory& ostraMemory) const {\n[[maybe_unused]] Bool ostraCondition = "
            "false;\n",
            _constants, _text, "}\n};\n"});
}

}  // namespace ostra::kernellanguage

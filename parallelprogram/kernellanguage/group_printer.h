// The state of PrintGroupCode, and how its parts call each other. Internal to group_*.cpp.
//
// Statements are collected in a piece, the body of a loop over the invocations, until the next cut statement ends it.
// The kernel is written three times: the first two times to learn which variables are used in several pieces, the last
// time for lanes.
#pragma once

#include <set>
#include <unordered_map>
#include <unordered_set>

#include "parallelprogram/kernellanguage/group_code.h"
#include "parallelprogram/kernellanguage/group_piece.h"
#include "parallelprogram/kernellanguage/join.h"
#include "parallelprogram/kernellanguage/lane_piece_printer.h"

namespace ostra::kernellanguage {

class GroupPrinter {
 public:
  GroupPrinter(const AnalyzedKernel& kernel, const GroupCodeOptions& options)
      : _kernel(kernel),
        _tree(kernel.tree),
        _resolved(kernel.resolved),
        _types(kernel.resolved.types),
        _isCut(kernel.groups.isCut),
        _sources(kernel.sources),
        _options(options) {}

  GroupCode Print();

 private:
  // Where a variable that is declared between cut statements lies.
  enum class Place {
    kPiece,
    kKept,  // for each invocation
    kConstant,
    kShared,    // one for the group
    kRepeated,  // computed again in each piece
  };
  struct Variable {
    Place place = Place::kPiece;
    int piece = 0;              // that it was seen in first
    Bool isRepeatable = false;  // pieces may compute it again
  };

  void Refuse(NodeIndex node, std::string reason);
  NodeIndex Child(NodeIndex node, std::size_t index) const { return _tree.GetChild(node, index); }
  NodeKind KindOf(NodeIndex node) const { return _tree.nodes[node].kind; }
  std::string_view NameOf(NodeIndex node) const { return _tree.GetName(node); }

  // Writing.
  void Line(std::initializer_list<std::string_view> parts);  // to the piece
  void MarkLine(NodeIndex node);
  void Add(GroupPiece::Kind kind, NodeIndex node) { _items.items.push_back({kind, node}); }
  void EndPiece();
  void Outside(std::initializer_list<std::string_view> parts);  // behind the piece, which ends

  // group_lanes.cpp: the same in lanes
  void RunInLanes(GroupCode& code);
  GroupNames NameVariables() const;
  std::optional<NotUnderstood> FindOrderedAtomic() const;
  std::string PieceInLanes(const std::string& scalar);

  // group_code.cpp: statements around barriers
  void Run();
  void AddItem(const GroupPiece::Item& item);
  void Cut(NodeIndex node);
  void CutLoop(NodeIndex node);
  // Ends the piece; then the generated ostraCondition is that of the group.
  void Decide(NodeIndex condition);
  void Declare(NodeIndex variable);
  void Use(NodeIndex variable);
  std::string Declarations() const;
  Bool IsConstant(NodeIndex expression) const;

  // group_returns.cpp: a return behind which pieces come that the others run; kNoNode if there is none
  NodeIndex FindEarlyReturn(NodeIndex node, Bool isInIf, Bool isFollowed) const;

  // group_values.cpp: values that are not kept for each invocation
  void FindChanges();
  void FindShared(NodeIndex node);
  Bool IsShared(NodeIndex expression, NodeIndex own = kNoNode) const;
  Bool CanBeRepeated(NodeIndex variable) const;
  template <class IsKnown>
  Bool IsArithmetic(NodeIndex node, int& nodesLeft, const IsKnown& isKnown) const;
  std::vector<NodeIndex> TakeRepeated();

  // group_expressions.cpp: C++ of one invocation
  void Statement(NodeIndex node);
  std::string VariableText(NodeIndex variable, std::string_view name);
  std::string Expression(NodeIndex node);
  std::string Condition(NodeIndex node);
  std::string Call(NodeIndex node);
  std::string List(NodeIndex node, std::size_t first);
  std::string Name(NodeIndex node);
  // "Vec3<Float32>" and "[4]" of an array of them; empty for types that cannot be named.
  std::string TypeName(TypeIndex type) const;
  std::string ArraySizes(TypeIndex type) const;
  std::string UniqueName(NodeIndex variable) const;

  const AnalyzedKernel& _kernel;
  const SyntaxTree& _tree;
  const ResolvedTree& _resolved;
  const TypeTable& _types;
  const std::vector<Bool>& _isCut;
  const SourceMap& _sources;
  const GroupCodeOptions& _options;

  GroupPiece _items;
  std::string _text, _piece, _constants;
  std::unordered_map<NodeIndex, Variable> _variables;
  std::vector<NodeIndex> _order;            // of _variables
  std::unordered_set<NodeIndex> _repeated;  // that the piece names
  std::set<NodeIndex> _kept;                // that the piece names or declares
  std::vector<int> _changeCounts;           // of variables: places where they change
  std::vector<NodeIndex> _continued;        // cut loops around the statement
  std::optional<NotUnderstood> _refusal;
  NodeIndex _earlyReturn = kNoNode;
  int _pieceCount = 0;
  LanePiecePrinter* _lanes = nullptr;  // of the last time
  std::vector<NotUnderstood> _laneRefusals;
};

}  // namespace ostra::kernellanguage

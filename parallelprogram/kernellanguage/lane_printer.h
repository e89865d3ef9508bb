// The state of PrintLaneCode, and how its parts call each other. Internal to lane_*.cpp.
//
// Expressions become text; what has to happen under a mask of its own (a load behind &&) becomes statements that are
// written before the statement it stands in. Every statement runs under the current mask, a variable that loses lanes
// as they return, break and continue. A variable of the kernel is written under a Select only if lanes that are off at
// the moment may read it again: if a varying branch or loop lies between its declaration and the assignment, and
// something reads it behind that.
#pragma once

#include <unordered_map>

#include "parallelprogram/kernellanguage/join.h"
#include "parallelprogram/kernellanguage/lane_code.h"
#include "parallelprogram/kernellanguage/lane_names.h"

namespace ostra::kernellanguage {

class LanePrinter {
 public:
  LanePrinter(const AnalyzedKernel& kernel, const LaneCodeOptions& options)
      : LanePrinter(kernel, kernel.uniformity, options, nullptr) {}
  LaneCode Print();

 protected:
  // `names` are those of variables outside of pieces, if the kernel is printed piece by piece; null otherwise.
  LanePrinter(const AnalyzedKernel& kernel, const UniformityTable& uniformity, const LaneCodeOptions& options,
              const GroupNames* names)
      : _tree(kernel.tree),
        _resolved(kernel.resolved),
        _types(kernel.resolved.types),
        _uniformity(uniformity),
        _sources(kernel.sources),
        _options(options),
        _exchangesValues(kernel.groups.isNeeded),
        _names(kernel.tree, kernel.resolved, names) {}

  // How a value is held: one scalar for all lanes; the scalar of the first lane, from which it grows by a stride;
  // lanes; lanes of a number that grows by 1 and is kept within bounds; lanes of vectors as they lie in memory.
  enum class Form { kShared, kLinear, kLanes, kClamped, kRows };
  struct Value {
    std::string text;
    Form form = Form::kShared;
    TypeIndex type = kUnknownType;
    Int32 stride = 0;
    Bool isDivisor = false;  // a constant to divide by
  };
  // The parts of a loop; kNoNode where it has none.
  struct LoopParts {
    NodeIndex start = kNoNode, condition = kNoNode, step = kNoNode, body = kNoNode;
  };
  // What a loop does with elements at places that it moves on, in lanes.
  struct Walk {
    std::vector<NodeIndex> moved, own;  // variables that it changes, and that its body declares; sorted
    int elementCount = 0, operationCount = 0;
  };
  // Lanes of a mask, and the statement that runs under it if a lane that leaves it does not come back there.
  struct MaskScope {
    std::string name;
    NodeIndex region = kNoNode;
  };
  // Where nodes lie in the order of the text, and variables are used.
  struct Uses {
    std::vector<UInt32> last;     // of statements: the last node inside; of variables: their last use
    std::vector<NodeIndex> loop;  // the innermost loop around
    std::vector<Bool> isChanged;  // variables: behind their declaration
  };
  struct PairedWork {
    UInt32 numberCount = 0;
    Bool hasLoop = false;
  };
  // A number, vector or matrix of a struct, and the way to it.
  struct Part {
    std::string path;
    TypeIndex type = kUnknownType;
  };
  // What a call has changed in place of what cannot be handed to it.
  struct Copy {
    NodeIndex place;
    Value value;
  };
  // A loop or switch around the current statement.
  struct Exit {
    Bool isPlain = false;   // break and continue are those of C++, as all lanes take them together
    int depth = 0;          // of masks, around the body
    std::string continued;  // mask of the lanes that wait for the next turn; empty in a switch
    Bool isSwitch = false;
  };

  // Checks the kernel, finds out what its parts need, and prints its structs and functions.
  void Prepare();
  // What a statement does not have, or the first of several.
  void Refuse(NodeIndex node, std::string reason);
  Bool HasRefused() const { return _refusal.has_value(); }

  // Writing.
  void Line(std::initializer_list<std::string_view> parts);
  void MarkLine(NodeIndex node);
  std::string NewName(std::string_view stem);
  const std::string& GetMask() const { return _masks.back().name; }
  void PushMask(std::string name, NodeIndex region = kNoNode) { _masks.push_back({std::move(name), region}); }

  // Tables.
  std::string_view NameOf(NodeIndex node) const { return _tree.GetName(node); }
  NodeIndex Child(NodeIndex node, std::size_t index) const { return _tree.GetChild(node, index); }
  NodeKind KindOf(NodeIndex node) const { return _tree.nodes[node].kind; }
  TypeIndex TypeOf(NodeIndex node) const { return _resolved.type[node]; }
  Form FormOf(NodeIndex node) const;
  // Whether the name of a variable stands for the number of turns that all lanes of a loop share.
  Bool IsCount(NodeIndex name) const;
  // Whether an expression may be computed in lanes that are off: it touches no memory, traps nowhere, calls no function
  // of the file and changes nothing.
  Bool IsHarmless(NodeIndex node) const;
  // Whether lanes may leave a statement by return, or by break and continue of something around it.
  Bool HasExit(NodeIndex node) const;
  // Whether `node` has a jump of that kind that belongs to a loop or switch around it; with `isMasked` only jumps that
  // stand below a condition which differs between lanes.
  Bool HasJump(NodeIndex node, NodeKind kind, Bool isMasked, Bool isBelow = false) const;
  Bool HasReturn(NodeIndex node) const;
  LoopParts GetLoopParts(NodeIndex node) const;
  // Whether lanes leave a loop one by one.
  Bool IsMaskedLoop(NodeIndex node) const;

  // lane_types.cpp: types as C++
  std::string SharedType(TypeIndex type) const;
  std::string LaneType(TypeIndex type, NodeIndex place);
  Bool HasLaneType(TypeIndex type) const;
  Bool IsAggregate(TypeIndex type) const;  // a struct or a matrix
  void AddParts(std::string path, TypeIndex type, std::vector<Part>& parts) const;
  std::vector<Part> GetParts(NodeIndex declaration) const;
  void Structs();
  void Struct(NodeIndex declaration);

  // lane_expressions.cpp
  std::string Shared(NodeIndex node);        // C++ of one value for all lanes, or for the first one of a linear value
  std::string SharedItself(NodeIndex node);  // before its conversion
  std::string SharedWord(NodeIndex node, std::string_view component);
  Value Evaluate(NodeIndex node);        // as it is wanted where it stands
  Value EvaluateItself(NodeIndex node);  // before its conversion
  std::string InLanes(NodeIndex node) { return ToLanes(Evaluate(node), node); }
  std::string ToLanes(const Value& value, NodeIndex place);
  std::string ToMask(NodeIndex node) { return InLanes(node); }
  std::string ToMaskUnder(const std::string& mask, NodeIndex condition);
  Value Convert(Value value, TypeIndex to, NodeIndex place);
  Value Binary(Operation operation, const Value& left, const Value& right, TypeIndex result, NodeIndex place);
  Value Logical(NodeIndex node);
  Value Conditional(NodeIndex node);
  Value Name(NodeIndex node);
  Value Index(NodeIndex node);
  // Computes the indices of a place once, for all that follows until they are released.
  void HoldIndices(NodeIndex place);
  void ReleaseIndices(NodeIndex place);
  Value LoadElement(NodeIndex memory, TypeIndex element, NodeIndex index, NodeIndex place);
  Value Member(NodeIndex node);
  std::string_view PartName(NodeIndex node) const;
  NodeIndex FindElement(NodeIndex place, std::string& path) const;
  std::string ElementOfLane(NodeIndex element);
  Value LoadPart(NodeIndex element, const std::string& path, NodeIndex place);
  Value MapLanes(TypeIndex type, NodeIndex place, const std::string& one);
  Value CallEachLane(NodeIndex node, std::string_view function, std::string arguments = "",
                     std::size_t firstArgument = 0);
  Value Construct(NodeIndex node);
  Value MatrixOf(NodeIndex node);
  Value StructOf(NodeIndex list);
  void SetParts(const std::string& place, TypeIndex type, NodeIndex list);
  Value Literal(NodeIndex node) const;

  // lane_calls.cpp
  Value Call(NodeIndex node);
  Value CallWord(NodeIndex node);
  std::optional<Value> CallClamp(NodeIndex node);
  Bool IsMatrixFunction(NodeIndex call) const;
  Bool IsLibraryFunction(NodeIndex call) const;
  Value CallFunction(NodeIndex node);
  Bool ChangesArguments(NodeIndex call) const;
  Bool HasChangingCall(NodeIndex expression) const;
  NodeIndex FindRoot(NodeIndex place) const;
  std::string PassPlace(NodeIndex argument, NodeIndex parameter, Form form, std::vector<Copy>& copies);
  Value CallTexture(NodeIndex node);
  Value CallNoise(NodeIndex node);
  void CallAtomic(NodeIndex node);
  int CountReturns(NodeIndex node) const;
  void Functions();
  void Function(NodeIndex function);

  // lane_steps.cpp
  Bool IsOneStep(NodeIndex kernel) const;
  Bool IsGuard(NodeIndex statement) const;
  Bool IsPlain(NodeIndex node) const;
  Bool IsPlainValue(NodeIndex expression) const;

  // lane_uses.cpp
  void FindUses();
  void FindUses(NodeIndex node, NodeIndex loop, UInt32& position);
  // Whether lanes that are off at the moment may read the variable again.
  Bool MayBeReadLater(NodeIndex variable) const;

  // lane_pairs.cpp
  UInt32 CountPairedNumbers() const;
  Bool CanBePaired(NodeIndex node, Bool isInLoop, PairedWork& work) const;

  // lane_rows.cpp
  void FindRows();
  void FindRowsIn(NodeIndex node);
  void TakeRowsValue(NodeIndex node);
  Bool IsRowsValue(NodeIndex node) const;
  Bool IsRowsName(NodeIndex node) const;
  Bool IsFloatVector(TypeIndex type) const;
  std::string RowsType(TypeIndex type) const;
  std::string ToRows(const Value& value) const;

  // lane_walks.cpp
  Bool IsSlowWalk(NodeIndex loop) const;
  void FindMoved(NodeIndex node, Walk& walk) const;
  Bool IsMoved(NodeIndex node, const Walk& walk) const;
  void CountWork(NodeIndex node, Walk& walk) const;

  // lane_statements.cpp
  void Statement(NodeIndex node);
  void Statements(std::span<const NodeIndex> statements);
  void Block(NodeIndex node);
  void Variable(NodeIndex node);
  void ArrayVariable(NodeIndex node, TypeIndex type);
  void Effect(NodeIndex expression);
  Bool StepCount(NodeIndex expression);
  void Assign(NodeIndex target, const Value& value);
  Bool AssignElements(NodeIndex target, const Value& value);
  void Change(NodeIndex target, Operation operation, const Value* by, TypeIndex computed);
  void If(NodeIndex node);
  void Loop(NodeIndex node);
  void PlainLoop(NodeIndex node);
  void MaskedLoop(NodeIndex node);
  void LeaveUnless(const std::string& mask, NodeIndex condition);
  void Switch(NodeIndex node);
  void Leave(NodeIndex node);
  void Return(NodeIndex node);
  NodeIndex FindVariable(NodeIndex place, std::string& text);
  // A step of a loop that is one C++ expression, the same for all lanes.
  Bool IsSharedEffect(NodeIndex expression) const;
  void InBranch(const std::string& mask, NodeIndex statement);

  const SyntaxTree& _tree;
  const ResolvedTree& _resolved;
  const TypeTable& _types;
  const UniformityTable& _uniformity;
  const SourceMap& _sources;
  const LaneCodeOptions& _options;
  const Bool _exchangesValues;
  const LaneNames _names;

  std::string _text;
  std::optional<NotUnderstood> _refusal;
  std::unordered_map<NodeIndex, int> _variableDepths;  // of masks, where variables in lanes are declared
  std::vector<MaskScope> _masks;                       // the last one is that of the current statement
  Uses _uses;
  std::vector<Bool> _isInRows;   // variables and loads
  std::vector<Bool> _isClamped;  // variables
  std::vector<Bool> _isKept;     // variables, for each invocation of a group
  Bool _hasFoundRows = false;
  std::vector<Exit> _exits;
  std::unordered_map<NodeIndex, Value> _held;                // expressions that are computed already
  mutable std::unordered_map<TypeIndex, Bool> _laneStructs;  // the answers of HasLaneType for structs
  NodeIndex _function = kNoNode;                             // that is being written; kNoNode in the kernel
  Bool _hasManyReturns = false;
  int _nameCount = 0;
};

}  // namespace ostra::kernellanguage

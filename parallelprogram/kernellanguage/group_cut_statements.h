// Statements that the group comes to as one: barriers, and what stands around them. The others are collected in pieces,
// the bodies of loops over the invocations; a piece ends where the next cut statement comes.
#pragma once

#include "parallelprogram/kernellanguage/group_lanes.h"
#include "parallelprogram/kernellanguage/group_statements.h"

namespace ostra::kernellanguage {

class GroupCutStatements : GroupQuery {
 public:
  struct Uses {
    GroupVariables& variables;
    const GroupValues& values;
    GroupOutput& output;
    GroupExpressions& expressions;
    GroupStatements& statements;
    GroupLanes* lanes;  // null: one invocation after the other
  };

  GroupCutStatements(const GroupKernel& kernel, const Uses& uses)
      : GroupQuery(kernel),
        _variables(uses.variables),
        _values(uses.values),
        _output(uses.output),
        _expressions(uses.expressions),
        _statements(uses.statements),
        _lanes(uses.lanes) {}

  // A statement that may be cut.
  void Statement(NodeIndex node);
  void EndPiece();

 private:
  void Collect(NodeIndex node);
  void Loop(NodeIndex node);
  void Step(NodeIndex loop, NodeIndex step);
  // Ends the piece; then the generated ostraCondition is that of the group.
  void Decide(NodeIndex condition);
  void AddItem(const GroupPiece::Item& item);
  std::vector<NodeIndex> TakeRepeated();
  void DeclareShared(NodeIndex variable);
  // Behind the piece, which ends.
  void Outside(std::initializer_list<std::string_view> parts);
  void Add(GroupPiece::Kind kind, NodeIndex node) { _piece.items.push_back({kind, node}); }

  GroupVariables& _variables;
  const GroupValues& _values;
  GroupOutput& _output;
  GroupExpressions& _expressions;
  GroupStatements& _statements;
  GroupLanes* const _lanes;
  GroupPiece _piece;
  std::vector<NodeIndex> _continued;  // cut loops around the statement
};

}  // namespace ostra::kernellanguage

// Where the variables lie that are declared between cut statements. What several pieces use is learned while the kernel
// is written, so it is written more than once.
#pragma once

#include <set>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "parallelprogram/kernellanguage/syntax_tree.h"

namespace ostra::kernellanguage {

enum class GroupPlace : UInt8 {
  kPiece,
  kKept,  // for each invocation
  kConstant,
  kShared,    // one for the group
  kRepeated,  // computed again in each piece
};

class GroupVariables {
 public:
  // Pieces are counted from 0 again.
  void BeginRun() { _pieceCount = 0; }
  void CountPiece() { ++_pieceCount; }
  int GetPieceCount() const { return _pieceCount; }

  // The current piece declares the variable. True the first time: it lies in the piece.
  Bool Declare(NodeIndex variable);
  // One of the group, which no piece declares.
  void DeclareShared(NodeIndex variable);
  void SetPlace(NodeIndex variable, GroupPlace place) { _variables.at(variable).place = place; }
  // Pieces may compute the variable again.
  void SetRepeatable(NodeIndex variable) { _variables.at(variable).isRepeatable = true; }

  // The current piece names a variable. One of another piece is kept from then on, or computed again.
  void Use(NodeIndex variable);

  // Whether it is declared between cut statements: others are of no interest here.
  Bool IsKnown(NodeIndex variable) const { return _variables.contains(variable); }
  Bool IsAt(NodeIndex variable, GroupPlace place) const;
  Bool IsRepeatable(NodeIndex variable) const;
  const std::vector<NodeIndex>& GetAll() const { return _order; }  // in the order of their declarations

  // Kept variables that the current piece names, sorted; they are forgotten.
  std::vector<NodeIndex> TakeKept();
  // Whether the current piece names a variable that it computes again.
  Bool IsRepeatedHere(NodeIndex variable) const { return _repeated.contains(variable); }
  void ForgetRepeated() { _repeated.clear(); }

 private:
  struct Variable {
    GroupPlace place = GroupPlace::kPiece;
    int piece = 0;  // that it was seen in last
    Bool isRepeatable = false;
  };

  std::unordered_map<NodeIndex, Variable> _variables;
  std::vector<NodeIndex> _order;            // of _variables
  std::unordered_set<NodeIndex> _repeated;  // that the piece names
  std::set<NodeIndex> _kept;                // that the piece names or declares
  int _pieceCount = 0;
};

}  // namespace ostra::kernellanguage

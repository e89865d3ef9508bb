// Places that are changed in another way than they are written: swizzles and columns by their components, numbers that
// are computed in another type, arguments that calls change. What was computed for them is written back behind the
// statement.
#pragma once

#include <optional>

#include "parallelprogram/kernellanguage/plain_checks.h"
#include "parallelprogram/kernellanguage/plain_hoist_plan.h"

namespace ostra::kernellanguage {

class PlainExpressions;
class PlainMatrices;

class PlainChanges : PlainPart {
 public:
  struct Uses {
    const CheckPlan& checkPlan;
    const HoistPlan& hoistPlan;
    KeptValues& kept;
    PlainValues& values;
    PlainChecks& checks;
    PlainExpressions& expressions;
    PlainMatrices& matrices;
  };

  PlainChanges(const PlainBasis& basis, const Uses& uses) : PlainPart(basis), _uses(uses) {}

  // The whole assignment as statements, if it is one of a swizzle, or one that is written otherwise.
  Bool WriteSwizzle(NodeIndex assignment);
  Bool WriteChange(NodeIndex assignment);
  // The lines of both, which give the text of the place; of that which has the components of a swizzle.
  std::string ChangeSwizzle(NodeIndex assignment);
  std::string ChangePlace(NodeIndex assignment);
  // ++ and -- of a swizzle or a column.
  void ChangeByOne(NodeIndex node, Bool isValueUsed);
  // A variable in the place of an argument; what the call makes of it is written back behind the statement.
  std::string CopyArgument(NodeIndex argument);
  // Behind a statement: what its calls have changed.
  void WriteBack();
  // A variable with the value of the expression, which stands for it from there on.
  void KeepValue(NodeIndex node, TypeIndex type, const std::string& value);
  // The same of a struct that is made of values with an array among them.
  void KeepStruct(NodeIndex node);

  // The call whose arguments may be copied before the statement. Gives the one before.
  NodeIndex SetCopyingCall(NodeIndex call);
  NodeIndex GetCopyingCall() const { return _copyingCall; }

 private:
  struct ChangedColumn {
    std::string matrix, index, name;
    UInt32 count = 0;
    std::optional<UInt32> number = {};  // of the column, where it is written as one
  };

  std::string Place(NodeIndex node);
  std::string ColumnPlace(NodeIndex node);
  void WriteColumn(const ChangedColumn& changed, UInt32 column);
  void WriteColumns();
  std::string MakeChanged(NodeIndex assignment, const std::string& place);
  std::string MakeOne(TypeIndex type) const;

  NodeIndex _copyingCall = kNoNode;
  std::vector<std::string> _writeBacks;        // statements behind the one that is being written
  std::vector<ChangedColumn> _changedColumns;  // that the statement writes back at its end
  const Uses _uses;
};

}  // namespace ostra::kernellanguage

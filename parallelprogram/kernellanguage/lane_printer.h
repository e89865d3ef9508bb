// The wide form of a kernel, and the parts that write it. Internal to lane_*.cpp.
//
// Expressions become text; what has to happen under a mask of its own (a load behind &&) becomes statements that are
// written before the statement it stands in. Every statement runs under the current mask (lane_masks.h).
#pragma once

#include "parallelprogram/kernellanguage/lane_assignments.h"
#include "parallelprogram/kernellanguage/lane_calls.h"
#include "parallelprogram/kernellanguage/lane_construction.h"
#include "parallelprogram/kernellanguage/lane_exits.h"
#include "parallelprogram/kernellanguage/lane_expressions.h"
#include "parallelprogram/kernellanguage/lane_function_calls.h"
#include "parallelprogram/kernellanguage/lane_functions.h"
#include "parallelprogram/kernellanguage/lane_held_values.h"
#include "parallelprogram/kernellanguage/lane_jumps.h"
#include "parallelprogram/kernellanguage/lane_loops.h"
#include "parallelprogram/kernellanguage/lane_memory.h"
#include "parallelprogram/kernellanguage/lane_operators.h"
#include "parallelprogram/kernellanguage/lane_rows.h"
#include "parallelprogram/kernellanguage/lane_shared.h"
#include "parallelprogram/kernellanguage/lane_statements.h"
#include "parallelprogram/kernellanguage/lane_switches.h"
#include "parallelprogram/kernellanguage/lane_uses.h"
#include "parallelprogram/kernellanguage/lane_values.h"
#include "parallelprogram/kernellanguage/lane_variables.h"
#include "parallelprogram/kernellanguage/lane_walks.h"
#include "parallelprogram/kernellanguage/lane_windows.h"

namespace ostra::kernellanguage {

// What the parts know of the kernel before anything is written, and where they write.
struct LaneTables {
  LaneTables(const AnalyzedKernel& analyzed, const UniformityTable& uniformity, const GroupNames* groupNames)
      : kernel(analyzed, uniformity, groupNames) {}

  LaneKernel kernel;
  LaneOutput out{kernel.tree, kernel.sources};
  LaneMasks masks;
  LaneTypes types{kernel, out};
  LaneBasis basis{kernel, out, masks, types};
  LaneJumps jumps{kernel};
  LaneWalks walks{kernel};
  LaneUses variableUses{kernel};
  LaneRows rows{kernel};
  LaneExits exits;
  LaneHeldValues held;
};

class LanePrinter : protected LaneTables, protected LanePart {
 public:
  // All must outlive the printer.
  LanePrinter(const AnalyzedKernel& analyzed, const LaneCodeOptions& options)
      : LanePrinter(analyzed, analyzed.uniformity, options, nullptr) {}
  LaneCode Print();

 protected:
  // `groupNames` are those of variables outside of pieces, if the kernel is printed piece by piece; null otherwise.
  LanePrinter(const AnalyzedKernel& analyzed, const UniformityTable& uniformity, const LaneCodeOptions& options,
              const GroupNames* groupNames)
      : LaneTables(analyzed, uniformity, groupNames), LanePart(basis), _options(options) {}

  // Checks the kernel, and prints its structs and functions.
  void Prepare();

  const LaneCodeOptions& _options;
  LaneValues _values{basis};
  // These call each other, as expressions and statements stand inside of each other.
  LaneShared _shared{basis, {_values, held}};
  LaneWindows _windows{basis, {jumps, _shared}};
  LaneExpressions _expressions{
      basis, {rows, _values, _shared, held, _operators, _memory, _construction, _calls, _functionCalls}};
  LaneOperators _operators{basis, {_values, _shared, _expressions}};
  LaneMemory _memory{basis, {rows, _values, _shared, held, _expressions}};
  LaneConstruction _construction{basis, {_values, _expressions}};
  LaneCalls _calls{basis, {_values, _shared, _expressions, _functionCalls, _windows}};
  LaneFunctionCalls _functionCalls{basis, {_values, _shared, _expressions, _memory, _assignments}};
  LaneAssignments _assignments{basis,
                               {variableUses, rows, _values, _shared, _expressions, _operators, _memory, _calls}};
  LaneVariables _variables{basis, {variableUses, rows, _values, _expressions}};
  LaneLoops _loops{basis, {jumps, walks, _shared, _expressions, _assignments, _statements, _windows, exits}};
  LaneSwitches _switches{basis, {jumps, _values, _shared, _expressions, _statements, exits}};
  LaneStatements _statements{
      basis, {jumps, _values, _shared, _expressions, _assignments, _variables, _loops, _switches, exits}};
  LaneFunctions _functions{basis, {_statements}};

 private:
  void RefuseNames();
};

}  // namespace ostra::kernellanguage

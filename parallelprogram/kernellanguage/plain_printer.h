// A kernel file in the plain form, from its structs to its body, and the parts that write it. Internal to
// plain_form.cpp.
//
// Texts carry marks, which say where in the source a piece comes from, until Print takes them out (plain_marks.h).
#pragma once

#include "parallelprogram/kernellanguage/plain_bools.h"
#include "parallelprogram/kernellanguage/plain_calls.h"
#include "parallelprogram/kernellanguage/plain_construction.h"
#include "parallelprogram/kernellanguage/plain_expressions.h"
#include "parallelprogram/kernellanguage/plain_matrices.h"
#include "parallelprogram/kernellanguage/plain_statements.h"

namespace ostra::kernellanguage {

// What the parts know of the kernel before anything is written, and where they write.
struct PlainTables {
  PlainTables(const AnalyzedKernel& analyzed, const PlainOptions& options) : kernel(analyzed, options) {}

  PlainKernel kernel;
  PlainNames names{kernel};
  PlainOutput out;
  PlainHelpers helpers{names, out};
  PlainBasis basis{kernel, names, out, helpers};
  CheckPlan checkPlan{kernel};
  TracePlan tracePlan{kernel};
  ReportPlan reportPlan{kernel, checkPlan};
  KeptValues kept{kernel};
  HoistPlan hoistPlan{kernel, tracePlan, kept};
  ReportSites sites{kernel, reportPlan, tracePlan};
};

class PlainPrinter : PlainTables, PlainPart {
 public:
  // Both must outlive the printer, which prints once.
  PlainPrinter(const AnalyzedKernel& kernel, const PlainOptions& options)
      : PlainTables(kernel, options), PlainPart(basis) {}

  PlainForm Print();

 private:
  void RefuseCpuVectors(NodeIndex node);
  void PrintStruct(NodeIndex node);
  void PrintDirective(NodeIndex node);
  void PrintParameters();
  void PrintConstant(NodeIndex declaration);
  std::string PrintFunctionParameters(NodeIndex function) const;
  void PrintFunction(NodeIndex node);
  void PrintKernel();

  PlainValues _values{basis};
  PlainLibrary _library{basis, _values};
  PlainGroups _groups{basis};
  ReportWords _words{basis, _values};
  PlainReports _reports{basis, reportPlan, sites};
  PlainChecks _checks{basis, checkPlan, sites, _reports, _values, _groups};
  // These call each other, as expressions stand inside of each other.
  PlainExpressions _expressions{basis, {kept, _values, _checks, _bools, _calls, _construction, _matrices}};
  PlainBools _bools{basis, kept, _checks, _expressions};
  PlainMatrices _matrices{basis, kept, _values, _checks, _expressions};
  PlainConstruction _construction{basis, kept, _values, _expressions, _matrices};
  PlainCalls _calls{
      basis, {checkPlan, reportPlan, hoistPlan, _library, _groups, _checks, _expressions, _bools, _matrices, _changes}};
  PlainChanges _changes{basis, {checkPlan, hoistPlan, kept, _values, _checks, _expressions, _matrices}};
  PlainHoists _hoists{basis, hoistPlan, kept, _values, _expressions, _changes};
  PlainTraces _traces{basis, tracePlan, sites, _words, _reports, _expressions};
  PlainStatements _statements{basis,
                              {checkPlan, tracePlan, reportPlan, hoistPlan, kept, sites, _words, _reports, _checks,
                               _expressions, _changes, _hoists, _traces}};
};

}  // namespace ostra::kernellanguage

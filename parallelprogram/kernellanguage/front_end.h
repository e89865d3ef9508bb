// The front end in one call: from the text of a kernel file to its tree, types and uniformity.
//
//   OSTRA_ASSIGN_OR_RETURN(AnalyzedKernel kernel, AnalyzeKernel({.fileName = "net.example.blur.krn", .text = text}));
//   if (!kernel.errors.empty()) ... MakeSourceMessages(kernel.sources, kernel.errors)    // tell the user, run nothing
//   else if (kernel.notUnderstood) ...                                                   // leave it to the C++
//   compiler else ... kernel.tree, kernel.resolved, kernel.uniformity
#pragma once

#include "ostra/core/result.h"
#include "parallelprogram/kernellanguage/group_plan.h"
#include "parallelprogram/kernellanguage/parse.h"
#include "parallelprogram/kernellanguage/resolve.h"
#include "parallelprogram/kernellanguage/struct_layout.h"
#include "parallelprogram/kernellanguage/uniformity.h"

namespace ostra::kernellanguage {

struct AnalyzedKernel {
  SourceMap sources;
  // Mistakes that no C++ compiler takes, either, in the order in which they were found.
  std::vector<Diagnostic> errors;
  // Code that C++ accepts and that is probably a mistake. Warnings do not stop a compilation.
  std::vector<Diagnostic> warnings;
  std::optional<NotUnderstood> notUnderstood;
  // Whole when there are no errors and everything is understood.
  SyntaxTree tree;
  ResolvedTree resolved;
  UniformityTable uniformity;
  GroupPlan groups;
  std::vector<StructLayout> structs;  // of buffers, each one behind those that it is made of

  Bool IsUnderstood() const { return errors.empty() && !notUnderstood; }
};

// Pure: the same text and headers give the same result. Thread-safe. Error: out of memory.
Result<AnalyzedKernel> AnalyzeKernel(const Source& source);

// Why no form of C++ is printed of an understood kernel: it is not of the plain form.
std::optional<NotUnderstood> FindUnprintable(const AnalyzedKernel& kernel);

}  // namespace ostra::kernellanguage

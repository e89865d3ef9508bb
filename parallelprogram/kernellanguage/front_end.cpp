#include "parallelprogram/kernellanguage/front_end.h"

#include "ostra/core/catch_out_of_memory.h"
#include "parallelprogram/kernellanguage/check.h"

OSTRA_UNIT("kernellanguage");

namespace ostra::kernellanguage {
namespace {

// The translation for GPUs reads structs in headers alone.
void NoteOwnStructs(AnalyzedKernel& kernel) {
  for (const NodeIndex declaration : kernel.resolved.structs) {
    const SourceOffset offset = kernel.sources.GetSpelling(kernel.tree.nodes[declaration].offset);
    if (kernel.sources.FindFile(offset) == 0) kernel.resolved.extensions.push_back(declaration);
  }
}

// Runs the passes one after the other; each stands on what those before it found.
void Analyze(const Source& source, AnalyzedKernel& kernel) {
  const TokenStream tokens = Preprocess(source, kernel.sources);
  kernel.errors = tokens.errors;
  kernel.notUnderstood = tokens.notUnderstood;
  if (!kernel.IsUnderstood()) return;
  ParsedFile parsed = Parse(tokens);
  kernel.errors = std::move(parsed.errors);
  kernel.notUnderstood = std::move(parsed.notUnderstood);
  kernel.tree = std::move(parsed.tree);
  if (!kernel.IsUnderstood()) return;
  Resolution resolution = Resolve(kernel.tree);
  kernel.errors = std::move(resolution.errors);
  kernel.notUnderstood = std::move(resolution.notUnderstood);
  kernel.resolved = std::move(resolution.resolved);
  if (!kernel.IsUnderstood()) return;
  NoteOwnStructs(kernel);
  if (tokens.isCpuOnly) kernel.resolved.extensions.push_back(kernel.tree.root);
  if (tokens.isRewritten && kernel.resolved.firstUnprintable == kNoNode)
    kernel.resolved.firstUnprintable = kernel.tree.root;
  CheckResult check = Check(kernel.tree, kernel.resolved);
  kernel.errors = std::move(check.errors);
  kernel.warnings = std::move(check.warnings);
  kernel.notUnderstood = std::move(check.notUnderstood);
  if (!kernel.IsUnderstood()) return;
  StructLayouts layouts = LayOutBufferStructs(kernel.tree, kernel.resolved);
  kernel.errors = std::move(layouts.errors);
  kernel.structs = std::move(layouts.structs);
  if (!kernel.IsUnderstood()) return;
  kernel.uniformity = AnalyzeUniformity(kernel.tree, kernel.resolved);
  kernel.groups = PlanGroups(kernel.tree, kernel.resolved);
  kernel.errors = std::move(kernel.groups.errors);
}

}  // namespace

Result<AnalyzedKernel> AnalyzeKernel(const Source& source) {
  return CatchOutOfMemory(kOstraUnit, __LINE__, [&]() -> Result<AnalyzedKernel> {
    AnalyzedKernel kernel;
    Analyze(source, kernel);
    return kernel;
  });
}

std::optional<NotUnderstood> FindUnprintable(const AnalyzedKernel& kernel) {
  const NodeIndex node = kernel.resolved.firstUnprintable;
  if (node == kNoNode) return std::nullopt;
  return NotUnderstood{kernel.tree.nodes[node].offset, "what is not of the plain form"};
}

}  // namespace ostra::kernellanguage

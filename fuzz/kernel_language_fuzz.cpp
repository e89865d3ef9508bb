// Any text through the front end of the kernel language: it ends with a tree, errors or a reason, all of which can be
// told. The first byte chooses the options.
#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "parallelprogram/kernellanguage/front_end.h"
#include "parallelprogram/kernellanguage/plain_form.h"
#include "parallelprogram/kernellanguage/print_tree.h"

namespace {

using namespace ostra::kernellanguage;

void Require(bool isTrue, const char* what) {
  if (isTrue) return;
  std::fprintf(stderr, "%s\n", what);
  std::abort();
}

// What is not of the plain form is told in full.
void CheckExtensions(const AnalyzedKernel& kernel) {
  const ResolvedTree& resolved = kernel.resolved;
  const auto& extensions = resolved.extensions;
  const NodeIndex first = resolved.firstUnprintable;
  Require(first == kNoNode || std::find(extensions.begin(), extensions.end(), first) != extensions.end(),
          "what is not printed is an extension");
  for (const NodeIndex node : extensions) Require(node < kernel.tree.nodes.size(), "extensions are nodes");
  for (NodeIndex node = 0; node < kernel.tree.nodes.size(); ++node) {
    const Meaning& meaning = resolved.meaning[node];
    const auto children = kernel.tree.GetChildren(node);
    if (meaning.kind == MeaningKind::kSwizzle) {
      const Type& operand = resolved.types[resolved.type[children[0]]];
      const ostra::UInt32 count = GetSwizzleCount(meaning.number);
      Require(count >= 2 && count == resolved.types[resolved.type[node]].count, "components of a swizzle");
      for (ostra::UInt32 i = 0; i < count; ++i)
        Require(GetSwizzleComponent(meaning.number, i) < operand.count, "a swizzle stays in its vector");
    }
    if (meaning.kind != MeaningKind::kFunction || !kernel.tree.Is(node, NodeKind::kCall)) continue;
    const auto parameters = kernel.tree.GetChildren(meaning.target);
    for (std::size_t i = children.size() + 1; i + 1 < parameters.size(); ++i)
      Require(kernel.tree.GetChild(parameters[i], 2) != kNoNode, "an argument or its default value");
  }
}

// Printers find the type of every expression. What group memory is filled with is read on GPUs only.
void CheckTypes(const AnalyzedKernel& kernel, NodeIndex node) {
  if (node == kNoNode) return;
  const NodeKind kind = kernel.tree.nodes[node].kind;
  const bool isApart = kind == NodeKind::kType || kind == NodeKind::kDimensions || kind == NodeKind::kMakeLocal ||
                       kind == NodeKind::kLocalData || kind == NodeKind::kGroupSize || kind == NodeKind::kTuning;
  if (isApart) return;
  if (IsExpression(kind)) {
    Require(kernel.resolved.type[node] != kUnknownType, "a type of every expression");
    Require(kernel.resolved.converted[node] != kUnknownType, "a type that every expression is wanted as");
  }
  for (const NodeIndex child : kernel.tree.GetChildren(node)) CheckTypes(kernel, child);
}

// What the tables promise to those who read them.
void CheckTables(const AnalyzedKernel& kernel) {
  const std::size_t count = kernel.tree.nodes.size();
  Require(kernel.resolved.type.size() == count, "types of all nodes");
  Require(kernel.uniformity.nodes.size() == count, "uniformity of all nodes");
  for (NodeIndex node = 0; node < count; ++node) {
    for (const NodeIndex child : kernel.tree.GetChildren(node))
      Require(child == kNoNode || child < node, "children come before their parents");
    Require(Explain(kernel.tree, kernel.resolved, kernel.uniformity, node).size() <= kMaxReasons, "reasons");
  }
  CheckExtensions(kernel);
  CheckTypes(kernel, kernel.tree.root);
  const PrintTables tables{.resolved = &kernel.resolved, .uniformity = &kernel.uniformity};
  Require(!PrintTree(kernel.tree, tables).empty(), "a tree prints");
}

// The plain form of what is understood says where it comes from, and is read without a mistake.
void CheckPlainForm(const AnalyzedKernel& kernel, const PlainOptions& options) {
  const PlainForm form = PrintPlainForm(kernel, options);
  if (form.refusal) return Require(!form.refusal->reason.empty() && form.text.empty(), "a reason instead of a text");
  Require(form.headerSize <= form.text.size(), "the header is a part of the text");
  ostra::UInt32 last = 0;
  for (const TextMark& mark : form.marks) {
    Require(mark.position >= last && mark.position <= form.text.size(), "marks in their order");
    Require(kernel.sources.Locate(mark.source).line > 0, "a mark has a place");
    last = mark.position;
  }
  if (options.isForGpu) return;
  const auto again = AnalyzeKernel({.fileName = "plain.krn", .text = form.text});
  Require(again.IsOk() && again->errors.empty(), "a plain form without mistakes");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
  Source source{.fileName = "k.krn", .text = text};
  if (data[0] & 1) source.templateArgument = "Vec4<Float32>";
  if (data[0] & 4) {
    // Headers with the rest of the text in them, which may include further ones.
    source.readHeader = [&text](const std::string& name, const std::string&) -> std::optional<Header> {
      const std::size_t place = text.find(name);
      return Header{name, place == std::string::npos ? text : text.substr(place + name.size())};
    };
  }
  const auto kernel = AnalyzeKernel(source);
  Require(kernel.IsOk(), "the front end never fails but for memory");
  Require(kernel->errors.size() <= kMaxErrors, "a limit of errors");
  for (const Diagnostic& error : kernel->errors)
    Require(kernel->sources.Locate(error.offset).line > 0, "an error has a place");
  Require(kernel->errors.empty() || !FormatDiagnostics(kernel->sources, kernel->errors).empty(), "errors print");
  if (kernel->notUnderstood) {
    Require(!kernel->notUnderstood->reason.empty(), "a reason");
    Require(!FormatNotUnderstood(kernel->sources, *kernel->notUnderstood).empty(), "a reason prints");
  }
  if (!kernel->IsUnderstood()) return 0;
  CheckTables(*kernel);
  for (const bool isForGpu : {false, true}) {
    CheckPlainForm(*kernel, {.isForGpu = isForGpu});
    CheckPlainForm(*kernel, {.isForGpu = isForGpu, .hasChecks = true});
    CheckPlainForm(*kernel, {.isForGpu = isForGpu, .hasReports = false, .isTraced = true});
  }
  return 0;
}

#include "kernel_text.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "parallelprogram/kernellanguage/join.h"
#include "parallelprogram/kernellanguage/print_tree.h"

namespace ostra::kernellanguage {

std::string MakeKernel(std::string_view body, std::string_view before) {
  return Join({"#define KERNELINPUTS \\\n(UInt32) n, \\\n(Float32) f, \\\n(Vector32) v, \\\n(SquareMatrix32) m, \\\n",
               "(const Block<Float32>) in, \\\n(Block<Float32>) out, \\\n(Block<UInt32>) counts, \\\n",
               "(const TextureSampler_2D_RGBA_F32_LINEAR) image, \\\n(AtomicUInt32*) hits\n\n", before,
               "OSTRA_PARALLEL_KERNEL(Test, KERNELINPUTS)\n{\n", body, "\n}\nOSTRA_PARALLEL_KERNEL_END\n"});
}

AnalyzedKernel AnalyzeText(const std::string& text) {
  auto kernel = AnalyzeKernel({.fileName = "k.krn", .text = text});
  EXPECT_TRUE(kernel.IsOk());
  return std::move(kernel).GetValue();
}

AnalyzedKernel AnalyzeBody(std::string_view body, std::string_view before) {
  return AnalyzeText(MakeKernel(body, before));
}

namespace {

std::string List(const AnalyzedKernel& kernel, int firstLine) {
  std::string list;
  for (const Diagnostic& error : kernel.errors) {
    const SourceLocation location = kernel.sources.Locate(error.offset);
    list += Join({list.empty() ? "" : "\n", std::to_string(location.line - firstLine + 1), ":",
                  std::to_string(location.column), ": ", error.text});
  }
  return list;
}

}  // namespace

std::string ListErrors(const AnalyzedKernel& kernel) { return List(kernel, 1); }

std::string FindErrors(std::string_view body, std::string_view before) {
  return List(AnalyzeBody(body, before), kBodyLine);
}

std::string FindReason(std::string_view body, std::string_view before) {
  const AnalyzedKernel kernel = AnalyzeBody(body, before);
  EXPECT_EQ(ListErrors(kernel), "");
  if (!kernel.notUnderstood) return "";
  const int line = kernel.sources.Locate(kernel.notUnderstood->offset).line;
  return Join({std::to_string(line - kBodyLine + 1), ": ", kernel.notUnderstood->reason});
}

std::string PrintResult(std::string_view body, std::string_view before) {
  const AnalyzedKernel kernel = AnalyzeBody(body, before);
  if (!kernel.errors.empty()) return "error: " + kernel.errors[0].text;
  if (kernel.notUnderstood) return "reason: " + kernel.notUnderstood->reason;
  const PrintTables tables{.resolved = &kernel.resolved};
  const std::string tree = PrintTree(kernel.tree, tables);
  std::size_t name = tree.find(" r = ");
  if (name == std::string::npos) name = tree.find(" r[");
  const std::size_t begin = tree.find(" = ", std::min(name, tree.size()));
  return begin == std::string::npos ? "no r" : tree.substr(begin + 3, tree.find('\n', begin) - begin - 3);
}

NodeIndex FindVariable(const AnalyzedKernel& kernel, std::string_view name) {
  for (NodeIndex node = 0; node < kernel.tree.nodes.size(); ++node) {
    const NodeKind kind = kernel.tree.nodes[node].kind;
    const Bool isDeclaration = kind == NodeKind::kVariable || kind == NodeKind::kFunctionParameter;
    if (isDeclaration && kernel.tree.GetName(node) == name) return node;
  }
  ADD_FAILURE() << "no variable " << name;
  return kNoNode;
}

NodeIndex FindNode(const AnalyzedKernel& kernel, NodeKind kind) {
  for (NodeIndex node = 0; node < kernel.tree.nodes.size(); ++node) {
    if (kernel.tree.nodes[node].kind == kind) return node;
  }
  ADD_FAILURE() << "no " << GetKindName(kind);
  return kNoNode;
}

}  // namespace ostra::kernellanguage

// The kernel files of the repository through the front end: every one of them is understood, or a reason is known.
#include <gtest/gtest.h>

#include <map>

#include "kernel_source_files.h"
#include "parallelprogram/kernellanguage/front_end.h"
#include "parallelprogram/kernellanguage/print_tree.h"

namespace ostra::kernellanguage {
namespace {

// What is left to the C++ compiler, and why.
const std::map<std::string, std::string>& GetReasons() {
  static const std::map<std::string, std::string> reasons = {
      {"net.ostra.test.structform.krn", "a kernel in the form of a method, which can fail"},
      {"net.example.fail.krn", "a kernel in the form of a method, which can fail"},
      {"net.ostra.test.words.krn", "this #include: the header is not one of the kernel's own"},
      {"define.krn", "the header \"define.h\" is not one of the kernel's own"},
      {"net.example.convolve.krn", "the type \"TYPE\" is not declared in the kernel's files"},
      {"struct.krn", "the type \"TYPE\" is not declared in the kernel's files"},
      {"net.example.rows.own.krn", "a part for the CPU only (CPU_SCOPE_START)"},
      {"net.example.rows.method.krn", "a kernel in the form of a method, which can fail"},
      {"net.example.rows.template.krn", "the type \"TYPE\" is not declared in the kernel's files"},
      {"net.example.rows.images.krn", "a texture type that kernels on the CPU do not have"},
      {"net.ostra.parity.paint_gpu.krn", "StoreImage, which the CPU does not have"},
  };
  return reasons;
}

TEST(KernelFilesTest, EveryKernelOfTheRepositoryIsUnderstoodOrHasAKnownReason) {
  const auto paths = FindKernelFiles();
  ASSERT_GT(paths.size(), 60u);
  std::map<std::string, std::string> reasons;
  for (const auto& path : paths) {
    const KernelSourceFile file(path);
    const auto kernel = AnalyzeKernel(file.source);
    ASSERT_TRUE(kernel.IsOk());
    EXPECT_EQ(FormatDiagnostics(kernel->sources, kernel->errors), "");
    if (kernel->notUnderstood) reasons[file.name] = kernel->notUnderstood->reason;
  }
  EXPECT_EQ(reasons, GetReasons());
}

// What stands in these files is read for GPUs as it stands.
TEST(KernelFilesTest, TheKernelLibraryIsOfThePlainForm) {
  Int count = 0;
  for (const auto& path : FindKernelFiles()) {
    if (path.parent_path().filename() != "kernels") continue;
    const KernelSourceFile file(path);
    // These are there to leave the plain form.
    if (file.name == "net.ostra.parity.language.krn" || file.name == "net.ostra.parity.members.krn" ||
        file.name == "net.ostra.parity.longs.krn" || file.name == "net.ostra.parity.shorts.krn" ||
        file.name == "net.ostra.parity.halves.krn")
      continue;
    const auto kernel = AnalyzeKernel(file.source);
    for (const NodeIndex node : kernel->resolved.extensions) {
      // A parameter of a type that C++ has and the translation for GPUs has from the plain form alone.
      if (file.name == "net.example.scale.krn" && kernel->tree.GetName(node) == "Vec2") continue;
      const SourceLocation location = kernel->sources.Locate(kernel->tree.nodes[node].offset);
      ADD_FAILURE() << file.name << ":" << location.line << ": " << GetKindName(kernel->tree.nodes[node].kind);
    }
    ++count;
  }
  EXPECT_GT(count, 20);
}

// Tables hold an entry for every expression: none is left without a type.
TEST(KernelFilesTest, EveryExpressionOfAnUnderstoodKernelHasAType) {
  for (const auto& path : FindKernelFiles()) {
    const KernelSourceFile file(path);
    const auto kernel = AnalyzeKernel(file.source);
    if (!kernel->IsUnderstood()) continue;
    const SyntaxTree& tree = kernel->tree;
    for (NodeIndex node = 0; node < tree.nodes.size(); ++node) {
      // Literals of directives and dimensions are no expressions of their own.
      if (!IsExpression(tree.nodes[node].kind) || tree.nodes[node].kind == NodeKind::kLiteral) continue;
      EXPECT_NE(kernel->resolved.type[node], kUnknownType) << file.name << ": " << PrintExpression(tree, node);
    }
  }
}

}  // namespace
}  // namespace ostra::kernellanguage

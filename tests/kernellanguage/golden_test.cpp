// The whole output of the passes for the kernels in golden/: NAME.krn gives NAME.tree, NAME.types and NAME.lanes. With
// OSTRA_WRITE_GOLDEN in the environment the files are written anew.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

#include "kernel_source_files.h"
#include "parallelprogram/kernellanguage/front_end.h"
#include "parallelprogram/kernellanguage/print_tree.h"

namespace ostra::kernellanguage {
namespace {

void ExpectGolden(std::filesystem::path path, const char* extension, const std::string& text) {
  path.replace_extension(extension);
  if (std::getenv("OSTRA_WRITE_GOLDEN")) std::ofstream(path, std::ios::binary) << text;
  EXPECT_EQ(ReadWholeFile(path), text) << path;
}

TEST(GoldenTest, TreesTypesAndUniformityAreThoseOfTheFiles) {
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(OSTRA_GOLDEN_FOLDER)) {
    if (entry.path().extension() != ".krn") continue;
    ++count;
    const KernelSourceFile file(entry.path());
    const auto kernel = AnalyzeKernel(file.source);
    ASSERT_TRUE(kernel.IsOk());
    ASSERT_TRUE(kernel->IsUnderstood()) << FormatDiagnostics(kernel->sources, kernel->errors);
    ExpectGolden(entry.path(), "tree", PrintTree(kernel->tree));
    ExpectGolden(entry.path(), "types", PrintTree(kernel->tree, {.resolved = &kernel->resolved}));
    ExpectGolden(entry.path(), "lanes", PrintTree(kernel->tree, {.uniformity = &kernel->uniformity}));
  }
  EXPECT_GE(count, 3);
}

TEST(GoldenTest, TheSameTextGivesTheSameResult) {
  for (const auto& path : FindKernelFiles()) {
    const KernelSourceFile file(path);
    const auto first = AnalyzeKernel(file.source), second = AnalyzeKernel(file.source);
    EXPECT_TRUE(first->tree.IsSame(second->tree));
    EXPECT_EQ(first->errors, second->errors);
    EXPECT_EQ(first->notUnderstood, second->notUnderstood);
    EXPECT_EQ(first->uniformity.nodes, second->uniformity.nodes);
  }
}

}  // namespace
}  // namespace ostra::kernellanguage

// The kernel files of the repository through the front end: every one of them is understood, or a reason is known.
#include <gtest/gtest.h>

#include <map>

#include "kernel_source_files.h"
#include "parallelprogram/kernellanguage/parser.h"

namespace ostra::kernellanguage {
namespace {

// What is left to the C++ compiler, and why.
const std::map<std::string, std::string>& GetReasons() {
  static const std::map<std::string, std::string> reasons = {
      {"net.ostra.test.structform.krn", "a kernel in the form of a method, which can fail"},
      {"net.example.fail.krn", "a kernel in the form of a method, which can fail"},
      {"net.ostra.test.words.krn", "this #include: the header is not one of the kernel's own"},
      {"define.krn", "the header \"define.h\" is not one of the kernel's own"},
      {"struct.krn", "the type \"TYPE\" is not declared in the kernel's files"},
  };
  return reasons;
}

TEST(KernelFilesTest, EveryKernelOfTheRepositoryIsParsedOrHasAKnownReason) {
  const auto paths = FindKernelFiles();
  ASSERT_GT(paths.size(), 60u);
  std::map<std::string, std::string> reasons;
  for (const auto& path : paths) {
    const KernelSourceFile file(path);
    SourceMap sources;
    const TokenStream tokens = Preprocess(file.source, sources);
    EXPECT_EQ(FormatDiagnostics(sources, tokens.errors), "");
    if (tokens.notUnderstood) {
      reasons[file.name] = tokens.notUnderstood->reason;
      continue;
    }
    const ParsedFile parsed = Parse(tokens);
    EXPECT_EQ(FormatDiagnostics(sources, parsed.errors), "");
    if (parsed.notUnderstood) reasons[file.name] = parsed.notUnderstood->reason;
  }
  EXPECT_EQ(reasons, GetReasons());
}

}  // namespace
}  // namespace ostra::kernellanguage

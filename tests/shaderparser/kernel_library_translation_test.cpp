// The kernels of the library through the parser, for every target.
#include <filesystem>
#include <fstream>
#include <iterator>

#include "tests/shaderparser/parser_fixture.h"
#include "tests/support/diagnostic_recorder.h"

namespace ostra::test {
namespace {

class KernelLibraryTranslationTest : public ParserTest {};

std::string ReadText(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

TEST_F(KernelLibraryTranslationTest, EveryKernelHasABodyAndEntriesAndNothingToComplainAbout) {
  const DiagnosticRecorder diagnostics;
  int kernels = 0;
  for (const auto& entry : std::filesystem::directory_iterator(OSTRA_KERNEL_FOLDER)) {
    if (entry.path().extension() != ".krn") continue;
    SCOPED_TRACE(entry.path().filename().string());
    ++kernels;
    const std::string source = ReadText(entry.path());
    for (const Id& target : {kTargetHlsl, kTargetGlsl, kTargetMetal}) {
      const ParserRef parser = MakeParser(target);
      ASSERT_THAT(parser->Init(*Url::Create(entry.path().string()), DataDictionary(), EndlessSource::Refuse), IsOk());
      const std::string code = ToText(parser->GetKernelCode());
      EXPECT_TRUE(code.starts_with("{\n") && code.ends_with("\n}")) << code;
      EXPECT_EQ(parser->GetKernelCodeOrigins().GetCount(), std::count(code.begin(), code.end(), '\n') + 1);
      EXPECT_GT(parser->GetInputEntries().GetCount(), 0);
      const bool hasGroupSize = source.find("\nGROUPSIZE(") != std::string::npos;
      EXPECT_EQ(parser->GetPieces().workGroupSize[0] == -1, !hasGroupSize);
      for (const char* word : {"CPU_", "Sqrt", "GetAtomicCounter", "LOCALDATA", "MAKELOCAL", "GROUPSHAREDMEM"})
        EXPECT_EQ(code.find(word), std::string::npos) << word;
    }
  }
  EXPECT_GT(kernels, 15);
  EXPECT_THAT(diagnostics.GetLines(), testing::IsEmpty());
}

// A line of the kernel comes from the line of the file that it is, where no rule has changed it.
TEST_F(KernelLibraryTranslationTest, LinesThatNoRuleChangesAreThoseOfTheirOrigins) {
  int same = 0, lines = 0;
  for (const auto& entry : std::filesystem::directory_iterator(OSTRA_KERNEL_FOLDER)) {
    if (entry.path().extension() != ".krn") continue;
    std::vector<std::string> source;
    std::ifstream file(entry.path());
    for (std::string line; std::getline(file, line);)
      source.push_back(line.substr(std::min(line.find_first_not_of(" \t"), line.size())));
    const ParserRef parser = MakeParser(kTargetGlsl);
    ASSERT_THAT(parser->Init(*Url::Create(entry.path().string()), DataDictionary()), IsOk());
    std::string_view code = parser->GetKernelCode();
    for (const ShaderTextOrigin& origin : parser->GetKernelCodeOrigins()) {
      ASSERT_EQ(origin.file, 0);
      ASSERT_LE(origin.line, static_cast<Int32>(source.size()));
      const std::size_t end = std::min(code.find('\n'), code.size());
      same += code.substr(0, end) == source[static_cast<std::size_t>(origin.line) - 1];
      ++lines;
      code.remove_prefix(std::min(end + 1, code.size()));
    }
  }
  EXPECT_GT(lines, 200);
  EXPECT_GT(same, lines * 9 / 10);
  EXPECT_LT(same, lines) << "the kernels use the words of rules";
}

}  // namespace
}  // namespace ostra::test

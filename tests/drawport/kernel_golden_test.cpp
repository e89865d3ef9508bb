// The kernel library and the stage files in every language: what is assembled, without the support code, is compared
// with files beside the kernels, and the whole compiles. With OSTRA_UPDATE_GOLDEN set in the environment the files are
// written instead; look at what changed before committing it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "parallelprogram/shaderassembly/assembly_records.h"
#include "tests/drawport/assembly_fixture.h"
#include "tests/support/result_matchers.h"

namespace ostra::test {
namespace {

namespace fs = std::filesystem;

std::vector<fs::path> FindKernels() {
  std::vector<fs::path> files;
  for (const fs::directory_entry& entry : fs::directory_iterator(OSTRA_KERNEL_FOLDER))
    if (entry.path().extension() == ".krn") files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  return files;
}

std::vector<fs::path> FindStages() {
  std::vector<fs::path> files;
  for (const fs::directory_entry& entry : fs::directory_iterator(fs::path(OSTRA_KERNEL_FOLDER) / "stages"))
    if (entry.is_regular_file() &&
        GetStageOfFile(Url::Create(entry.path().native()).GetValue()) != DrawportStage::Compute)
      files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  return files;
}

struct Language {
  const Id* id;
  const char* suffix;
};
constexpr Language kGoldenLanguages[] = {
    {&kShadingLanguageGlsl, "glsl"}, {&kShadingLanguageHlsl, "hlsl"}, {&kShadingLanguageMetal, "metal"}};

class KernelGoldenTest : public testing::TestWithParam<fs::path> {
 protected:
  static DrawportStage GetStage() { return GetStageOfFile(Url::Create(GetParam().native()).GetValue()); }
  // Metal divides patches in kernels of their own, not in stages.
  static Bool HasLanguage(const Id& language) {
    const Bool isTessellation =
        GetStage() == DrawportStage::TessellationControl || GetStage() == DrawportStage::TessellationEvaluation;
    return !isTessellation || !(language == kShadingLanguageMetal);
  }
  // Beside the file: a kernel's name without its suffix, a stage's whole.
  static fs::path GetGolden(const Language& language) {
    const fs::path name = GetStage() == DrawportStage::Compute ? GetParam().stem() : GetParam().filename();
    return GetParam().parent_path() / "golden" / (name.native() + "." + language.suffix);
  }
  static ShaderRecords MakeRecords(const Id& language) {
    const Url file = Url::Create(GetParam().native()).GetValue();
    const auto parser = ShaderParser::Create(language).GetValue();
    EXPECT_THAT(parser->Init(file, DataDictionary(), EndlessSource::Refuse), IsOk());
    auto records = MakeShaderRecords(*parser, GetStageOfFile(file));
    EXPECT_THAT(records, IsOk());
    return records ? std::move(*records) : ShaderRecords();
  }
};

TEST_P(KernelGoldenTest, IsTranslatedAsBefore) {
  for (const Language& language : kGoldenLanguages) {
    if (!HasLanguage(*language.id)) continue;
    const AssembledShader shader = AssembleShader(MakeRecords(*language.id)).GetValue();
    const std::vector<std::string> lines = GetLines(shader.text);
    std::string own;
    for (std::size_t i = static_cast<std::size_t>(shader.supportLineCount); i < lines.size(); ++i)
      own += lines[i] + "\n";
    const fs::path golden = GetGolden(language);
    if (std::getenv("OSTRA_UPDATE_GOLDEN")) {
      std::ofstream(golden, std::ios::binary) << own;
      continue;
    }
    std::ifstream file(golden, std::ios::binary);
    ASSERT_TRUE(file) << golden;
    EXPECT_EQ(own, std::string(std::istreambuf_iterator<char>(file), {})) << golden;
  }
}

TEST_P(KernelGoldenTest, CompilesForEveryLanguage) {
  for (const Language& language : kGoldenLanguages) {
    if (!HasLanguage(*language.id)) continue;
    ShaderRecords records = MakeRecords(*language.id);
    EXPECT_EQ(Compile(records), "") << language.suffix;
  }
}

TEST_P(KernelGoldenTest, EveryLineOfTheKernelKnowsItsFile) {
  const AssembledShader shader = AssembleShader(MakeRecords(kShadingLanguageGlsl)).GetValue();
  Int known = 0;
  for (const ShaderOrigin& origin : shader.lines) known += origin.line > 0;
  EXPECT_GT(known, 5);
}

std::string GetTestName(const testing::TestParamInfo<fs::path>& info) {
  std::string name = info.param.stem().native();
  name = name.substr(name.rfind('.') + 1);
  return name;
}

std::string GetStageTestName(const testing::TestParamInfo<fs::path>& info) {
  return GetTestName(info) + "_" + info.param.extension().native().substr(1);
}

INSTANTIATE_TEST_SUITE_P(Kernels, KernelGoldenTest, testing::ValuesIn(FindKernels()), GetTestName);
INSTANTIATE_TEST_SUITE_P(Stages, KernelGoldenTest, testing::ValuesIn(FindStages()), GetStageTestName);

}  // namespace
}  // namespace ostra::test

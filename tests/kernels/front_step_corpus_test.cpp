// The texts of the fuzz target's corpus, and texts cut and mixed from the kernels, never crash or hang the front step:
// it ends with a source or with a message that names a line.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

#include "parallelprogram/kernelfront/kernel_source.h"

namespace ostra::test {
namespace {

std::vector<std::string> ReadTexts() {
  std::vector<std::string> texts;
  for (const char* folder : {OSTRA_FUZZ_CORPUS, OSTRA_KERNEL_FOLDER, OSTRA_GOLDEN_FOLDER}) {
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      if (!entry.is_regular_file()) continue;
      std::ifstream file(entry.path(), std::ios::binary);
      texts.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    }
  }
  return texts;
}

void ExpectAnswer(const std::string& text) {
  const auto result = GenerateKernelSource({.fileName = "k.krn", .classId = "k", .templateArgument = "Float32"}, text);
  if (result) {
    const std::string_view source = result->GetView();
    const Bool hasClass = source.find("OSTRA_KERNEL_CLASS(") != std::string_view::npos;
    const Bool hasGroupClass = source.find("OSTRA_GROUP_KERNEL_CLASS(") != std::string_view::npos;
    EXPECT_NE(hasClass, hasGroupClass);
  } else {
    EXPECT_EQ(result.GetError().GetMessage().GetView().substr(0, 6), "k.krn:")
        << result.GetError().GetMessage().GetView();
  }
}

TEST(FrontStepCorpusTest, EveryTextGetsAnAnswer) {
  const auto texts = ReadTexts();
  ASSERT_GT(texts.size(), 20u);
  for (const std::string& text : texts) ExpectAnswer(text);
}

TEST(FrontStepCorpusTest, TextsThatEndAnywhereGetAnAnswer) {
  for (const std::string& text : ReadTexts())
    for (std::size_t size = 0; size < text.size(); size += 7) ExpectAnswer(text.substr(0, size));
}

TEST(FrontStepCorpusTest, TextsWithMissingAndDoubledPiecesGetAnAnswer) {
  std::mt19937 random(23);
  for (const std::string& text : ReadTexts()) {
    for (int i = 0; i < 100 && !text.empty(); ++i) {
      std::string changed = text;
      const std::size_t from = random() % changed.size(), count = random() % 20;
      if (i % 2)
        changed.erase(from, count);
      else
        changed.insert(random() % changed.size(), changed.substr(from, count));
      ExpectAnswer(changed);
    }
  }
}

}  // namespace
}  // namespace ostra::test

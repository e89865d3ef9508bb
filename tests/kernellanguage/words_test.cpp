// The table of words, against the page that describes them.
#include "parallelprogram/kernellanguage/words.h"

#include <gtest/gtest.h>

#include <set>

#include "kernel_source_files.h"
#include "kernel_text.h"
#include "ostra/core/text_characters.h"

namespace ostra::kernellanguage {
namespace {

// Words between backquotes in the first column of the page's tables.
std::set<std::string> ReadDocumentedWords() {
  const std::string page = ReadWholeFile(std::filesystem::path(OSTRA_SOURCE_FOLDER) / "docs/kernel-words.md");
  std::set<std::string> words;
  for (std::size_t line = page.find("\n| "); line != std::string::npos; line = page.find("\n| ", line + 1)) {
    const std::string cell = page.substr(line + 3, page.find(" |", line + 3) - line - 3);
    for (std::size_t open = cell.find('`'); open != std::string::npos;) {
      const std::size_t close = cell.find('`', open + 1);
      std::string word;
      for (std::size_t i = open + 1; i <= close; ++i) {
        if (IsWordCharacter(cell[i])) {
          word += cell[i];
          continue;
        }
        if (!word.empty() && IsWordStart(word[0])) words.insert(word);
        word.clear();
        if (cell[i] == '(' || cell[i] == '[') break;  // arguments
      }
      open = cell.find('`', close + 1);
    }
  }
  return words;
}

TEST(WordsTest, EveryDocumentedWordIsInTheTable) {
  // Parts of the page's sentences: names in examples, keywords of C++, defines of headers, other operations.
  const std::set<std::string> others = {"Name",        "KernelName",  "Result", "T", "BORDER", "REPEAT",
                                        "c",           "x",           "b",      "p", "a",      "depth",
                                        "noiseMode_i", "noiseSeed_i", "n",      "m", "v"};
  const std::set<std::string> words = ReadDocumentedWords();
  EXPECT_GT(words.size(), 100u);
  for (const std::string& word : words) {
    if (others.contains(word) || word.starts_with("PATCH_")) continue;
    EXPECT_NE(FindWord(word), nullptr) << word;
  }
}

TEST(WordsTest, EveryWordOfTheTableIsDocumented) {
  const std::set<std::string> documented = ReadDocumentedWords();
  for (const Word& word : GetWords()) EXPECT_TRUE(documented.contains(std::string(word.name))) << word.name;
}

TEST(WordsTest, WordsThatStandForMoreThanTheLanguageAreCppOfItsOwn) {
  for (const Word& word : GetWords()) {
    if (word.kind != WordKind::kReserved) continue;
    const AnalyzedKernel kernel = AnalyzeBody("\n" + std::string(word.name) + " x = 1u;");
    ASSERT_TRUE(kernel.notUnderstood) << word.name;
    EXPECT_EQ(kernel.notUnderstood->reason, "\"" + std::string(word.name) + "\" is C++ beyond the language of kernels");
  }
}

TEST(WordsTest, NoWordIsThereTwice) {
  std::set<std::string_view> names;
  for (const Word& word : GetWords()) EXPECT_TRUE(names.insert(word.name).second) << word.name;
}

TEST(WordsTest, EveryTypeWordOfOneTypeNamesIt) {
  for (const Word& word : GetWords()) {
    const bool isFamily = word.name.starts_with("Vec2") || word.name == "Vec3" || word.name == "Vec4" ||
                          word.name == "Block" || word.name == "BaseArray";
    if (word.kind != WordKind::kType || isFamily) continue;
    EXPECT_NE(FindTypeWord(word.name), kUnknownType) << word.name;
  }
}

TEST(WordsTest, OverloadsStandInTheOrderOfTheirForms) {
  const auto clamp = GetOverloads(WordId::kClamp);
  ASSERT_EQ(clamp.size(), 3u + 6u * 3u);
  EXPECT_EQ(clamp[0].result, kFloatType);
  EXPECT_EQ(clamp[3].result, GetVectorType(Scalar::kFloat32, 2));
  EXPECT_EQ(clamp[12].parameters[0], GetVectorType(Scalar::kFloat32, 2));
  EXPECT_EQ(clamp[12].parameters[1], kFloatType);
  ASSERT_EQ(GetOverloads(WordId::kMul).size(), 10u);
  EXPECT_EQ(GetOverloads(WordId::kMul)[2].parameters[1], kMatrix3Type);
  EXPECT_EQ(GetOverloads(WordId::kIsNan)[0].result, kBoolType);
}

TEST(WordsTest, SynonymsShareTheirOverloads) {
  EXPECT_EQ(FindWord("Sqrt")->id, WordId::kSqrt);
  EXPECT_EQ(FindWord("matoff")->id, WordId::kMatrixOffset);
  EXPECT_EQ(GetWord(WordId::kSqrt).name, "sqrt");
}

TEST(WordsTest, WhatForeignWordsAreAnsweredWithIsInTheTable) {
  const std::string source =
      ReadWholeFile(std::filesystem::path(OSTRA_SOURCE_FOLDER) / "parallelprogram/kernellanguage/foreign_words.cpp");
  constexpr std::string_view kBegin = "\"write ";
  std::size_t count = 0;
  for (std::size_t at = source.find(kBegin); at != std::string::npos; at = source.find(kBegin, at + 1)) {
    const std::size_t begin = at + kBegin.size();
    std::size_t end = begin;
    while (end < source.size() && IsWordCharacter(source[end])) ++end;
    const std::string word = source.substr(begin, end - begin);
    // "write the function without it", "write x / y", "write /".
    if (word.size() < 2 || word == "the") continue;
    EXPECT_TRUE(FindWord(word) || FindTypeWord(word) != kUnknownType) << word;
    ++count;
  }
  EXPECT_GT(count, 100u);
}

}  // namespace
}  // namespace ostra::kernellanguage

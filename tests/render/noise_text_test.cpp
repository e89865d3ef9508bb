// The texts of the noises keep to the words that every shading language shares.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Words = std::set<std::string>;

const Words kTypes = {"float", "int", "uint", "bool"};
const Words kShared = {"if", "for", "return", "true", "false", "floor", "abs", "min", "max"};
// Names that one shading language or another takes for itself.
const Words kTaken = {"point",    "line",   "triangle", "sample", "input",    "output",  "filter",   "common",
                      "active",   "flat",   "patch",    "half",   "fixed",    "texture", "linear",   "pass",
                      "distance", "length", "cross",    "dot",    "mix",      "step",    "fract",    "saturate",
                      "lerp",     "vector", "matrix",   "string", "shared",   "export",  "precise",  "in",
                      "out",      "inout",  "kernel",   "device", "thread",   "vertex",  "fragment", "resource",
                      "centroid", "smooth", "lowp",     "highp",  "partition"};

std::string ReadWithoutComments(const std::filesystem::path& file) {
  std::ifstream stream(file);
  std::ostringstream text;
  text << stream.rdbuf();
  return std::regex_replace(text.str(), std::regex("//[^\n]*"), "");
}

std::vector<std::filesystem::path> GetFiles() {
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(OSTRA_SOURCE_FOLDER "/ostra/render/noise"))
    files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  return files;
}

std::vector<std::string> FindAll(const std::string& text, const std::regex& pattern) {
  std::vector<std::string> found;
  for (std::sregex_iterator match(text.begin(), text.end(), pattern), end; match != end; ++match)
    found.push_back((*match)[(*match).size() - 1].str());
  return found;
}

// What a text declares: functions, parameters and locals.
Words FindDeclarations(const std::string& text) {
  const auto found = FindAll(text, std::regex("\\b(float|int|uint|bool) ([A-Za-z_]\\w*)"));
  return Words(found.begin(), found.end());
}

TEST(NoiseTextTest, EveryFileIsThere) { EXPECT_EQ(GetFiles().size(), 4 + 24); }

TEST(NoiseTextTest, OnlyDeclaredNamesAndSharedWordsAreUsed) {
  Words parts;
  for (const auto& file : GetFiles()) parts.merge(FindDeclarations(ReadWithoutComments(file)));
  for (const auto& file : GetFiles()) {
    for (const std::string& word : FindAll(ReadWithoutComments(file), std::regex("(?:^|[^\\w.])([A-Za-z_]\\w*)")))
      EXPECT_TRUE(kTypes.count(word) || kShared.count(word) || parts.count(word)) << word << " in " << file;
  }
}

TEST(NoiseTextTest, NoNameIsTakenByAShadingLanguage) {
  for (const auto& file : GetFiles())
    for (const std::string& name : FindDeclarations(ReadWithoutComments(file)))
      EXPECT_FALSE(kTaken.count(name)) << name << " in " << file;
}

TEST(NoiseTextTest, OnlyPlainCharactersAreUsed) {
  for (const auto& file : GetFiles()) {
    const std::string text = ReadWithoutComments(file);
    EXPECT_EQ(text.find_first_not_of(
                  "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_ \n(){};,.?:+-*/%<>=!&|^"),
              std::string::npos)
        << file;
    EXPECT_EQ(text.find("::"), std::string::npos) << file;
    EXPECT_EQ(text.find("->"), std::string::npos) << file;
  }
}

TEST(NoiseTextTest, EveryNumberNamesItsType) {
  for (const auto& file : GetFiles()) {
    const std::string text = ReadWithoutComments(file);
    EXPECT_TRUE(FindAll(text, std::regex("(\\d+\\.\\d*(?![\\df]))")).empty()) << "a double in " << file;
    EXPECT_TRUE(FindAll(text, std::regex("(0x[0-9A-F]+(?![0-9A-Fu]))")).empty()) << "a signed hexadecimal in " << file;
  }
}

// Division is not rounded correctly on every device; that of integers is exact.
TEST(NoiseTextTest, NothingIsDividedButIntegers) {
  for (const auto& file : GetFiles()) {
    for (const std::string& divisor : FindAll(ReadWithoutComments(file), std::regex("/ *([^ ;)]+)")))
      EXPECT_TRUE(std::regex_match(divisor, std::regex("\\d+"))) << divisor << " in " << file;
  }
}

}  // namespace

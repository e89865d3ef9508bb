// The walk over the instructions of SPIR-V, over words that are whole, cut off, or something else.
#include "ostra/shadercompiler/spirv_words.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace ostra::test {
namespace {

using namespace spirv;

std::vector<UInt32> MakeWords(const std::vector<UInt32>& instructions) {
  std::vector<UInt32> words = {kMagic, 0x00010500, 0, 100, 0};
  words.insert(words.end(), instructions.begin(), instructions.end());
  return words;
}

std::vector<UInt32> GetOpcodes(const std::vector<UInt32>& words) {
  std::vector<UInt32> opcodes;
  for (const auto& instruction : SpirvInstructions(std::span(words))) opcodes.push_back(instruction.GetOpcode());
  return opcodes;
}

TEST(SpirvWordsTest, InstructionsComeInTheirOrderWithTheirPlaceAndWords) {
  std::vector<UInt32> words =
      MakeWords({MakeFirstWord(kOpCapability, 2), 1, MakeFirstWord(kOpDecorate, 4), 7, kDecorationBinding, 3});
  const SpirvInstructions instructions{std::span(words)};
  EXPECT_TRUE(instructions.AreWhole());
  auto at = instructions.begin();
  EXPECT_TRUE((*at).Is(kOpCapability, 2));
  EXPECT_EQ((*at).place, 5u);
  ++at;
  EXPECT_TRUE((*at).Is(kOpDecorate, 4));
  EXPECT_FALSE((*at).Is(kOpDecorate, 5));
  EXPECT_FALSE((*at).Is(kOpMemberDecorate, 4));
  EXPECT_EQ((*at).words[3], 3u);
  (*at).words[3] = 9;
  EXPECT_EQ(words.back(), 9u);
  ++at;
  EXPECT_TRUE(at == instructions.end());
}

TEST(SpirvWordsTest, WordsThatAreNoSpirvHaveNoInstructions) {
  for (const std::vector<UInt32>& words :
       {std::vector<UInt32>(), std::vector<UInt32>{kMagic, 0, 0, 0}, std::vector<UInt32>{1, 2, 3, 4, 5, 6, 7}}) {
    EXPECT_TRUE(GetOpcodes(words).empty());
    EXPECT_FALSE(SpirvInstructions(std::span(words)).AreWhole());
  }
}

TEST(SpirvWordsTest, AnInstructionThatIsCutOffOrEmptyEndsTheWalk) {
  for (const UInt32 last : {MakeFirstWord(kOpDecorate, 3), MakeFirstWord(kOpDecorate, 0), ~UInt32{0}}) {
    const std::vector<UInt32> words = MakeWords({MakeFirstWord(kOpCapability, 2), 1, last, 7});
    EXPECT_EQ(GetOpcodes(words), std::vector<UInt32>{kOpCapability});
    EXPECT_FALSE(SpirvInstructions(std::span(words)).AreWhole());
  }
}

TEST(SpirvWordsTest, InstructionsOfRandomWordsLieBesideEachOtherAndWithinThem) {
  std::mt19937 random(1);
  for (int round = 0; round < 2000; ++round) {
    std::vector<UInt32> words = MakeWords({});
    for (UInt32 count = random() % 40; count > 0; --count) words.push_back((random() % 4) << 16 | random() % 200);
    std::size_t end = kHeaderSize;
    for (const auto& instruction : SpirvInstructions(std::span(words))) {
      ASSERT_EQ(instruction.place, end);
      ASSERT_FALSE(instruction.words.empty());
      end += instruction.words.size();
    }
    ASSERT_LE(end, words.size());
    EXPECT_EQ(SpirvInstructions(std::span(words)).AreWhole(), end == words.size());
  }
}

}  // namespace
}  // namespace ostra::test

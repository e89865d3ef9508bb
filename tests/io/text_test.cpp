#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "ostra/io/file.h"

namespace ostra {
namespace {

Result<String> Decode(std::string_view text) {
  return DecodeText({reinterpret_cast<const Byte*>(text.data()), static_cast<Int>(text.size())});
}

std::string Encode(UInt32 character) {
  const auto tail = [character](int shift) { return static_cast<char>(0x80 | ((character >> shift) & 0x3F)); };
  if (character < 0x80) return {static_cast<char>(character)};
  if (character < 0x800) return {static_cast<char>(0xC0 | (character >> 6)), tail(0)};
  if (character < 0x10000) return {static_cast<char>(0xE0 | (character >> 12)), tail(6), tail(0)};
  return {static_cast<char>(0xF0 | (character >> 18)), tail(12), tail(6), tail(0)};
}

TEST(TextTest, CarriageReturnsStay) { EXPECT_EQ(Decode("a\r\nb\rc\n").GetValue(), "a\r\nb\rc\n"); }

TEST(TextTest, AnEmptyFileIsAnEmptyText) { EXPECT_EQ(DecodeText({}).GetValue(), ""); }

TEST(TextTest, OnlyAByteOrderMarkAtTheStartGoes) {
  EXPECT_EQ(Decode("\xEF\xBB\xBFkernel").GetValue(), "kernel");
  EXPECT_EQ(Decode("k\xEF\xBB\xBF").GetValue(), "k\xEF\xBB\xBF");
}

TEST(TextTest, EveryCharacterIsAcceptedAndEverySurrogateRefused) {
  for (UInt32 character = 0; character <= 0x110FFF; character += character < 0x11000 ? 1 : 61) {
    std::string text = Encode(character);
    text.insert(0, 1, 'x').push_back('y');
    const auto decoded = Decode(text);
    const Bool isCharacter = character <= 0x10FFFF && (character < 0xD800 || character > 0xDFFF);
    ASSERT_EQ(decoded.IsOk(), isCharacter) << character;
    if (isCharacter) {
      ASSERT_EQ(decoded->GetView(), text);
    }
  }
}

TEST(TextTest, CutAndOverlongCharactersAreRefusedWithTheirPosition) {
  for (const std::string character : {"\xC3\xA4", "\xE2\x82\xAC", "\xF0\x9F\x98\x80"})
    for (std::size_t size = 1; size < character.size(); ++size) {
      EXPECT_FALSE(Decode(character.substr(0, size)).IsOk());
      EXPECT_FALSE(Decode(character.substr(0, size) + "abc").IsOk());
      EXPECT_FALSE(Decode(character.substr(size)).IsOk());
    }
  for (const char* text : {"\xC0\x80", "\xC1\xBF", "\xE0\x80\x80", "\xF0\x80\x80\x80", "\xFF"})
    EXPECT_FALSE(Decode(text).IsOk());
  EXPECT_EQ(Decode("abc\xFF").GetError().GetMessage(), "The text is not UTF-8: byte 3 has the value 255.");
  for (std::size_t position = 0; position < 40; ++position) {
    EXPECT_EQ(Decode(std::string(position, 'x') + "\xFFyyyyyyyyyyyyyyyyyy").GetError().GetMessage().GetView(),
              "The text is not UTF-8: byte " + std::to_string(position) + " has the value 255.");
  }
}

}  // namespace
}  // namespace ostra

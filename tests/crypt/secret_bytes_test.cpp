#include "ostra/crypt/secret_bytes.h"

#include <set>

#include "tests/support/bytes.h"
#include "tests/support/result_matchers.h"

namespace ostra {
namespace {

TEST(SecretBytesTest, RandomBytesFillExactlyTheBlock) {
  std::string bytes(40, '\0');
  ASSERT_THAT(FillWithRandomBytes({reinterpret_cast<Byte*>(bytes.data()) + 4, 32}), IsOk());
  EXPECT_EQ(bytes.substr(0, 4), std::string(4, '\0'));
  EXPECT_EQ(bytes.substr(36), std::string(4, '\0'));
  EXPECT_NE(bytes.substr(4, 32), std::string(32, '\0'));
  EXPECT_THAT(FillWithRandomBytes({}), IsOk());
}

TEST(SecretBytesTest, RandomBytesNeverRepeat) {
  std::set<std::string> values;
  for (int i = 0; i < 1000; ++i) {
    std::string bytes(16, '\0');
    ASSERT_THAT(FillWithRandomBytes(WritableBytesOf(bytes)), IsOk());
    values.insert(bytes);
  }
  EXPECT_EQ(values.size(), 1000u);
}

TEST(SecretBytesTest, ComparingSeesEveryBit) {
  const std::string bytes = MakeRandomBytes(32, 7);
  EXPECT_TRUE(AreEqualInConstantTime(BytesOf(bytes), BytesOf(std::string(bytes))));
  for (std::size_t bit = 0; bit < 8 * bytes.size(); ++bit) {
    std::string other = bytes;
    other[bit / 8] = static_cast<char>(other[bit / 8] ^ (1 << bit % 8));
    EXPECT_FALSE(AreEqualInConstantTime(BytesOf(bytes), BytesOf(other))) << bit;
  }
}

TEST(SecretBytesTest, BytesOfDifferentCountsDiffer) {
  const std::string bytes(32, 'x');
  EXPECT_FALSE(AreEqualInConstantTime(BytesOf(bytes), BytesOf(bytes.substr(1))));
  EXPECT_FALSE(AreEqualInConstantTime({}, BytesOf(bytes)));
  EXPECT_TRUE(AreEqualInConstantTime({}, {}));
}

TEST(SecretBytesTest, WipedBytesAreZero) {
  std::string bytes(20, 'x');
  WipeBytes({reinterpret_cast<Byte*>(bytes.data()) + 2, 16});
  EXPECT_EQ(bytes, "xx" + std::string(16, '\0') + "xx");
  WipeBytes({});
}

}  // namespace
}  // namespace ostra

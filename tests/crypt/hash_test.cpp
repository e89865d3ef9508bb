// SHA-256 and HMAC: published test vectors, and libcrypto's own functions on random bytes.
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/sha.h>

#include "tests/crypt/conversions.h"

namespace ostra {
namespace {

struct HashVector {
  std::string message;
  const char* value;
};

// FIPS 180-4, the examples of NIST for SHA-256.
std::vector<HashVector> GetSha256Vectors() {
  return {
      {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
      {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
      {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
       "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
      {"abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmnhijklmnoijklmnopjklmnopqklmnopqrlmnopqrsmnopqrst"
       "nopqrstu",
       "cf5b16a778af8380036ce59e7b0492370b249b11e8f07a51afac45037afee9d1"},
      {std::string(1000000, 'a'), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"},
  };
}

struct HmacVector {
  std::string key;
  std::string message;
  const char* value;  // its start
};

// RFC 4231, section 4.
std::vector<HmacVector> GetHmacVectors() {
  return {
      {std::string(20, '\x0b'), "Hi There", "b0344c61d8db38535ca8afceaf0bf12b881dc200c9833da726e9376c2e32cff7"},
      {"Jefe", "what do ya want for nothing?", "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843"},
      {std::string(20, '\xaa'), std::string(50, '\xdd'),
       "773ea91e36800e46854db8ebd09181a72959098b3ef8c122d9635514ced565fe"},
      {FromHex("0102030405060708090a0b0c0d0e0f10111213141516171819"), std::string(50, '\xcd'),
       "82558a389a443c0ea4cc819899f2083a85f0faa3e578f8077a2e3ff46729665b"},
      {std::string(20, '\x0c'), "Test With Truncation", "a3b6167473100ee06e0c796c2955552b"},
      {std::string(131, '\xaa'), "Test Using Larger Than Block-Size Key - Hash Key First",
       "60e431591ee0b67f0d8a26aacbf5b77f8e0bc6213728c5140546040f0ee37f54"},
      {std::string(131, '\xaa'),
       "This is a test using a larger than block-size key and a larger than block-size data. The key needs to be "
       "hashed before being used by the HMAC algorithm.",
       "9b09ffa71b942fcb27635fbcd5b0e944bfdc63644f0713938a7f51535c3a35e2"},
  };
}

std::string ComputeSha256Directly(const std::string& message) {
  std::string value(32, '\0');
  SHA256(reinterpret_cast<const unsigned char*>(message.data()), message.size(),
         reinterpret_cast<unsigned char*>(value.data()));
  return value;
}

std::string ComputeHmacDirectly(const std::string& key, const std::string& message) {
  std::string value(32, '\0');
  HMAC(EVP_sha256(), key.data(), static_cast<int>(key.size()), reinterpret_cast<const unsigned char*>(message.data()),
       message.size(), reinterpret_cast<unsigned char*>(value.data()), nullptr);
  return value;
}

// Feeds pieces of random sizes, empty ones included.
std::string ComputeHashInPieces(const Id& id, const DataDictionary& settings, const std::string& message,
                                unsigned seed) {
  const auto conversion = CreateStreamConversion(id, settings);
  EXPECT_THAT(conversion, IsOk());
  if (!conversion) return "";
  std::mt19937 random(seed);
  for (std::size_t done = 0; done < message.size();) {
    const std::string_view piece = std::string_view(message).substr(done, random() % 300);
    EXPECT_THAT((*conversion)->Convert(BytesOf(piece), {}), IsOk());
    done += piece.size();
  }
  std::string value(32, '?');
  EXPECT_THAT((*conversion)->Finish(WritableBytesOf(value)), IsOk());
  return value;
}

TEST(HashTest, Sha256GivesThePublishedValues) {
  for (const HashVector& vector : GetSha256Vectors())
    EXPECT_EQ(ToHex(ComputeHash(kHashSha256, {}, vector.message)), vector.value) << vector.message.substr(0, 50);
}

TEST(HashTest, HmacGivesThePublishedValues) {
  for (const HmacVector& vector : GetHmacVectors()) {
    const std::string value = ToHex(ComputeHash(kHashHmac, MakeHmacSettings(vector.key), vector.message));
    EXPECT_EQ(value.substr(0, std::string(vector.value).size()), vector.value) << vector.message.substr(0, 50);
  }
}

TEST(HashTest, Sha256IsThatOfTheLibraryHoweverTheBytesArrive) {
  for (unsigned seed = 0; seed < 60; ++seed) {
    const std::string message = MakeRandomBytes(seed < 30 ? seed * 5 : seed * 61, seed);
    const std::string expected = ComputeSha256Directly(message);
    ASSERT_EQ(ToHex(ComputeHash(kHashSha256, {}, message)), ToHex(expected)) << message.size();
    ASSERT_EQ(ToHex(ComputeHashInPieces(kHashSha256, {}, message, seed)), ToHex(expected)) << message.size();
  }
}

TEST(HashTest, HmacIsThatOfTheLibraryForKeysAndMessagesOfAnyLength) {
  for (unsigned seed = 0; seed < 60; ++seed) {
    const std::string key = MakeRandomBytes(1 + seed * 3, seed + 100);
    const std::string message = MakeRandomBytes(seed * 37, seed);
    const std::string expected = ComputeHmacDirectly(key, message);
    ASSERT_EQ(ToHex(ComputeHash(kHashHmac, MakeHmacSettings(key), message)), ToHex(expected)) << key.size();
    ASSERT_EQ(ToHex(ComputeHashInPieces(kHashHmac, MakeHmacSettings(key), message, seed)), ToHex(expected));
  }
}

TEST(HashTest, HmacTakesAnEmptyKey) {
  // HMAC pads keys with zeros, so that the empty key and a zero byte are the same.
  const std::string expected = ComputeHmacDirectly(std::string(1, '\0'), "message");
  EXPECT_EQ(ToHex(ComputeHash(kHashHmac, MakeHmacSettings(""), "message")), ToHex(expected));
}

TEST(HashTest, AStreamOfSeveralPiecesIsFedWhole) {
  const std::string message = MakeRandomBytes(3 * static_cast<std::size_t>(kStreamPieceSize) + 17, 5);
  const auto conversion = CreateStreamConversion(kHashSha256);
  ASSERT_THAT(conversion, IsOk());
  ASSERT_THAT(ConvertStream(**conversion, BytesOf(message), {}), IsOk());
  std::string value(32, '?');
  ASSERT_THAT((*conversion)->Finish(WritableBytesOf(value)), IsOk());
  EXPECT_EQ(ToHex(value), ToHex(ComputeSha256Directly(message)));
}

TEST(HashTest, HashesTakeAnyNumberOfBytesAndGive32) {
  for (const Id& id : {kHashSha256, kHashHmac}) {
    const auto conversion = CreateStreamConversion(id, MakeHmacSettings("key"));
    ASSERT_THAT(conversion, IsOk());
    EXPECT_EQ((*conversion)->GetBlockSize(), 1);
    EXPECT_EQ((*conversion)->GetResultSize(), kSha256Size);
  }
}

TEST(HashTest, HmacNeedsItsSettings) {
  EXPECT_THAT(CreateStreamConversion(kHashHmac),
              IsErrorContaining(kIllegalArgumentError, "net.ostra.streamconversion.hmac.basealgorithm"));
  DataDictionary settings;
  ASSERT_THAT(settings.Set(kHmacBaseAlgorithm, Id(kHashSha256)), IsOk());
  EXPECT_THAT(CreateStreamConversion(kHashHmac, settings),
              IsErrorContaining(kIllegalArgumentError, "net.ostra.streamconversion.hmac.key"));
  ASSERT_THAT(settings.Set(kHmacKey, Int32(5)), IsOk());
  EXPECT_THAT(CreateStreamConversion(kHashHmac, settings), IsErrorOfKind(kIllegalArgumentError));
}

TEST(HashTest, HmacRefusesABaseThatIsNotThereOrNoHash) {
  EXPECT_THAT(CreateStreamConversion(kHashHmac, MakeHmacSettings("key", "net.ostra.streamconversion.hashmd5"_id)),
              IsErrorWith(kIllegalArgumentError, "Factory is nullptr."));
  EXPECT_THAT(CreateStreamConversion(kHashHmac, MakeHmacSettings("key", kAesDecoder)),
              IsErrorWith(kIllegalArgumentError,
                          "\"net.ostra.streamconversion.aes.decoder\" is no hash that an HMAC can be made of."));
}

}  // namespace
}  // namespace ostra

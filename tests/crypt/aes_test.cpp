// AES both ways: published test vectors, and libcrypto's own functions on random bytes.
#include <openssl/evp.h>

#include "tests/crypt/conversions.h"

namespace ostra {
namespace {

struct CipherVector {
  const char* key;
  const char* initialVector;
  const char* plainText;
  const char* cipherText;
};

constexpr const char* kCountedVector = "000102030405060708090a0b0c0d0e0f";
constexpr const char* kFourBlocks =
    "6bc1bee22e409f96e93d7e117393172aae2d8a571e03ac9c9eb76fac45af8e51"
    "30c81c46a35ce411e5fbc1191a0a52eff69f2445df4f9b17ad2b417be66c3710";

constexpr CipherVector kVectors[] = {
    // FIPS 197, appendix C: one block, where an initial vector of zeros changes nothing.
    {"000102030405060708090a0b0c0d0e0f", "00000000000000000000000000000000", "00112233445566778899aabbccddeeff",
     "69c4e0d86a7b0430d8cdb78070b4c55a"},
    {"000102030405060708090a0b0c0d0e0f1011121314151617", "00000000000000000000000000000000",
     "00112233445566778899aabbccddeeff", "dda97ca4864cdfe06eaf70a0ec0d7191"},
    {"000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f", "00000000000000000000000000000000",
     "00112233445566778899aabbccddeeff", "8ea2b7ca516745bfeafc49904b496089"},
    // NIST SP 800-38A, appendix F.2.
    {"2b7e151628aed2a6abf7158809cf4f3c", kCountedVector, kFourBlocks,
     "7649abac8119b246cee98e9b12e9197d5086cb9b507219ee95db113a917678b2"
     "73bed6b8e3c1743b7116e69e222295163ff1caa1681fac09120eca307586e1a7"},
    {"8e73b0f7da0e6452c810f32b809079e562f8ead2522c6b7b", kCountedVector, kFourBlocks,
     "4f021db243bc633d7178183a9fa071e8b4d9ada9ad7dedf4e5e738763f69145a"
     "571b242012fb7ae07fa9baac3df102e008b0e27988598881d920a9e64f5615cd"},
    {"603deb1015ca71be2b73aef0857d77811f352c073b6108d72d9810a30914dff4", kCountedVector, kFourBlocks,
     "f58c4c04d6e5f1ba779eabfb5f7bfbd69cfc4e967edb808d679f777bc6702c7d"
     "39f23369a9d9bacfa530e26304231461b2eb05e2c39be9fcda6c19078c6a9d1b"},
};

std::string EncodeDirectly(const std::string& key, const std::string& initialVector, const std::string& text) {
  std::string result(text.size(), '\0');
  EVP_CIPHER_CTX* context = EVP_CIPHER_CTX_new();
  EVP_EncryptInit_ex(context, EVP_aes_128_cbc(), nullptr, reinterpret_cast<const unsigned char*>(key.data()),
                     reinterpret_cast<const unsigned char*>(initialVector.data()));
  EVP_CIPHER_CTX_set_padding(context, 0);
  int size = 0;
  EVP_EncryptUpdate(context, reinterpret_cast<unsigned char*>(result.data()), &size,
                    reinterpret_cast<const unsigned char*>(text.data()), static_cast<int>(text.size()));
  EVP_CIPHER_CTX_free(context);
  return result;
}

TEST(AesTest, BothWaysGiveThePublishedTexts) {
  for (const CipherVector& vector : kVectors) {
    const DataDictionary settings = MakeAesSettings(FromHex(vector.key), FromHex(vector.initialVector));
    EXPECT_EQ(ToHex(ConvertText(kAesEncoder, settings, FromHex(vector.plainText))), vector.cipherText) << vector.key;
    EXPECT_EQ(ToHex(ConvertText(kAesDecoder, settings, FromHex(vector.cipherText))), vector.plainText) << vector.key;
  }
}

TEST(AesTest, RandomTextsAreThoseOfTheLibraryAndComeBack) {
  for (unsigned seed = 0; seed < 60; ++seed) {
    const std::string key = MakeRandomBytes(16, seed), initialVector = MakeRandomBytes(16, seed + 1000);
    const std::string text = MakeRandomBytes(16 * seed, seed + 2000);
    const DataDictionary settings = MakeAesSettings(key, initialVector);
    const std::string encoded = ConvertText(kAesEncoder, settings, text);
    ASSERT_EQ(ToHex(encoded), ToHex(EncodeDirectly(key, initialVector, text))) << seed;
    ASSERT_EQ(ConvertText(kAesDecoder, settings, encoded), text) << seed;
  }
}

TEST(AesTest, TheChainGoesOnFromPieceToPiece) {
  const std::string key = MakeRandomBytes(16, 1), initialVector = MakeRandomBytes(16, 2);
  const std::string text = MakeRandomBytes(3 * static_cast<std::size_t>(kStreamPieceSize) + 32, 3);
  const DataDictionary settings = MakeAesSettings(key, initialVector);
  // ConvertText feeds pieces of kStreamPieceSize.
  const std::string encoded = ConvertText(kAesEncoder, settings, text);
  EXPECT_TRUE(encoded == EncodeDirectly(key, initialVector, text));
  EXPECT_TRUE(ConvertText(kAesDecoder, settings, encoded) == text);
}

TEST(AesTest, TheTargetMayBeOtherMemory) {
  const DataDictionary settings = MakeAesSettings(std::string(16, 'k'), std::string(16, 'v'));
  const std::string text = MakeRandomBytes(100000 / 16 * 16, 4);
  for (const Id& id : {kAesEncoder, kAesDecoder}) {
    const auto conversion = CreateStreamConversion(id, settings);
    ASSERT_THAT(conversion, IsOk());
    std::string target(text.size() + 5, '.');
    ASSERT_THAT(ConvertStream(**conversion, BytesOf(text), WritableBytesOf(target)), IsOk());
    EXPECT_TRUE(target == ConvertText(id, settings, text) + ".....");
  }
}

TEST(AesTest, NoPaddingIsAddedOrRemoved) {
  const DataDictionary settings = MakeAesSettings(std::string(16, 'k'), std::string(16, 'v'));
  const std::string text(15, 'a');
  const std::string padded = text + '\x01';
  const std::string encoded = ConvertText(kAesEncoder, settings, padded);
  EXPECT_EQ(encoded.size(), 16u);
  EXPECT_EQ(ConvertText(kAesDecoder, settings, encoded), padded);
  EXPECT_EQ(ConvertText(kAesDecoder, settings, ""), "");
}

TEST(AesTest, SourcesThatAreNoWholeBlocksAreRefused) {
  const DataDictionary settings = MakeAesSettings(std::string(16, 'k'), std::string(16, 'v'));
  for (const Id& id : {kAesEncoder, kAesDecoder}) {
    const auto conversion = CreateStreamConversion(id, settings);
    ASSERT_THAT(conversion, IsOk());
    EXPECT_EQ((*conversion)->GetBlockSize(), 16);
    EXPECT_EQ((*conversion)->GetResultSize(), 0);
    std::string text(65536 + 5, 'x');
    const std::string before = text;
    EXPECT_THAT((*conversion)->Convert({BytesOf(text).GetFirst(), 17}, WritableBytesOf(text)),
                IsErrorWith(kIllegalArgumentError, "source size 17 must be a multiple of 16."));
    // The whole stream counts, and nothing of it is converted.
    EXPECT_THAT(ConvertStream(**conversion, BytesOf(text), WritableBytesOf(text)),
                IsErrorWith(kIllegalArgumentError, "source size 65541 must be a multiple of 16."));
    EXPECT_EQ(text, before);
  }
}

TEST(AesTest, ATargetThatIsTooSmallIsRefused) {
  const DataDictionary settings = MakeAesSettings(std::string(16, 'k'), std::string(16, 'v'));
  const std::string text(32, 'x');
  std::string target(31, '.');
  const auto conversion = CreateStreamConversion(kAesEncoder, settings);
  ASSERT_THAT(conversion, IsOk());
  EXPECT_THAT((*conversion)->Convert(BytesOf(text), WritableBytesOf(target)),
              IsErrorWith(kIllegalArgumentError, "The target of a stream conversion is too small."));
  EXPECT_THAT((*conversion)->Convert(BytesOf(text), {}), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_EQ(target, std::string(31, '.'));
  EXPECT_THAT(ConvertStream(**conversion, BytesOf(std::string(kStreamPieceSize + 16, 'x')), WritableBytesOf(target)),
              IsErrorOfKind(kIllegalArgumentError));
}

TEST(AesTest, KeysThatDoNotFitAreRefused) {
  EXPECT_THAT(CreateStreamConversion(kAesDecoder),
              IsErrorContaining(kIllegalArgumentError, "net.ostra.streamconversion.aes.key"));
  for (const std::size_t size : {1u, 15u, 17u, 33u, 64u})
    EXPECT_THAT(CreateStreamConversion(kAesDecoder, MakeAesSettings(std::string(size, 'k'), std::string(16, 'v'))),
                IsErrorContaining(kIllegalArgumentError, "A key of AES has 16, 24 or 32 bytes"));
  EXPECT_THAT(CreateStreamConversion(kAesEncoder, MakeAesSettings(std::string(16, 'k'), std::string(8, 'v'), 64)),
              IsErrorWith(kIllegalArgumentError, "The blocks of AES have 128 bits, not 64."));
  DataDictionary settings;
  ASSERT_THAT(settings.Set(kAesKey, CryptoKeyRef()), IsOk());
  EXPECT_THAT(
      CreateStreamConversion(kAesDecoder, settings),
      IsErrorWith(kIllegalArgumentError, "The setting \"net.ostra.streamconversion.aes.key\" refers to no key."));
}

}  // namespace
}  // namespace ostra

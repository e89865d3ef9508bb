#include "tests/crypt/conversions.h"

#include "ostra/object/class.h"
#include "tests/support/fault_injection.h"

namespace ostra {
namespace {

std::string TextOf(Block<const Byte> bytes) {
  return std::string(bytes.GetFirst(), bytes.GetFirst() + bytes.GetCount());
}

CryptoKeyRef MakeEmptyKey() {
  const auto registry = ClassRegistry::Find(kStreamConversionRegistry);
  return (*registry->FindEntryValue(kCryptoKey))->CreateObject<CryptoKeyInterface>().GetValue();
}

TEST(CryptoKeyTest, AKeyKeepsCopiesOfItsBytes) {
  std::string bytes = "sixteen bytes ..", initialVector = "0123456789abcdef";
  const auto key = CreateCryptoKey(BytesOf(bytes), BytesOf(initialVector), 128);
  ASSERT_THAT(key, IsOk());
  bytes.assign(16, 'x');
  initialVector.assign(16, 'x');
  EXPECT_EQ(TextOf((*key)->GetKey()), "sixteen bytes ..");
  EXPECT_EQ(TextOf((*key)->GetInitialVector()), "0123456789abcdef");
  EXPECT_EQ((*key)->GetBlockSize(), 128);
}

TEST(CryptoKeyTest, AKeyWithoutInitIsEmpty) {
  const CryptoKeyRef key = MakeEmptyKey();
  EXPECT_TRUE(key->GetKey().IsEmpty());
  EXPECT_TRUE(key->GetInitialVector().IsEmpty());
  EXPECT_EQ(key->GetBlockSize(), 0);
}

TEST(CryptoKeyTest, AKeyIsInitializedOnce) {
  const CryptoKeyRef key = MakeEmptyKey();
  const std::string bytes(16, 'k');
  ASSERT_THAT(key->Init(BytesOf(bytes), BytesOf(bytes), 128), IsOk());
  EXPECT_THAT(key->Init(BytesOf(bytes), BytesOf(bytes), 128),
              IsErrorWith(kIllegalStateError, "The key was initialized already."));
}

TEST(CryptoKeyTest, SizesThatCannotBeAreRefused) {
  const std::string bytes(65, 'k');
  const auto create = [&bytes](Int keySize, Int vectorSize, Int blockSize) {
    return CreateCryptoKey({BytesOf(bytes).GetFirst(), keySize}, {BytesOf(bytes).GetFirst(), vectorSize}, blockSize);
  };
  EXPECT_THAT(create(0, 16, 128), IsErrorWith(kIllegalArgumentError, "A key has 1 to 64 bytes, not 0."));
  EXPECT_THAT(create(65, 16, 128), IsErrorWith(kIllegalArgumentError, "A key has 1 to 64 bytes, not 65."));
  EXPECT_THAT(create(64, 16, 128), IsOk());
  EXPECT_THAT(create(16, 15, 128),
              IsErrorWith(kIllegalArgumentError, "An initial vector of 15 bytes does not fit blocks of 128 bits."));
  for (const Int blockSize : {0, -128, 1, 127, 129})
    EXPECT_THAT(create(16, 16, blockSize), IsErrorOfKind(kIllegalArgumentError)) << blockSize;
}

TEST(CryptoKeyTest, AKeyTravelsInSettings) {
  const DataDictionary settings = MakeAesSettings(std::string(16, 'k'), std::string(16, 'v'));
  const auto key = settings.Get<CryptoKeyRef>(kAesKey);
  ASSERT_THAT(key, IsOk());
  EXPECT_EQ(TextOf((*key)->GetKey()), std::string(16, 'k'));
}

TEST(CryptoKeyTest, EveryAllocationMayFail) {
  const std::string bytes(16, 'k');
  EXPECT_GE(ExpectEveryAllocationFailureIsReported([&bytes]() -> Result<void> {
              OSTRA_ASSIGN_OR_RETURN(const CryptoKeyRef key, CreateCryptoKey(BytesOf(bytes), BytesOf(bytes), 128));
              return OK;
            }),
            3);
}

}  // namespace
}  // namespace ostra

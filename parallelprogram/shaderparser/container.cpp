#include "parallelprogram/shaderparser/container.h"

#include <algorithm>
#include <string_view>

#include "ostra/core/format.h"
#include "ostra/crypt/crypto_key.h"
#include "ostra/crypt/secret_bytes.h"
#include "ostra/crypt/stream_conversion.h"

OSTRA_UNIT("shaderparser");

namespace ostra {
namespace {

constexpr Int kKeySize = 16;          // half of a hash value
constexpr Int kCipherBlockSize = 16;  // bytes
constexpr Int kBitsPerByte = 8;

Block<const Byte> GetRange(Block<const Byte> bytes, Int start, Int end) {
  return {bytes.GetFirst() + start, end - start};
}

// What the passphrase and a salt give.
class ContainerKey {
 public:
  static Result<ContainerKey> Create(Block<const Byte> salt) {
    ContainerKey key;
    OSTRA_ASSIGN_OR_RETURN(const StreamConversionRef hash, CreateStreamConversion(kHashSha256));
    const Block<const Byte> passphrase(reinterpret_cast<const Byte*>(kContainerPassphrase.data()),
                                       static_cast<Int>(kContainerPassphrase.size()));
    OSTRA_RETURN_IF_ERROR(ConvertStream(*hash, passphrase, {}));
    OSTRA_RETURN_IF_ERROR(ConvertStream(*hash, salt, {}));
    OSTRA_RETURN_IF_ERROR(hash->Finish({key._bytes, kSha256Size}));
    return key;
  }

  // The tag of `bytes`, kSha256Size long.
  Result<void> ComputeTag(Block<const Byte> bytes, Block<Byte> tag) const {
    BaseArray<Byte> keyBytes;
    OSTRA_RETURN_IF_ERROR(keyBytes.Resize(kKeySize));
    MemCopy(keyBytes.GetFirst(), _bytes, kKeySize);
    OSTRA_ASSIGN_OR_RETURN(const Array<Generic> keyArray, NewBaseArray(GenericBaseArray(std::move(keyBytes))));
    DataDictionary settings;
    OSTRA_RETURN_IF_ERROR(settings.Set(kHmacBaseAlgorithm, Id(kHashSha256)));
    OSTRA_RETURN_IF_ERROR(settings.Set(kHmacKey, Array<Byte>(keyArray.GetReference())));
    OSTRA_ASSIGN_OR_RETURN(const StreamConversionRef hmac, CreateStreamConversion(kHashHmac, settings));
    OSTRA_RETURN_IF_ERROR(ConvertStream(*hmac, bytes, {}));
    return hmac->Finish(tag);
  }

  // The AES decoder or encoder.
  Result<StreamConversionRef> MakeCipher(const Id& conversion) const {
    OSTRA_ASSIGN_OR_RETURN(const CryptoKeyRef key,
                           CreateCryptoKey({_bytes, kKeySize}, {_bytes + kKeySize, kSha256Size - kKeySize},
                                           kCipherBlockSize * kBitsPerByte));
    DataDictionary settings;
    OSTRA_RETURN_IF_ERROR(settings.Set(kAesKey, key));
    return CreateStreamConversion(conversion, settings);
  }

 private:
  Byte _bytes[kSha256Size] = {};
};

// A container that is cut inside of its head has no tag that could fit.
Result<void> CheckTag(const ContainerKey& key, Block<const Byte> bytes) {
  Byte tag[kSha256Size];
  OSTRA_RETURN_IF_ERROR(key.ComputeTag(GetRange(bytes, kContainerSaltStart, bytes.GetCount()), {tag, kSha256Size}));
  if (!AreEqualInConstantTime(GetRange(bytes, kContainerTagStart, kContainerSaltStart), {tag, kSha256Size}))
    return OSTRA_ILLEGAL_ARGUMENT("hmac different");
  return OK;
}

// Deciphers in place, and moves each piece to the front while it is still in the processor's cache.
Result<void> DecipherToFront(StreamConversionInterface& decoder, BaseArray<Byte>& bytes) {
  const Int size = bytes.GetCount() - kContainerTextStart;
  OSTRA_RETURN_IF_ERROR(CheckSourceSize(decoder, size));
  for (Int done = 0; done < size; done += kStreamPieceSize) {
    const Int count = std::min(kStreamPieceSize, size - done);
    Byte* piece = bytes.GetFirst() + kContainerTextStart + done;
    OSTRA_RETURN_IF_ERROR(decoder.Convert({piece, count}, {piece, count}));
    MemMove(bytes.GetFirst() + done, piece, count);
  }
  return bytes.Resize(size);
}

// The last byte says how many to take off; they are not compared. From 128 on it counts as more than there can be.
Result<void> RemovePadding(BaseArray<Byte>& bytes) {
  if (bytes.IsEmpty()) return OSTRA_ILLEGAL_ARGUMENT("The container holds no text.");
  const Int count = static_cast<Int8>(bytes.GetLast());
  return bytes.Resize(count < 0 ? count : bytes.GetCount() - count);
}

Result<void> FillContainer(const ContainerKey& key, Block<const Byte> text, Block<const Byte> salt,
                           BaseArray<Byte>& bytes) {
  const Int padding = kCipherBlockSize - text.GetCount() % kCipherBlockSize;
  OSTRA_RETURN_IF_ERROR(bytes.Resize(kContainerTextStart + text.GetCount() + padding));
  Byte* first = bytes.GetFirst();
  MemCopy(first, kContainerMark.data(), kContainerTagStart);
  MemCopy(first + kContainerSaltStart, salt.GetFirst(), kContainerSaltSize);
  Byte* cipherText = first + kContainerTextStart;
  if (!text.IsEmpty()) MemCopy(cipherText, text.GetFirst(), text.GetCount());
  std::fill_n(cipherText + text.GetCount(), padding, static_cast<Byte>(padding));
  OSTRA_ASSIGN_OR_RETURN(const StreamConversionRef encoder, key.MakeCipher(kAesEncoder));
  const Int size = text.GetCount() + padding;
  OSTRA_RETURN_IF_ERROR(ConvertStream(*encoder, {cipherText, size}, {cipherText, size}));
  return key.ComputeTag(GetRange({first, bytes.GetCount()}, kContainerSaltStart, bytes.GetCount()),
                        {first + kContainerTagStart, kSha256Size});
}

}  // namespace

Bool IsContainer(Block<const Byte> bytes) {
  return bytes.GetCount() >= kContainerTagStart &&
         std::equal(kContainerMark.begin(), kContainerMark.end(), bytes.GetFirst(),
                    [](char a, Byte b) { return static_cast<Byte>(a) == b; });
}

Result<void> DecodeContainer(BaseArray<Byte>& bytes) {
  if (!IsContainer(bytes.GetBlock())) return OK;
  if (bytes.GetCount() < kContainerTextStart) return OSTRA_ILLEGAL_ARGUMENT("hmac different");
  OSTRA_ASSIGN_OR_RETURN(const ContainerKey key,
                         ContainerKey::Create(GetRange(bytes.GetBlock(), kContainerSaltStart, kContainerTextStart)));
  OSTRA_RETURN_IF_ERROR(CheckTag(key, bytes.GetBlock()));
  OSTRA_ASSIGN_OR_RETURN(const StreamConversionRef decoder, key.MakeCipher(kAesDecoder));
  OSTRA_RETURN_IF_ERROR(DecipherToFront(*decoder, bytes));
  return RemovePadding(bytes);
}

Result<BaseArray<Byte>> EncodeContainer(Block<const Byte> text) {
  Byte salt[kContainerSaltSize];
  OSTRA_RETURN_IF_ERROR(FillWithRandomBytes({salt, kContainerSaltSize}));
  return EncodeContainer(text, {salt, kContainerSaltSize});
}

Result<BaseArray<Byte>> EncodeContainer(Block<const Byte> text, Block<const Byte> salt) {
  if (salt.GetCount() != kContainerSaltSize)
    return OSTRA_ILLEGAL_ARGUMENT("The salt of a container has @ bytes, not @.", kContainerSaltSize, salt.GetCount());
  OSTRA_ASSIGN_OR_RETURN(const ContainerKey key, ContainerKey::Create(salt));
  BaseArray<Byte> bytes;
  OSTRA_RETURN_IF_ERROR(FillContainer(key, text, salt, bytes));
  return bytes;
}

}  // namespace ostra

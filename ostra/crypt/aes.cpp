// AES in CBC mode, both ways.
#include <openssl/evp.h>

#include <algorithm>
#include <climits>

#include "ostra/crypt/conversion_base.h"
#include "ostra/crypt/crypto_key.h"

OSTRA_UNIT("aes");

namespace ostra {
namespace {

constexpr Int kAesBlockSize = 16;  // bytes
constexpr Int kBitsPerByte = 8;

// Null when there is no AES with such a key.
const EVP_CIPHER* FindCipher(Int keySize) {
  switch (keySize) {
    case 16:
      return EVP_aes_128_cbc();
    case 24:
      return EVP_aes_192_cbc();
    case 32:
      return EVP_aes_256_cbc();
    default:
      return nullptr;
  }
}

template <Bool ENCODES>
class Aes final : public StreamConversionBase<Aes<ENCODES>> {
 public:
  static constexpr const char* kComponentName = ENCODES ? "AesEncoder" : "AesDecoder";
  static constexpr Int BLOCK_SIZE = kAesBlockSize;
  static constexpr Int RESULT_SIZE = 0;
  static constexpr Bool WRITES_AT_ONCE = true;

  Result<void> Start(const DataDictionary& settings) {
    OSTRA_ASSIGN_OR_RETURN(const CryptoKeyRef& key, settings.Get<CryptoKeyRef>(kAesKey));
    if (!key) return OSTRA_ILLEGAL_ARGUMENT("The setting \"@\" refers to no key.", kAesKey);
    const EVP_CIPHER* cipher = FindCipher(key->GetKey().GetCount());
    if (!cipher) return OSTRA_ILLEGAL_ARGUMENT("A key of AES has 16, 24 or 32 bytes, not @.", key->GetKey().GetCount());
    if (key->GetBlockSize() != kAesBlockSize * kBitsPerByte)
      return OSTRA_ILLEGAL_ARGUMENT("The blocks of AES have @ bits, not @.", kAesBlockSize * kBitsPerByte,
                                    key->GetBlockSize());
    _context.reset(EVP_CIPHER_CTX_new());
    if (!_context || EVP_CipherInit_ex(_context.get(), cipher, nullptr, key->GetKey().GetFirst(),
                                       key->GetInitialVector().GetFirst(), ENCODES ? 1 : 0) != 1)
      return OSTRA_OUT_OF_MEMORY();
    EVP_CIPHER_CTX_set_padding(_context.get(), 0);
    return OK;
  }

  Result<void> Process(Block<const Byte> source, Block<Byte> target) {
    constexpr Int kMaxAtOnce = INT_MAX / kAesBlockSize * kAesBlockSize;
    for (Int done = 0; done < source.GetCount();) {
      const Int count = std::min(source.GetCount() - done, kMaxAtOnce);
      int written = 0;
      if (EVP_CipherUpdate(_context.get(), target.GetFirst() + done, &written, source.GetFirst() + done,
                           static_cast<int>(count)) != 1 ||
          written != count)
        return OSTRA_ILLEGAL_ARGUMENT("The cipher refuses the memory it is given.");
      done += count;
    }
    return OK;
  }

  // Whole blocks are written as they come.
  Result<void> End(Block<Byte>) { return OK; }

 private:
  CryptPointer<EVP_CIPHER_CTX, EVP_CIPHER_CTX_free> _context;
};

}  // namespace

Result<ClassRef> MakeAesDecoderClass() { return Class::Create<Aes<false>>(kAesDecoder); }
Result<ClassRef> MakeAesEncoderClass() { return Class::Create<Aes<true>>(kAesEncoder); }

}  // namespace ostra

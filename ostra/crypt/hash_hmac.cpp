#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/params.h>

#include "ostra/crypt/conversion_base.h"

OSTRA_UNIT("hashhmac");

namespace ostra {
namespace {

class HashHmac final : public StreamConversionBase<HashHmac> {
 public:
  static constexpr const char* kComponentName = "HashHmac";
  static constexpr Int BLOCK_SIZE = 1;
  static constexpr Int RESULT_SIZE = kSha256Size;
  static constexpr Bool WRITES_AT_ONCE = false;

  Result<void> Start(const DataDictionary& settings) {
    OSTRA_ASSIGN_OR_RETURN(const Id& baseAlgorithm, settings.Get<Id>(kHmacBaseAlgorithm));
    OSTRA_RETURN_IF_ERROR(FindConversionClass(baseAlgorithm));
    if (baseAlgorithm != kHashSha256)
      return OSTRA_ILLEGAL_ARGUMENT("\"@\" is no hash that an HMAC can be made of.", baseAlgorithm);
    OSTRA_ASSIGN_OR_RETURN(const Array<Byte>& key, settings.Get<Array<Byte>>(kHmacKey));
    return SetKey(key.GetFirstBlock<const Byte>());
  }

  Result<void> Process(Block<const Byte> source, Block<Byte>) {
    if (EVP_MAC_update(_context.get(), source.GetFirst(), static_cast<std::size_t>(source.GetCount())) == 1) return OK;
    return OSTRA_ILLEGAL_STATE("The hash cannot be computed.");
  }

  Result<void> End(Block<Byte> target) {
    std::size_t size = 0;
    if (EVP_MAC_final(_context.get(), target.GetFirst(), &size, static_cast<std::size_t>(target.GetCount())) == 1)
      return OK;
    return OSTRA_ILLEGAL_STATE("The hash cannot be computed.");
  }

 private:
  Result<void> SetKey(Block<const Byte> key) {
    const CryptPointer<EVP_MAC, EVP_MAC_free> algorithm(EVP_MAC_fetch(nullptr, OSSL_MAC_NAME_HMAC, nullptr));
    if (!algorithm) return OSTRA_OUT_OF_MEMORY();
    _context.reset(EVP_MAC_CTX_new(algorithm.get()));
    if (!_context) return OSTRA_OUT_OF_MEMORY();
    char digest[] = "SHA256";
    const OSSL_PARAM parameters[] = {OSSL_PARAM_construct_utf8_string(OSSL_MAC_PARAM_DIGEST, digest, 0),
                                     OSSL_PARAM_construct_end()};
    // A null key would mean that the key of a former use stays.
    static constexpr Byte kNoBytes[1] = {};
    const Byte* first = key.IsEmpty() ? kNoBytes : key.GetFirst();
    if (EVP_MAC_init(_context.get(), first, static_cast<std::size_t>(key.GetCount()), parameters) != 1)
      return OSTRA_OUT_OF_MEMORY();
    return OK;
  }

  CryptPointer<EVP_MAC_CTX, EVP_MAC_CTX_free> _context;
};

}  // namespace

Result<ClassRef> MakeHashHmacClass() { return Class::Create<HashHmac>(kHashHmac); }

}  // namespace ostra

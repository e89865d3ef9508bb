#include <openssl/evp.h>

#include "ostra/crypt/conversion_base.h"

OSTRA_UNIT("hashsha256");

namespace ostra {
namespace {

class HashSha256 final : public StreamConversionBase<HashSha256> {
 public:
  static constexpr const char* kComponentName = "HashSha256";
  static constexpr Int BLOCK_SIZE = 1;
  static constexpr Int RESULT_SIZE = kSha256Size;
  static constexpr Bool WRITES_AT_ONCE = false;

  Result<void> Start(const DataDictionary&) {
    _context.reset(EVP_MD_CTX_new());
    if (!_context || EVP_DigestInit_ex(_context.get(), EVP_sha256(), nullptr) != 1) return OSTRA_OUT_OF_MEMORY();
    return OK;
  }

  Result<void> Process(Block<const Byte> source, Block<Byte>) {
    if (EVP_DigestUpdate(_context.get(), source.GetFirst(), static_cast<std::size_t>(source.GetCount())) == 1)
      return OK;
    return OSTRA_ILLEGAL_STATE("The hash cannot be computed.");
  }

  Result<void> End(Block<Byte> target) {
    if (EVP_DigestFinal_ex(_context.get(), target.GetFirst(), nullptr) == 1) return OK;
    return OSTRA_ILLEGAL_STATE("The hash cannot be computed.");
  }

 private:
  CryptPointer<EVP_MD_CTX, EVP_MD_CTX_free> _context;
};

}  // namespace

Result<ClassRef> MakeHashSha256Class() { return Class::Create<HashSha256>(kHashSha256); }

}  // namespace ostra

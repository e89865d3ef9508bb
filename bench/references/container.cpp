#include "bench/references/container.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/sha.h>

#include <string>

#include "parallelprogram/shaderparser/container.h"

namespace bench {

using namespace ostra;

bool DecodeWithLibcrypto(unsigned char* container, std::size_t size) {
  const std::string material =
      std::string(kContainerPassphrase) +
      std::string(reinterpret_cast<const char*>(container) + kContainerSaltStart, kContainerSaltSize);
  unsigned char key[32], tag[32];
  SHA256(reinterpret_cast<const unsigned char*>(material.data()), material.size(), key);
  HMAC(EVP_sha256(), key, 16, container + kContainerSaltStart, size - kContainerSaltStart, tag, nullptr);
  if (CRYPTO_memcmp(tag, container + kContainerTagStart, sizeof(tag)) != 0) return false;
  EVP_CIPHER_CTX* context = EVP_CIPHER_CTX_new();
  int done = 0;
  const bool isOk = EVP_DecryptInit_ex(context, EVP_aes_128_cbc(), nullptr, key, key + 16) == 1 &&
                    EVP_CIPHER_CTX_set_padding(context, 0) == 1 &&
                    EVP_DecryptUpdate(context, container + kContainerTextStart, &done, container + kContainerTextStart,
                                      static_cast<int>(size - kContainerTextStart)) == 1;
  EVP_CIPHER_CTX_free(context);
  return isOk;
}

}  // namespace bench

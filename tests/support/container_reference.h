// Encoded containers made with libcrypto's own functions, straight from the description of the format: what the
// module's code is compared with, and containers that it would never make but must withstand.
//
//   MakeContainer("text", salt)                     // as ostra encode makes it
//   SealContainer(salt, cipherText)                 // any bytes under a tag that fits
#pragma once

#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/sha.h>

#include <string>
#include <string_view>

#include "parallelprogram/shaderparser/container.h"

namespace ostra::reference {

inline const unsigned char* Raw(std::string_view text) { return reinterpret_cast<const unsigned char*>(text.data()); }
inline unsigned char* Raw(std::string& text) { return reinterpret_cast<unsigned char*>(text.data()); }

inline std::string DeriveKey(std::string_view salt) {
  const std::string material = std::string(kContainerPassphrase) + std::string(salt);
  std::string key(32, '\0');
  SHA256(Raw(material), material.size(), Raw(key));
  return key;
}

// Whole blocks, both ways.
inline std::string Cipher(std::string_view salt, std::string_view text, bool encodes) {
  const std::string key = DeriveKey(salt);
  std::string result(text.size(), '\0');
  EVP_CIPHER_CTX* context = EVP_CIPHER_CTX_new();
  EVP_CipherInit_ex(context, EVP_aes_128_cbc(), nullptr, Raw(key), Raw(key) + 16, encodes ? 1 : 0);
  EVP_CIPHER_CTX_set_padding(context, 0);
  int size = 0;
  EVP_CipherUpdate(context, Raw(result), &size, Raw(text), static_cast<int>(text.size()));
  EVP_CIPHER_CTX_free(context);
  return result;
}

inline std::string SealContainer(std::string_view salt, std::string_view cipherText) {
  const std::string key = DeriveKey(salt);
  const std::string sealed = std::string(salt) + std::string(cipherText);
  std::string tag(32, '\0');
  HMAC(EVP_sha256(), key.data(), 16, Raw(sealed), sealed.size(), Raw(tag), nullptr);
  return "encoded" + tag + sealed;
}

// `paddedText` is whole blocks.
inline std::string MakePaddedContainer(std::string_view salt, std::string_view paddedText) {
  return SealContainer(salt, Cipher(salt, paddedText, true));
}

inline std::string MakeContainer(std::string_view salt, std::string_view text) {
  const std::size_t padding = 16 - text.size() % 16;
  return MakePaddedContainer(salt, std::string(text) + std::string(padding, static_cast<char>(padding)));
}

}  // namespace ostra::reference

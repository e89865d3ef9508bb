// Conversions as tests use them.
#pragma once

#include <string>

#include "ostra/crypt/crypto_key.h"
#include "ostra/crypt/stream_conversion.h"
#include "tests/support/bytes.h"
#include "tests/support/result_matchers.h"

namespace ostra {

inline Array<Byte> MakeByteArray(std::string_view bytes) {
  const auto array = NewBaseArray(GenericBaseArray(ArrayOf(bytes)));
  return array ? Array<Byte>(array->GetReference()) : Array<Byte>();
}

inline DataDictionary MakeHmacSettings(std::string_view key, const Id& baseAlgorithm = kHashSha256) {
  DataDictionary settings;
  EXPECT_THAT(settings.Set(kHmacBaseAlgorithm, Id(baseAlgorithm)), IsOk());
  EXPECT_THAT(settings.Set(kHmacKey, MakeByteArray(key)), IsOk());
  return settings;
}

inline DataDictionary MakeAesSettings(std::string_view key, std::string_view initialVector, Int blockSize = 128) {
  DataDictionary settings;
  auto cryptoKey = CreateCryptoKey(BytesOf(key), BytesOf(initialVector), blockSize);
  EXPECT_THAT(cryptoKey, IsOk());
  if (!cryptoKey) return settings;
  EXPECT_THAT(settings.Set(kAesKey, CryptoKeyRef(*cryptoKey)), IsOk());
  return settings;
}

// The hash value of `bytes`, fed at once.
inline std::string ComputeHash(const Id& id, const DataDictionary& settings, std::string_view bytes) {
  const auto conversion = CreateStreamConversion(id, settings);
  EXPECT_THAT(conversion, IsOk());
  if (!conversion) return "";
  std::string value(static_cast<std::size_t>((*conversion)->GetResultSize()), '?');
  EXPECT_THAT((*conversion)->Convert(BytesOf(bytes), {}), IsOk());
  EXPECT_THAT((*conversion)->Finish(WritableBytesOf(value)), IsOk());
  return value;
}

// What a cipher makes of `bytes`, in place.
inline std::string ConvertText(const Id& id, const DataDictionary& settings, std::string bytes) {
  const auto conversion = CreateStreamConversion(id, settings);
  EXPECT_THAT(conversion, IsOk());
  if (!conversion) return "";
  EXPECT_THAT(ConvertStream(**conversion, BytesOf(bytes), WritableBytesOf(bytes)), IsOk());
  EXPECT_THAT((*conversion)->Finish({}), IsOk());
  return bytes;
}

}  // namespace ostra

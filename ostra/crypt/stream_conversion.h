// Stream conversions: bytes go in piece by piece, other bytes or a hash value come out. Every kind is a class of its
// own in the registry net.ostra.registry.streamconversions.
//
//   DataDictionary settings;
//   OSTRA_RETURN_IF_ERROR(settings.Set(kHmacBaseAlgorithm, Id(kHashSha256)));
//   OSTRA_RETURN_IF_ERROR(settings.Set(kHmacKey, key));                            // Array<Byte>
//   OSTRA_ASSIGN_OR_RETURN(StreamConversionRef hmac, CreateStreamConversion(kHashHmac, settings));
//   OSTRA_RETURN_IF_ERROR(ConvertStream(*hmac, bytes, {}));
//   Byte tag[32];
//   OSTRA_RETURN_IF_ERROR(hmac->Finish({tag, 32}));
//
// One object converts one stream and is used by one thread; different objects are independent. Blocks of bytes are
// tightly packed.
#pragma once

#include "ostra/core/data_dictionary.h"
#include "ostra/object/interface.h"

namespace ostra {

inline constexpr Id kStreamConversionRegistry = "net.ostra.registry.streamconversions"_id;

// SHA-256 as of FIPS 180-4. No settings.
inline constexpr Id kHashSha256 = "net.ostra.streamconversion.hashsha256"_id;
// HMAC as of RFC 2104.
inline constexpr Id kHashHmac = "net.ostra.streamconversion.hashhmac"_id;
// Setting: the hash under it, an Id; kHashSha256 is the one there is.
inline constexpr Id kHmacBaseAlgorithm = "net.ostra.streamconversion.hmac.basealgorithm"_id;
// Setting: the key, an Array<Byte> of any length.
inline constexpr Id kHmacKey = "net.ostra.streamconversion.hmac.key"_id;
// Makes keys; see crypto_key.h.
inline constexpr Id kCryptoKey = "net.ostra.streamconversion.cryptokey"_id;
// AES as of FIPS 197 in CBC mode with the key's initial vector. Whole blocks of 16 bytes; padding is neither added nor
// removed.
inline constexpr Id kAesDecoder = "net.ostra.streamconversion.aes.decoder"_id;
inline constexpr Id kAesEncoder = "net.ostra.streamconversion.aes.encoder"_id;
// Setting of both: the key, a CryptoKeyRef.
inline constexpr Id kAesKey = "net.ostra.streamconversion.aes.key"_id;

// Streams are fed in pieces of this many bytes, the last one shorter.
inline constexpr Int kStreamPieceSize = 65536;
// Bytes of a SHA-256 value, and of an HMAC over SHA-256.
inline constexpr Int kSha256Size = 32;

class StreamConversionInterface : public ObjectInterface {
 public:
  static constexpr Id kInterfaceId = "net.ostra.interface.streamconversion"_id;

  // Called once, first. Errors: illegal argument for a setting that is missing or wrong; illegal state for a second
  // call; out of memory.
  virtual Result<void> Init(const DataDictionary& settings) = 0;

  // Bytes come in multiples of this; 1 when any number will do.
  virtual Int GetBlockSize() const = 0;
  // Bytes that Finish writes: the hash value's; 0 for ciphers, which have written everything by then.
  virtual Int GetResultSize() const = 0;

  // Converts the next bytes of the stream. Ciphers write as many bytes to `target`, which is the memory of `source` or
  // does not overlap it; hashes write nothing and take an empty target. Errors: illegal argument "source size @ must
  // be a multiple of @." or for a target that is too small, nothing is converted then; illegal state before Init and
  // after Finish.
  virtual Result<void> Convert(Block<const Byte> source, Block<Byte> target) = 0;

  // Ends the stream. Errors: illegal argument for a target smaller than GetResultSize(); illegal state before Init and
  // for a second call.
  virtual Result<void> Finish(Block<Byte> target) = 0;
};

using StreamConversionRef = StrongRef<StreamConversionInterface>;

// An initialised conversion. Errors: illegal argument "Factory is nullptr." when the registry has no such class; those
// of Init. Thread-safe.
OSTRA_API Result<StreamConversionRef> CreateStreamConversion(const Id& id, const DataDictionary& settings = {});

// Feeds all of `source` in pieces of kStreamPieceSize; `target` as of Convert. Errors: those of Convert, where a source
// that is not a whole number of blocks is refused before anything is converted.
OSTRA_API Result<void> ConvertStream(StreamConversionInterface& conversion, Block<const Byte> source,
                                     Block<Byte> target);

// "source size @ must be a multiple of @." unless `size` is a whole number of the conversion's blocks.
OSTRA_API Result<void> CheckSourceSize(const StreamConversionInterface& conversion, Int size);

}  // namespace ostra

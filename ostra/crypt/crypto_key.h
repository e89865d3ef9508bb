// Keys of ciphers.
//
//   OSTRA_ASSIGN_OR_RETURN(CryptoKeyRef key, CreateCryptoKey({keyBytes, 16}, {initialVector, 16}, 128));
//   OSTRA_RETURN_IF_ERROR(settings.Set(kAesKey, key));
#pragma once

#include "ostra/core/data_type.h"
#include "ostra/object/interface.h"

namespace ostra {

// Made by the class net.ostra.streamconversion.cryptokey. A key does not change after Init and may then be read by any
// thread; its bytes are overwritten when it is destroyed.
class CryptoKeyInterface : public ObjectInterface {
 public:
  static constexpr Id kInterfaceId = "net.ostra.interface.cryptokey"_id;

  // Copies the bytes. `blockSize` in bits; the initial vector has as many. Which sizes go together, the cipher says.
  // Errors: illegal argument for a key without bytes, for more than 64 of them, and for an initial vector of another
  // size than the block's; illegal state for a second call.
  virtual Result<void> Init(Block<const Byte> key, Block<const Byte> initialVector, Int blockSize) = 0;

  // Valid as long as the object. Empty and 0 before Init.
  virtual Block<const Byte> GetKey() const = 0;
  virtual Block<const Byte> GetInitialVector() const = 0;
  virtual Int GetBlockSize() const = 0;
};

using CryptoKeyRef = StrongRef<CryptoKeyInterface>;

// An initialised key. Errors: illegal argument "Factory is nullptr." when the registry has no such class; those of
// Init. Thread-safe.
OSTRA_API Result<CryptoKeyRef> CreateCryptoKey(Block<const Byte> key, Block<const Byte> initialVector, Int blockSize);

}  // namespace ostra

OSTRA_DATATYPE(ostra::CryptoKeyRef, "net.ostra.datatype.cryptokey", "CryptoKey");

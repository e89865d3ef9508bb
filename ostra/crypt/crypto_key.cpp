#include "ostra/crypt/crypto_key.h"

#include "ostra/crypt/conversion_base.h"
#include "ostra/crypt/secret_bytes.h"

OSTRA_UNIT("cryptokey");

namespace ostra {
namespace {

class CryptoKey final : public Component<CryptoKey, CryptoKeyInterface> {
 public:
  static constexpr const char* kComponentName = "CryptoKey";

  ~CryptoKey() override {
    WipeBytes(_key.GetBlock());
    WipeBytes(_initialVector.GetBlock());
  }

  Result<void> Init(Block<const Byte> key, Block<const Byte> initialVector, Int blockSize) override {
    if (_blockSize != 0) return OSTRA_ILLEGAL_STATE("The key was initialized already.");
    if (key.IsEmpty() || key.GetCount() > kMaxKey)
      return OSTRA_ILLEGAL_ARGUMENT("A key has 1 to @ bytes, not @.", kMaxKey, key.GetCount());
    if (blockSize <= 0 || blockSize % 8 != 0 || blockSize / 8 != initialVector.GetCount())
      return OSTRA_ILLEGAL_ARGUMENT("An initial vector of @ bytes does not fit blocks of @ bits.",
                                    initialVector.GetCount(), blockSize);
    OSTRA_RETURN_IF_ERROR(Copy(key, _key));
    OSTRA_RETURN_IF_ERROR(Copy(initialVector, _initialVector));
    _blockSize = blockSize;
    return OK;
  }

  Block<const Byte> GetKey() const override { return _key.GetBlock(); }
  Block<const Byte> GetInitialVector() const override { return _initialVector.GetBlock(); }
  Int GetBlockSize() const override { return _blockSize; }

 private:
  static constexpr Int kMaxKey = 64;

  static Result<void> Copy(Block<const Byte> source, BaseArray<Byte>& target) {
    OSTRA_RETURN_IF_ERROR(target.Resize(source.GetCount()));
    MemCopy(target.GetFirst(), source.GetFirst(), source.GetCount());
    return OK;
  }

  BaseArray<Byte> _key;
  BaseArray<Byte> _initialVector;
  Int _blockSize = 0;  // in bits; 0 before Init
};

}  // namespace

Result<ClassRef> MakeCryptoKeyClass() { return Class::Create<CryptoKey>(kCryptoKey); }

Result<CryptoKeyRef> CreateCryptoKey(Block<const Byte> key, Block<const Byte> initialVector, Int blockSize) {
  OSTRA_ASSIGN_OR_RETURN(const ClassRef keyClass, FindConversionClass(kCryptoKey));
  OSTRA_ASSIGN_OR_RETURN(CryptoKeyRef object, keyClass->CreateObject<CryptoKeyInterface>());
  OSTRA_RETURN_IF_ERROR(object->Init(key, initialVector, blockSize));
  return object;
}

}  // namespace ostra

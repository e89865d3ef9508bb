// What all conversions of this folder share: the order of their calls and the sizes of what they are given. Only for
// the files of this folder.
#pragma once

#include <openssl/evp.h>

#include <memory>

#include "ostra/core/format.h"
#include "ostra/crypt/stream_conversion.h"
#include "ostra/object/class.h"

namespace ostra {

// An object of libcrypto that is released with FREE. libcrypto has an allocator of its own; null means that it found
// no memory.
template <auto FREE>
struct CryptDeleter {
  template <class T>
  void operator()(T* object) const {
    FREE(object);
  }
};
template <class T, auto FREE>
using CryptPointer = std::unique_ptr<T, CryptDeleter<FREE>>;

// `Derived` offers Start(settings), Process(source, target) and End(target); the calls arrive in order, with sizes that
// fit.
template <class Derived>
class StreamConversionBase : public Component<Derived, StreamConversionInterface> {
 public:
  Result<void> Init(const DataDictionary& settings) final {
    if (_phase != Phase::New) return MakeError("The stream conversion was initialized already.", kIllegalStateError);
    OSTRA_RETURN_IF_ERROR(Self().Start(settings));
    _phase = Phase::Open;
    return OK;
  }

  Int GetBlockSize() const final { return Derived::BLOCK_SIZE; }
  Int GetResultSize() const final { return Derived::RESULT_SIZE; }

  Result<void> Convert(Block<const Byte> source, Block<Byte> target) final {
    OSTRA_RETURN_IF_ERROR(CheckIsOpen());
    OSTRA_RETURN_IF_ERROR(CheckSourceSize(*this, source.GetCount()));
    if (Derived::WRITES_AT_ONCE && target.GetCount() < source.GetCount())
      return MakeError("The target of a stream conversion is too small.", kIllegalArgumentError);
    if (source.IsEmpty()) return OK;
    return Self().Process(source, target);
  }

  Result<void> Finish(Block<Byte> target) final {
    OSTRA_RETURN_IF_ERROR(CheckIsOpen());
    if (target.GetCount() < Derived::RESULT_SIZE)
      return MakeError("The target of a stream conversion is too small.", kIllegalArgumentError);
    OSTRA_RETURN_IF_ERROR(Self().End(target));
    _phase = Phase::Finished;
    return OK;
  }

 private:
  enum class Phase : Int32 { New, Open, Finished };

  Derived& Self() { return static_cast<Derived&>(*this); }
  static Error MakeError(std::string_view message, const Id& kind) {
    return Error::Make(kind, message, "streamconversion", __LINE__);
  }
  Result<void> CheckIsOpen() const {
    if (_phase == Phase::New) return MakeError("The stream conversion was not initialized.", kIllegalStateError);
    if (_phase == Phase::Finished) return MakeError("The stream was finished already.", kIllegalStateError);
    return OK;
  }

  Phase _phase = Phase::New;
};

// A class of the registry. Error: illegal argument "Factory is nullptr." when it is not there; out of memory.
Result<ClassRef> FindConversionClass(const Id& id);

// The classes of this folder.
Result<ClassRef> MakeHashSha256Class();
Result<ClassRef> MakeHashHmacClass();
Result<ClassRef> MakeCryptoKeyClass();
Result<ClassRef> MakeAesDecoderClass();
Result<ClassRef> MakeAesEncoderClass();

}  // namespace ostra

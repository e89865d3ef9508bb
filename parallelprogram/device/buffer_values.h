// The elements that a client hands over to be stored on a device, as packed bytes.
#pragma once

#include "ostra/core/array.h"
#include "ostra/core/data.h"

namespace ostra {

struct UploadSource {
  DataType elementType;
  Int count = 0;
  const Byte* bytes = nullptr;  // packed; the caller's, or those of `packed`
  GenericBaseArray packed;

  Int GetByteCount() const { return count * elementType.GetSize(); }

  // The elements of a base array, block, array or array reference, in one piece or several. They stay where they are
  // when they lie packed. Errors: illegal argument "data is not an base array, block or array ref", "only array
  // container references are supported", "DataType not specified or 0 size", "Empty buffers are not allowed to be
  // added. Please resize to the required size before storing.", or for elements that are more than their bytes; out of
  // memory.
  static Result<UploadSource> FromValue(const ForwardingDataPtr& data);
  // The bytes of `data` as elements of `elementType`. Error also: illegal argument for bytes that are no whole number
  // of elements.
  static Result<UploadSource> FromBytes(const DataType& elementType, const GenericBaseArray& data);
};

// Devices have room for types that are nothing but their bytes. Error: illegal argument.
Result<void> CheckDeviceType(const DataType& type);

}  // namespace ostra

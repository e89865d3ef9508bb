// The bytes of a file, mapped into memory for reading.
#pragma once

#include <optional>
#include <utility>

#include "ostra/core/base_array.h"
#include "ostra/io/descriptor.h"

namespace ostra {

// Owns the mapping. Bytes that another process changes meanwhile change here, and reading behind the end of a file that
// it shortens is a fault: for files that this user alone may write.
class OSTRA_API MappedFile {
 public:
  // Nothing when the file cannot be opened or mapped.
  static std::optional<MappedFile> Open(const char* path);

  MappedFile(MappedFile&& other) noexcept : _bytes(std::exchange(other._bytes, {})) {}
  MappedFile& operator=(MappedFile&& other) = delete;
  ~MappedFile();

  Block<const Byte> GetBytes() const { return _bytes; }

 private:
  explicit MappedFile(Block<const Byte> bytes) : _bytes(bytes) {}

  Block<const Byte> _bytes;
};

}  // namespace ostra

// An open file of the operating system, and writing all bytes to one. For code that works with the system's own files;
// ostra/io/file.h is for all other code.
#pragma once

#include <unistd.h>

#include <cerrno>
#include <utility>

#include "ostra/core/base_array.h"

namespace ostra {

// Owns the number of an open file, which is closed at the end; -1 for none.
class Descriptor {
 public:
  explicit Descriptor(int number) : _number(number) {}
  Descriptor(Descriptor&& other) noexcept : _number(std::exchange(other._number, -1)) {}
  Descriptor& operator=(Descriptor&& other) = delete;
  ~Descriptor() { Close(); }

  int Get() const { return _number; }
  Bool IsOpen() const { return _number >= 0; }
  // False if the system could not write what it had kept back; errno says why.
  Bool Close() {
    const int number = std::exchange(_number, -1);
    return number < 0 || close(number) == 0;
  }

 private:
  int _number;
};

// False if not all bytes could be written; errno says why.
inline Bool WriteBytes(int file, Block<const Byte> bytes) {
  Int done = 0;
  while (done < bytes.GetCount()) {
    const ssize_t count = write(file, bytes.GetFirst() + done, static_cast<std::size_t>(bytes.GetCount() - done));
    if (count < 0 && errno != EINTR) return false;
    if (count > 0) done += count;
  }
  return true;
}

}  // namespace ostra

// KernelBuffer: a buffer as the body of a kernel sees it.
#pragma once

#include "ostra/core/base_array.h"
#include "parallelprogram/base/kernel_checks.h"

namespace ostra::kernel {

// Elements of type T (const for buffers that are only read) without gaps. The program writes it as a Block.
template <class T>
class KernelBuffer : public Block<std::remove_const_t<T>> {
 public:
  using DataBlock = Block<std::remove_const_t<T>>;

  template <class Index>
  T& operator[](Index index) const {
    return this->GetFirst()[index];
  }

  // The same with a check of the index; `name`, `file` and `line` are for the message.
  class Checked {
   public:
    Checked(const KernelBuffer& buffer, const char* name, const char* file, int line)
        : _buffer(buffer), _name(name), _file(file), _line(line) {}
    template <class Index>
    T& operator[](Index index) const {
      const Int position = static_cast<Int>(index);
      if (position < 0 || position >= _buffer.GetCount())
        FailBufferIndex(_name, _file, _line, position, _buffer.GetCount());
      return _buffer.GetFirst()[position];
    }

   private:
    const KernelBuffer& _buffer;
    const char* _name;
    const char* _file;
    int _line;
  };
  Checked GetChecked(const char* name, const char* file, int line) const { return Checked(*this, name, file, line); }
};

}  // namespace ostra::kernel

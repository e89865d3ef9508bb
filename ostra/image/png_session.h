// libpng under the host's rules, shared by reading and writing: memory comes from AllocMem, and the library's way of
// failing, a jump out of its functions, ends in Run. Only for the files of this folder.
#pragma once

#include <png.h>

#include <csetjmp>

#include "ostra/core/base_array.h"
#include "ostra/core/export.h"

namespace ostra {

class OSTRA_HIDDEN PngSession {
 public:
  enum class Direction : Int32 { Read, Write };

  explicit PngSession(Direction direction);
  PngSession(const PngSession&) = delete;
  PngSession& operator=(const PngSession&) = delete;
  ~PngSession();

  // Calls `work(png, info)`; false when libpng failed in it. A failure leaves `work` by a jump that runs
  // no destructors: nothing in it, and in functions that libpng calls, may own anything.
  template <class Work>
  Bool Run(const Work& work) {
    if (!_info) return false;
    if (setjmp(png_jmpbuf(_png))) return false;
    work(_png, _info);
    return true;
  }

  // Why Run gave false: out of memory, or an illegal argument with `prefix` and libpng's reason.
  Error MakeError(std::string_view prefix) const;

 private:
  static void Fail(png_structp png, png_const_charp message);
  static void Ignore(png_structp, png_const_charp) {}
  static png_voidp Allocate(png_structp png, png_alloc_size_t size);
  static void Free(png_structp, png_voidp memory) { FreeMem(memory); }

  const Direction _direction;
  Bool _isOutOfMemory = false;
  char _message[160] = "";
  png_structp _png = nullptr;
  png_infop _info = nullptr;
};

}  // namespace ostra

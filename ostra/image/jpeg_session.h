// libjpeg under the host's rules, shared by reading and writing: the library's way of failing, a jump out of its
// functions, ends in Run. Only for the files of this folder.
#pragma once

#include <cstdio>
// The library's header needs the standard one above.
#include <jpeglib.h>

#include <csetjmp>
#include <string_view>

#include "ostra/core/error.h"
#include "ostra/core/export.h"

namespace ostra {

class OSTRA_HIDDEN JpegSession {
 public:
  JpegSession();
  JpegSession(const JpegSession&) = delete;
  JpegSession& operator=(const JpegSession&) = delete;

  // Before the library creates `object`.
  template <class Object>
  void Attach(Object& object) {
    object.err = &_errors;
    object.client_data = this;
  }

  // Calls `work`; false when libjpeg failed in it. A failure leaves `work` by a jump that runs no destructors: nothing
  // in it, and in functions that libjpeg calls, may own anything.
  template <class Work>
  Bool Run(const Work& work) {
    if (setjmp(_jump)) return false;
    work();
    return true;
  }

  // Leaves Run, for a reason of our own.
  [[noreturn]] void Fail(const char* message);
  [[noreturn]] void FailOutOfMemory();

  // Why Run gave false: out of memory, or an illegal argument with `prefix` and libjpeg's reason.
  Error MakeError(std::string_view prefix) const;

 private:
  static void FailInLibrary(j_common_ptr object);
  static void NoteMessage(j_common_ptr object, int level);

  jpeg_error_mgr _errors;
  std::jmp_buf _jump;
  Bool _isOutOfMemory = false;
  char _message[JMSG_LENGTH_MAX] = "";
};

}  // namespace ostra

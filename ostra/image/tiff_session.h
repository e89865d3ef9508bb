// libtiff on files in memory, shared by reading and writing. Only for the files of this folder.
#pragma once

#include <tiffio.h>

#include <string_view>

#include "ostra/core/base_array.h"
#include "ostra/core/export.h"
#include "ostra/image/memory_sink.h"

namespace ostra {

// A file that is open; its errors are kept, not shown.
class OSTRA_HIDDEN TiffSession {
 public:
  // Reads what outlives the session.
  explicit TiffSession(Block<const Byte> bytes);
  // Writes to what outlives the session.
  explicit TiffSession(MemorySink& sink);
  TiffSession(const TiffSession&) = delete;
  TiffSession& operator=(const TiffSession&) = delete;
  ~TiffSession() { Close(); }

  TIFF* Get() const { return _tiff; }  // null when the file could not be opened
  void Close();

  // An illegal argument with `prefix` and the first reason that the library gave.
  Error MakeError(std::string_view prefix) const;

 private:
  void Open(const char* mode);
  static int NoteError(TIFF*, void* session, const char*, const char* format, va_list values);
  static tmsize_t Read(thandle_t handle, void* target, tmsize_t size);
  static tmsize_t Write(thandle_t handle, void* source, tmsize_t size);
  static toff_t Seek(thandle_t handle, toff_t offset, int origin);
  static toff_t GetSize(thandle_t handle);

  const Block<const Byte> _bytes;
  MemorySink* const _sink = nullptr;
  Int _position = 0;  // of reading
  TIFF* _tiff = nullptr;
  char _message[200] = "";
};

}  // namespace ostra

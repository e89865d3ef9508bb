#include "ostra/image/tiff_session.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

#include "ostra/core/format.h"

OSTRA_UNIT("tiff");

namespace ostra {

namespace {

// Of one piece of memory that the library takes by itself: strips and tiles lie in ours.
constexpr tmsize_t kMaxPiece = tmsize_t(1) << 30;

}  // namespace

TiffSession::TiffSession(Block<const Byte> bytes) : _bytes(bytes) { Open("rm"); }

TiffSession::TiffSession(MemorySink& sink) : _sink(&sink) { Open("w"); }

void TiffSession::Open(const char* mode) {
  TIFFOpenOptions* options = TIFFOpenOptionsAlloc();
  if (!options) return;
  TIFFOpenOptionsSetMaxSingleMemAlloc(options, kMaxPiece);
  TIFFOpenOptionsSetErrorHandlerExtR(options, NoteError, this);
  TIFFOpenOptionsSetWarningHandlerExtR(
      options, [](TIFF*, void*, const char*, const char*, va_list) { return 1; }, this);
  _tiff = TIFFClientOpenExt(
      "picture", mode, this, Read, Write, Seek, [](thandle_t) { return 0; }, GetSize, nullptr, nullptr, options);
  TIFFOpenOptionsFree(options);
}

void TiffSession::Close() {
  if (_tiff) TIFFClose(_tiff);
  _tiff = nullptr;
}

Error TiffSession::MakeError(std::string_view prefix) const {
  const std::string_view message = _message[0] ? _message : "the library gives no reason";
  return OSTRA_ILLEGAL_ARGUMENT("@: @@", prefix, message, message.ends_with('.') ? "" : ".");
}

int TiffSession::NoteError(TIFF*, void* session, const char*, const char* format, va_list values) {
  char(&message)[200] = static_cast<TiffSession*>(session)->_message;
  if (!message[0]) std::vsnprintf(message, sizeof(message), format, values);
  return 1;  // not shown by the library
}

tmsize_t TiffSession::Read(thandle_t handle, void* target, tmsize_t size) {
  auto& session = *static_cast<TiffSession*>(handle);
  const Int count = std::clamp(session._bytes.GetCount() - session._position, Int(0), static_cast<Int>(size));
  if (count > 0) MemCopy(target, session._bytes.GetFirst() + session._position, count);
  session._position += count;
  return count;
}

tmsize_t TiffSession::Write(thandle_t handle, void* source, tmsize_t size) {
  auto& session = *static_cast<TiffSession*>(handle);
  return session._sink && session._sink->Write(source, size) ? size : 0;
}

toff_t TiffSession::Seek(thandle_t handle, toff_t offset, int origin) {
  auto& session = *static_cast<TiffSession*>(handle);
  const Int now = session._sink ? session._sink->GetPosition() : session._position;
  const Int start = origin == SEEK_SET ? 0 : origin == SEEK_CUR ? now : static_cast<Int>(GetSize(handle));
  Int position = 0;
  if (__builtin_add_overflow(start, static_cast<Int>(offset), &position) || position < 0) return toff_t(-1);
  if (session._sink)
    session._sink->SetPosition(position);
  else
    session._position = position;
  return static_cast<toff_t>(position);
}

toff_t TiffSession::GetSize(thandle_t handle) {
  const auto& session = *static_cast<TiffSession*>(handle);
  return static_cast<toff_t>(session._sink ? session._sink->GetSize() : session._bytes.GetCount());
}

}  // namespace ostra

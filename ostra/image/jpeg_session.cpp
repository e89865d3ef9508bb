#include "ostra/image/jpeg_session.h"

#include <jerror.h>

#include "ostra/core/format.h"

OSTRA_UNIT("jpeg");

namespace ostra {

JpegSession::JpegSession() {
  jpeg_std_error(&_errors);
  _errors.error_exit = FailInLibrary;
  _errors.emit_message = NoteMessage;
  _errors.output_message = [](j_common_ptr) {};
}

void JpegSession::Fail(const char* message) {
  std::snprintf(_message, sizeof(_message), "%s", message);
  std::longjmp(_jump, 1);
}

void JpegSession::FailOutOfMemory() {
  _isOutOfMemory = true;
  std::longjmp(_jump, 1);
}

Error JpegSession::MakeError(std::string_view prefix) const {
  if (_isOutOfMemory) return OSTRA_OUT_OF_MEMORY();
  return OSTRA_ILLEGAL_ARGUMENT("@: @.", prefix, _message);
}

void JpegSession::FailInLibrary(j_common_ptr object) {
  auto* session = static_cast<JpegSession*>(object->client_data);
  if (object->err->msg_code == JERR_OUT_OF_MEMORY) session->FailOutOfMemory();
  object->err->format_message(object, session->_message);
  std::longjmp(session->_jump, 1);
}

// The library goes on with gray pixels after damage. Two of its warnings lose nothing: bytes between markers, which
// cameras leave, and a later version of the format.
void JpegSession::NoteMessage(j_common_ptr object, int level) {
  const int code = object->err->msg_code;
  if (level >= 0 || code == JWRN_EXTRANEOUS_DATA || code == JWRN_JFIF_MAJOR) return;
  FailInLibrary(object);
}

}  // namespace ostra

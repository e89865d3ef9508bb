#include "ostra/image/png_session.h"

#include <cstdio>
#include <limits>

#include "ostra/core/format.h"

OSTRA_UNIT("png");

namespace ostra {

PngSession::PngSession(Direction direction) : _direction(direction) {
  const auto create = direction == Direction::Read ? png_create_read_struct_2 : png_create_write_struct_2;
  _png = create(PNG_LIBPNG_VER_STRING, this, Fail, Ignore, this, Allocate, Free);
  if (_png) _info = png_create_info_struct(_png);
}

PngSession::~PngSession() {
  if (_direction == Direction::Read)
    png_destroy_read_struct(&_png, &_info, nullptr);
  else
    png_destroy_write_struct(&_png, &_info);
}

Error PngSession::MakeError(std::string_view prefix) const {
  if (_isOutOfMemory || !_info) return OSTRA_OUT_OF_MEMORY();
  return OSTRA_ILLEGAL_ARGUMENT("@: @.", prefix, _message);
}

void PngSession::Fail(png_structp png, png_const_charp message) {
  auto* session = static_cast<PngSession*>(png_get_error_ptr(png));
  std::snprintf(session->_message, sizeof(session->_message), "%s", message);
  png_longjmp(png, 1);
}

png_voidp PngSession::Allocate(png_structp png, png_alloc_size_t size) {
  void* memory = size > png_alloc_size_t(std::numeric_limits<Int>::max()) ? nullptr : AllocMem(static_cast<Int>(size));
  if (!memory) static_cast<PngSession*>(png_get_mem_ptr(png))->_isOutOfMemory = true;
  return memory;
}

}  // namespace ostra

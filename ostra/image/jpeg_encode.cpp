#include "ostra/core/format.h"
#include "ostra/image/image.h"
#include "ostra/image/jpeg_session.h"
#include "ostra/image/memory_sink.h"
#include "ostra/image/picture_byte.h"
#include "ostra/image/picture_channels.h"
#include "ostra/image/picture_settings.h"

OSTRA_UNIT("jpeg");

namespace ostra {

namespace {

// Where the library writes to; it sees the first member.
struct Destination {
  jpeg_destination_mgr manager = {};
  MemorySink sink;
  JOCTET piece[16384];
};

Destination& GetDestination(j_compress_ptr object) { return *reinterpret_cast<Destination*>(object->dest); }

void StartPiece(j_compress_ptr object) {
  Destination& destination = GetDestination(object);
  destination.manager.next_output_byte = destination.piece;
  destination.manager.free_in_buffer = sizeof(destination.piece);
}

void WritePiece(j_compress_ptr object, std::size_t size) {
  Destination& destination = GetDestination(object);
  if (!destination.sink.Write(destination.piece, static_cast<Int>(size)))
    static_cast<JpegSession*>(object->client_data)->FailOutOfMemory();
}

boolean EndPiece(j_compress_ptr object) {
  WritePiece(object, sizeof(Destination::piece));
  StartPiece(object);
  return TRUE;
}

void EndLastPiece(j_compress_ptr object) {
  WritePiece(object, sizeof(Destination::piece) - object->dest->free_in_buffer);
}

class JpegWriter {
 public:
  JpegWriter(const ImageView& image, Int quality, Int channels)
      : _image(image), _quality(static_cast<int>(quality)), _channels(channels) {
    _session.Attach(_object);
    _destination.manager.init_destination = StartPiece;
    _destination.manager.empty_output_buffer = EndPiece;
    _destination.manager.term_destination = EndLastPiece;
  }
  JpegWriter(const JpegWriter&) = delete;
  JpegWriter& operator=(const JpegWriter&) = delete;
  ~JpegWriter() {
    if (_isCreated) jpeg_destroy_compress(&_object);
  }

  Result<BaseArray<Byte>> Write() {
    BaseArray<Byte> row;
    OSTRA_RETURN_IF_ERROR(row.Resize(_image.width * _channels));
    const auto write = [this, first = row.GetFirst()] { WritePicture(first); };
    if (!_session.Run(write)) return _session.MakeError("the picture cannot be written as JPEG");
    return _destination.sink.Take();
  }

 private:
  void WritePicture(Byte* row) {
    _isCreated = true;  // also of what is created in part
    jpeg_create_compress(&_object);
    _object.dest = &_destination.manager;
    _object.image_width = static_cast<JDIMENSION>(_image.width);
    _object.image_height = static_cast<JDIMENSION>(_image.height);
    _object.input_components = static_cast<int>(_channels);
    _object.in_color_space = _channels == 1 ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_set_defaults(&_object);
    jpeg_set_quality(&_object, _quality, TRUE);
    // Colours at full resolution: by itself the library halves it.
    for (int i = 0; i < _object.num_components; ++i)
      _object.comp_info[i].h_samp_factor = _object.comp_info[i].v_samp_factor = 1;
    jpeg_start_compress(&_object, TRUE);
    const Float32* source = _image.rgba.GetFirst();
    for (Int y = 0; y < _image.height; ++y) {
      Byte* target = row;
      for (Int x = 0; x < _image.width; ++x, source += 4)
        for (Int c = 0; c < _channels; ++c) *target++ = ToPictureByte(source[c]);
      JSAMPROW rows[] = {row};
      jpeg_write_scanlines(&_object, rows, 1);
    }
    jpeg_finish_compress(&_object);
  }

  const ImageView _image;
  const int _quality;
  const Int _channels;
  JpegSession _session;
  jpeg_compress_struct _object = {};
  Destination _destination;
  Bool _isCreated = false;
};

}  // namespace

Result<BaseArray<Byte>> EncodeJpeg(const ImageView& image, const PictureSettings& settings) {
  OSTRA_CHECK_ARGUMENT(image.width > 0 && image.height > 0 && image.rgba.GetCount() == 4 * image.width * image.height);
  OSTRA_RETURN_IF_ERROR(
      CheckPictureSettings(image, settings, {.name = "JPEG", .bits = {8}, .channels = {1, 3}, .hasQuality = true}));
  const Int quality = settings.quality == 0 ? kDefaultJpegQuality : settings.quality;
  if (quality < 1 || quality > 100)
    return OSTRA_ILLEGAL_ARGUMENT("the quality of a JPEG picture is 1 to 100, not @.", quality);
  constexpr Int kMaxSide = JPEG_MAX_DIMENSION;
  if (image.width > kMaxSide || image.height > kMaxSide)
    return OSTRA_ILLEGAL_ARGUMENT("a picture of @ x @ pixels is too large for JPEG, whose sides are at most @.",
                                  image.width, image.height, kMaxSide);
  JpegWriter writer(image, quality, settings.channels > 0 ? settings.channels : IsGray(image) ? 1 : 3);
  return writer.Write();
}

}  // namespace ostra

#include <algorithm>
#include <cstring>

#include "ostra/core/format.h"
#include "ostra/image/exif.h"
#include "ostra/image/image.h"
#include "ostra/image/jpeg_session.h"
#include "ostra/image/orientation.h"

OSTRA_UNIT("jpeg");

namespace ostra {

namespace {

constexpr std::string_view kDamaged = "the JPEG picture is damaged";
constexpr int kExifMarker = JPEG_APP0 + 1, kProfileMarker = JPEG_APP0 + 2;
constexpr std::string_view kExifStart("Exif\0\0", 6);
constexpr std::string_view kProfileStart("ICC_PROFILE\0", 12);

// A file with more would be a way to keep a reader busy: encoders write 10.
constexpr int kMaxScans = 100;

void CheckScans(j_common_ptr object) {
  if (reinterpret_cast<j_decompress_ptr>(object)->input_scan_number > kMaxScans)
    static_cast<JpegSession*>(object->client_data)->Fail("it has more than 100 scans");
}

struct Notes {
  ExifNotes exif;
  Bool hasProfile = false;
};

class JpegReader {
 public:
  explicit JpegReader(Block<const Byte> bytes) : _bytes(bytes) {
    _session.Attach(_object);
    _progress.progress_monitor = CheckScans;
  }
  JpegReader(const JpegReader&) = delete;
  JpegReader& operator=(const JpegReader&) = delete;
  ~JpegReader() {
    if (_isCreated) jpeg_destroy_decompress(&_object);
  }

  Result<Image> Read() {
    if (!_session.Run([this] { ReadHeader(); })) return _session.MakeError(kDamaged);
    OSTRA_RETURN_IF_ERROR(CheckHeader());
    const Notes notes = ReadNotes();  // the library drops them with the last row
    OSTRA_ASSIGN_OR_RETURN(Image image, Image::Create(_object.image_width, _object.image_height));
    const Bool isGray = _object.num_components == 1;
    BaseArray<Byte> row;
    OSTRA_RETURN_IF_ERROR(row.Resize(image.width * _object.num_components));
    const auto readPixels = [this, isGray, row = row.GetFirst(), pixels = image.rgba.GetFirst()] {
      ReadPixels(isGray, row, pixels);
    };
    if (!_session.Run(readPixels)) return _session.MakeError(kDamaged);
    image.description.channels = isGray ? 1 : 3;
    image.description.bits = 8;
    image.description.isFloat = false;
    if (notes.exif.isSrgb) image.description.colors = PictureColors::Srgb;
    if (notes.hasProfile) image.description.colors = PictureColors::Profile;
    return TurnUpright(std::move(image), notes.exif.orientation);
  }

 private:
  void ReadHeader() {
    _isCreated = true;  // also of what is created in part
    jpeg_create_decompress(&_object);
    _object.progress = &_progress;
    jpeg_mem_src(&_object, _bytes.GetFirst(), static_cast<unsigned long>(_bytes.GetCount()));
    jpeg_save_markers(&_object, kExifMarker, 0xFFFF);
    jpeg_save_markers(&_object, kProfileMarker, 0xFFFF);
    jpeg_read_header(&_object, TRUE);
  }

  // Refuses what is not supported, and sizes that the file cannot hold, before memory is taken for them.
  Result<void> CheckHeader() const {
    const Int width = _object.image_width, height = _object.image_height, fileSize = _bytes.GetCount();
    if (_object.num_components == 4)
      return OSTRA_ILLEGAL_ARGUMENT("the JPEG picture has the colours of a printer (CMYK): convert it to RGB before.");
    if (_object.num_components != 1 && _object.num_components != 3)
      return OSTRA_ILLEGAL_ARGUMENT("the JPEG picture has @ channels: 1 and 3 are supported.", _object.num_components);
    if (width > kMaxImagePixels / height)
      return OSTRA_ILLEGAL_ARGUMENT("a picture of @ x @ pixels is too large, the limit is @ pixels.", width, height,
                                    kMaxImagePixels);
    Int blocks = 0;  // of 8 x 8 values: each takes a bit at least, and with arithmetic coding perhaps a part of one
    for (int i = 0; i < _object.num_components; ++i)
      blocks += Int(_object.comp_info[i].width_in_blocks) * _object.comp_info[i].height_in_blocks;
    if (blocks / 8 / (_object.arith_code ? 64 : 1) > fileSize)
      return OSTRA_ILLEGAL_ARGUMENT("@: @ bytes are too few for @ x @ pixels.", kDamaged, fileSize, width, height);
    return OK;
  }

  void ReadPixels(Bool isGray, Byte* row, Float32* pixels) {
    _object.out_color_space = isGray ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_start_decompress(&_object);
    const Int width = _object.output_width;
    while (_object.output_scanline < _object.output_height) {
      JSAMPROW rows[] = {row};
      jpeg_read_scanlines(&_object, rows, 1);
      const Byte* next = row;
      for (Int x = 0; x < width; ++x, pixels += 4) {
        for (Int c = 0; c < 3; ++c) pixels[c] = static_cast<Float32>(next[isGray ? 0 : c]) / 255.0f;
        pixels[3] = 1;
        next += isGray ? 1 : 3;
      }
    }
    jpeg_finish_decompress(&_object);
  }

  Notes ReadNotes() const {
    Notes notes;
    for (jpeg_saved_marker_ptr marker = _object.marker_list; marker; marker = marker->next) {
      const std::string_view text(reinterpret_cast<const char*>(marker->data), marker->data_length);
      if (marker->marker == kExifMarker && text.starts_with(kExifStart))
        notes.exif = ReadExif({marker->data + kExifStart.size(), static_cast<Int>(text.size() - kExifStart.size())});
      if (marker->marker == kProfileMarker && text.starts_with(kProfileStart)) notes.hasProfile = true;
    }
    return notes;
  }

  const Block<const Byte> _bytes;
  JpegSession _session;
  jpeg_decompress_struct _object = {};
  jpeg_progress_mgr _progress = {};
  Bool _isCreated = false;
};

}  // namespace

Result<Image> DecodeJpeg(Block<const Byte> bytes) {
  JpegReader reader(bytes);
  return reader.Read();
}

}  // namespace ostra

#include "tests/image/sample_jpeg.h"

#include <cstdio>
// The library's header needs the standard one above.
#include <jpeglib.h>

#include <cstdlib>

namespace ostra {

namespace {

J_COLOR_SPACE GetColorSpace(int channels) {
  return channels == 1 ? JCS_GRAYSCALE : channels == 3 ? JCS_RGB : channels == 4 ? JCS_CMYK : JCS_UNKNOWN;
}

void WriteMarker(jpeg_compress_struct& object, int marker, const std::string& text) {
  jpeg_write_marker(&object, marker, reinterpret_cast<const JOCTET*>(text.data()), static_cast<unsigned>(text.size()));
}

// One for the mean of each block, then two for each other coefficient: all bits but one, and that one.
std::vector<jpeg_scan_info> MakeScans(int extraScans) {
  std::vector<jpeg_scan_info> scans = {{1, {0}, 0, 0, 0, 0}};
  for (int i = 0; i < extraScans; ++i) {
    const int coefficient = i / 2 + 1;
    scans.push_back({1, {0}, coefficient, coefficient, i % 2, 1 - i % 2});
  }
  return scans;
}

}  // namespace

std::string MakeJpeg(const JpegKind& kind, int width, int height, const std::vector<unsigned char>& bytes) {
  jpeg_compress_struct object = {};
  jpeg_error_mgr errors;
  object.err = jpeg_std_error(&errors);
  jpeg_create_compress(&object);
  unsigned char* target = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&object, &target, &size);
  object.image_width = static_cast<JDIMENSION>(width);
  object.image_height = static_cast<JDIMENSION>(height);
  object.input_components = kind.channels;
  object.in_color_space = GetColorSpace(kind.channels);
  jpeg_set_defaults(&object);
  jpeg_set_quality(&object, 100, TRUE);
  const std::vector<jpeg_scan_info> scans = MakeScans(kind.extraScans);
  if (kind.isProgressive) jpeg_simple_progression(&object);
  if (kind.extraScans > 0) {
    object.scan_info = scans.data();
    object.num_scans = static_cast<int>(scans.size());
  }
  object.arith_code = kind.isArithmetic ? TRUE : FALSE;
  object.restart_interval = static_cast<unsigned>(kind.restartInterval);
  jpeg_start_compress(&object, TRUE);
  if (!kind.exif.empty()) WriteMarker(object, JPEG_APP0 + 1, std::string("Exif\0\0", 6) + kind.exif);
  if (!kind.profile.empty()) WriteMarker(object, JPEG_APP0 + 2, std::string("ICC_PROFILE\0\1\1", 14) + kind.profile);
  for (int y = 0; y < height; ++y) {
    JSAMPROW row[] = {const_cast<JSAMPROW>(bytes.data() + static_cast<std::size_t>(y * width * kind.channels))};
    jpeg_write_scanlines(&object, row, 1);
  }
  jpeg_finish_compress(&object);
  jpeg_destroy_compress(&object);
  std::string file(reinterpret_cast<const char*>(target), size);
  std::free(target);
  return file;
}

std::string MakeExif(int orientation, bool isBigEndian, bool isSrgb) {
  std::string text;
  const auto add = [&text, isBigEndian](int value, int size) {
    for (int i = 0; i < size; ++i) text += static_cast<char>(value >> 8 * (isBigEndian ? size - 1 - i : i) & 0xFF);
  };
  const auto addEntry = [&add](int tag, int type, int value) {
    add(tag, 2);
    add(type, 2);
    add(1, 4);
    add(value, type == 3 ? 2 : 4);
    if (type == 3) add(0, 2);
  };
  text = isBigEndian ? "MM" : "II";
  add(42, 2);
  add(8, 4);
  add(2, 2);
  addEntry(0x0112, 3, orientation);
  addEntry(0x8769, 4, 38);
  add(0, 4);
  add(1, 2);
  addEntry(0xA001, 3, isSrgb ? 1 : 0xFFFF);
  add(0, 4);
  return text;
}

}  // namespace ostra

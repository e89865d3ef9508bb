// picture_corpus FOLDER: writes the inputs that jpeg_fuzz and tiff_fuzz start from to FOLDER/jpeg and FOLDER/tiff.
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "tests/image/sample_jpeg.h"
#include "tests/image/sample_tiff.h"

namespace {

void Write(const std::filesystem::path& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

void WriteJpegFiles(const std::filesystem::path& folder) {
  std::vector<unsigned char> bytes;
  for (int i = 0; i < 4 * 17 * 9; ++i) bytes.push_back(static_cast<unsigned char>(i * 37));
  const auto write = [&](const char* name, const ostra::JpegKind& kind) {
    Write(folder / name, ostra::MakeJpeg(kind, 17, 9, bytes));
  };
  write("colours.jpg", {});
  write("gray.jpg", {.channels = 1});
  write("cmyk.jpg", {.channels = 4});
  write("progressive.jpg", {.isProgressive = true, .restartInterval = 1});
  write("arithmetic.jpg", {.isArithmetic = true});
  write("turned.jpg", {.exif = ostra::MakeExif(6, true, true), .profile = "a profile"});
  const std::string file = ostra::MakeJpeg({.channels = 1}, 17, 9, bytes);
  Write(folder / "truncated.jpg", file.substr(0, file.size() / 2));
}

void WriteTiffFiles(const std::filesystem::path& folder) {
  // The first of each compression, and every seventh.
  int index = 0, compression = 0;
  for (const ostra::TiffKind& kind : ostra::GetTiffKinds()) {
    if (compression != kind.compression || index % 7 == 0)
      Write(folder / (std::to_string(index) + ".tif"), ostra::MakeTiff(kind, 7, 5));
    compression = kind.compression;
    ++index;
  }
  Write(folder / "pages.tif", ostra::MakeTiff({.pages = 2, .hasThumbnail = true}, 4, 3));
  Write(folder / "turned.tif", ostra::MakeTiff({.orientation = 7, .hasProfile = true}, 4, 3));
  const std::string file = ostra::MakeTiff({}, 7, 5);
  Write(folder / "truncated.tif", file.substr(0, file.size() - 20));
}

}  // namespace

int main(int argumentCount, char** arguments) {
  if (argumentCount != 2) {
    std::fputs("picture_corpus FOLDER\n", stderr);
    return 2;
  }
  const std::filesystem::path folder = arguments[1];
  for (const char* name : {"jpeg", "tiff"}) std::filesystem::create_directories(folder / name);
  WriteJpegFiles(folder / "jpeg");
  WriteTiffFiles(folder / "tiff");
  return 0;
}

#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfIO.h>
#include <ImfInputFile.h>
#include <ImfOutputFile.h>
#include <ImfTileDescription.h>
#include <ImfVersion.h>
#include <ImfXdr.h>

#include <algorithm>
#include <new>
#include <stdexcept>

#include "ostra/core/catch_out_of_memory.h"
#include "ostra/core/format.h"
#include "ostra/image/exr_channels.h"
#include "ostra/image/exr_layers.h"
#include "ostra/image/memory_sink.h"
#include "ostra/image/picture_settings.h"
#include "ostra/math/half_float.h"

OSTRA_UNIT("exr");

namespace ostra {

namespace {

constexpr std::string_view kDamaged = "the OpenEXR picture is damaged";

class MemoryReader final : public Imf::IStream {
 public:
  explicit MemoryReader(Block<const Byte> bytes) : IStream("picture"), _bytes(bytes) {}

  bool read(char* target, int count) override {
    const auto end = static_cast<std::uint64_t>(_bytes.GetCount());
    if (count < 0 || _position > end || end - _position < static_cast<std::uint64_t>(count))
      throw std::runtime_error("the file ends too early");
    if (count > 0) MemCopy(target, _bytes.GetFirst() + _position, count);
    _position += static_cast<std::uint64_t>(count);
    return _position < end;
  }
  std::uint64_t tellg() override { return _position; }
  void seekg(std::uint64_t position) override { _position = position; }

 private:
  const Block<const Byte> _bytes;
  std::uint64_t _position = 0;
};

class MemoryWriter final : public Imf::OStream {
 public:
  explicit MemoryWriter(MemorySink& sink) : OStream("picture"), _sink(sink) {}

  void write(const char* source, int count) override {
    if (!_sink.Write(source, count)) throw std::bad_alloc();
  }
  std::uint64_t tellp() override { return static_cast<std::uint64_t>(_sink.GetPosition()); }
  void seekp(std::uint64_t position) override { _sink.SetPosition(static_cast<Int>(position)); }

 private:
  MemorySink& _sink;
};

// The library throws; this is where its exceptions end.
template <class Value, class Work>
Result<Value> CallLibrary(std::string_view prefix, const Work& work) {
  try {
    return CatchOutOfMemory(kOstraUnit, __LINE__, work);
  } catch (const std::exception& exception) {
    return OSTRA_ILLEGAL_ARGUMENT("@: @.", prefix, exception.what());
  }
}

// Reads the header alone and refuses what would take much memory, or is no plain picture.
Result<void> CheckHeader(Block<const Byte> bytes) {
  MemoryReader reader(bytes);
  int magic = 0, version = 0;
  Imf::Xdr::read<Imf::StreamIO>(reader, magic);
  Imf::Xdr::read<Imf::StreamIO>(reader, version);
  if (magic != Imf::MAGIC) return OSTRA_ILLEGAL_ARGUMENT("this is not an OpenEXR picture.");
  if (Imf::isMultiPart(version) || Imf::isNonImage(version))
    return OSTRA_ILLEGAL_ARGUMENT(
        "OpenEXR files with several parts or with deep pixels are not supported: write "
        "each part to a file of its own.");
  Imf::Header header;
  header.readFrom(reader, version);
  const Imath::Box2i& window = header.dataWindow();
  const Int width = Int(window.max.x) - window.min.x + 1, height = Int(window.max.y) - window.min.y + 1;
  if (width < 1 || height < 1) return OSTRA_ILLEGAL_ARGUMENT("@: its size is @ x @.", kDamaged, width, height);
  const Bool hasHugeTiles =
      header.hasTileDescription() &&
      Int(header.tileDescription().xSize) > kMaxImagePixels / std::max(Int(header.tileDescription().ySize), Int(1));
  if (width > kMaxImagePixels / height || hasHugeTiles)
    return OSTRA_ILLEGAL_ARGUMENT("a picture of @ x @ pixels is too large, the limit is @ pixels.", width, height,
                                  kMaxImagePixels);
  return OK;
}

// A frame buffer takes one place per channel name: gray is read as red and then copied.
void CopyGray(Image& image) {
  for (Int i = 0; i < image.rgba.GetCount(); i += 4) image.rgba[i + 1] = image.rgba[i + 2] = image.rgba[i];
}

PictureDescription Describe(const Imf::ChannelList& channels, const ExrChannels& chosen) {
  const Imf::PixelType type = channels.findChannel(chosen.names[0])->type;
  PictureDescription description;
  description.channels = (chosen.isGray ? 1 : 3) + (chosen.hasAlpha ? 1 : 0);
  description.bits = type == Imf::HALF ? 16 : 32;
  description.isFloat = type != Imf::UINT;
  description.colors = PictureColors::Linear;  // as the format says
  return description;
}

Imf::FrameBuffer MakeTarget(Image& image, const ExrChannels& chosen, const Imath::Box2i& window) {
  const std::size_t pixelSize = 4 * sizeof(Float32);
  Imf::FrameBuffer target;
  for (int i = 0; i < 4; ++i) {
    if ((chosen.isGray && (i == 1 || i == 2)) || (i == 3 && !chosen.hasAlpha)) continue;
    target.insert(chosen.names[i], Imf::Slice::Make(Imf::FLOAT, image.rgba.GetFirst() + i, window, pixelSize,
                                                    pixelSize * static_cast<std::size_t>(image.width), 1, 1, 1.0));
  }
  return target;
}

Result<Image> ReadPixels(Block<const Byte> bytes, std::string_view layer) {
  OSTRA_RETURN_IF_ERROR(CheckHeader(bytes));
  MemoryReader reader(bytes);
  Imf::InputFile file(reader, 0);
  const Imf::ChannelList& channels = file.header().channels();
  OSTRA_ASSIGN_OR_RETURN(const ExrChannels chosen, ChooseExrChannels(channels, layer));
  const Imath::Box2i window = file.header().dataWindow();
  OSTRA_ASSIGN_OR_RETURN(Image image, Image::Create(window.max.x - window.min.x + 1, window.max.y - window.min.y + 1));
  if (!chosen.hasAlpha)
    for (Int i = 3; i < image.rgba.GetCount(); i += 4) image.rgba[i] = 1;
  file.setFrameBuffer(MakeTarget(image, chosen, window));
  file.readPixels(window.min.y, window.max.y);
  if (chosen.isGray) CopyGray(image);
  image.description = Describe(channels, chosen);
  return image;
}

// Values of four channels a pixel, as they are written.
struct Source {
  Imf::PixelType type;
  const char* first;
  std::size_t valueSize;  // in bytes
};

Result<BaseArray<HalfFloat>> MakeHalves(const ImageView& image) {
  BaseArray<HalfFloat> halves;
  OSTRA_RETURN_IF_ERROR(halves.Resize(image.rgba.GetCount()));
  for (Int i = 0; i < halves.GetCount(); ++i) halves[i] = HalfFloat(image.rgba[i]);
  return halves;
}

// The channels in the file, and where each one lies in a pixel.
void AddChannels(Int count, const Source& source, std::size_t width, Imf::Header& header, Imf::FrameBuffer& target) {
  const std::string_view names = count <= 2 ? std::string_view("YA") : std::string_view("RGBA");
  for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
    const char name[2] = {names[i], 0};
    const std::size_t offset = (name[0] == 'A' ? 3 : i) * source.valueSize;
    header.channels().insert(name, Imf::Channel(source.type));
    target.insert(name, Imf::Slice::Make(source.type, source.first + offset, header.dataWindow(), 4 * source.valueSize,
                                         4 * source.valueSize * width));
  }
}

Result<BaseArray<Byte>> WritePixels(const ImageView& image, const PictureSettings& settings) {
  Source source{Imf::FLOAT, reinterpret_cast<const char*>(image.rgba.GetFirst()), sizeof(Float32)};
  BaseArray<HalfFloat> halves;
  if (settings.bits == 16) {
    OSTRA_ASSIGN_OR_RETURN(halves, MakeHalves(image));
    source = {Imf::HALF, reinterpret_cast<const char*>(halves.GetFirst()), sizeof(HalfFloat)};
  }
  MemorySink sink;
  {
    const int width = static_cast<int>(image.width), height = static_cast<int>(image.height);
    Imf::Header header(width, height);
    header.compression() = Imf::ZIP_COMPRESSION;
    Imf::FrameBuffer frame;
    AddChannels(settings.channels == 0 ? 4 : settings.channels, source, static_cast<std::size_t>(width), header, frame);
    MemoryWriter writer(sink);
    Imf::OutputFile file(writer, header, 0);
    file.setFrameBuffer(frame);
    file.writePixels(height);
  }  // the file's table of lines is written when it is closed
  return sink.Take();
}

}  // namespace

Result<Image> DecodeExr(Block<const Byte> bytes) { return DecodeExrLayer(bytes, {}); }

Result<Image> DecodeExrLayer(Block<const Byte> bytes, std::string_view layer) {
  return CallLibrary<Image>(kDamaged, [bytes, layer] { return ReadPixels(bytes, layer); });
}

Result<BaseArray<Byte>> EncodeExr(const ImageView& image, const PictureSettings& settings) {
  OSTRA_CHECK_ARGUMENT(image.width > 0 && image.height > 0 && image.rgba.GetCount() == 4 * image.width * image.height);
  OSTRA_RETURN_IF_ERROR(CheckPictureSettings(image, settings, {"OpenEXR", {16, 32}, {1, 2, 3, 4}}));
  return CallLibrary<BaseArray<Byte>>("the picture cannot be written as OpenEXR",
                                      [&] { return WritePixels(image, settings); });
}

}  // namespace ostra

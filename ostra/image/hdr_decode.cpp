#include <cmath>

#include "ostra/core/format.h"
#include "ostra/image/hdr.h"
#include "ostra/image/hdr_header.h"
#include "ostra/image/orientation.h"

OSTRA_UNIT("hdr");

namespace ostra {

namespace {

Result<void> MakeEndError() { return OSTRA_ILLEGAL_ARGUMENT("the Radiance picture is damaged: it ends too early."); }

// Reads one line after the other as bytes: red, green, blue and the exponent of each pixel.
class LineReader {
 public:
  LineReader(Block<const Byte> bytes, Int position, Int length) : _bytes(bytes), _position(position), _length(length) {}

  // `line`: 4 bytes a pixel. Error: illegal argument for runs that leave the line, and for a file that ends in it.
  Result<void> Read(Byte* line) {
    if (Remaining() < 4) return MakeEndError();
    const Byte* const start = _bytes.GetFirst() + _position;
    const Bool isMarked = start[0] == 2 && start[1] == 2 && start[2] < 128;
    if (!isMarked || _length < 8 || _length > 32767) return ReadPixels(line);
    if ((Int(start[2]) << 8 | start[3]) != _length)
      return OSTRA_ILLEGAL_ARGUMENT("the Radiance picture is damaged: a line says that it has @ pixels, not @.",
                                    Int(start[2]) << 8 | start[3], _length);
    _position += 4;
    for (Int channel = 0; channel < 4; ++channel) OSTRA_RETURN_IF_ERROR(ReadChannel(line + channel));
    return OK;
  }

 private:
  Int Remaining() const { return _bytes.GetCount() - _position; }

  Result<void> ReadChannel(Byte* target) {
    for (Int x = 0; x < _length;) {
      if (Remaining() < 2) return MakeEndError();
      const Int code = _bytes[_position++];
      const Int count = code > 128 ? code - 128 : code;
      if (count == 0 || count > _length - x)
        return OSTRA_ILLEGAL_ARGUMENT("the Radiance picture is damaged: @ values do not fit behind the first @ of @.",
                                      count, x, _length);
      if (code <= 128 && Remaining() < count) return MakeEndError();
      for (Int i = 0; i < count; ++i, ++x) target[4 * x] = _bytes[code > 128 ? _position : _position + i];
      _position += code > 128 ? 1 : count;
    }
    return OK;
  }

  // Pixels of four bytes. The colour 1, 1, 1 repeats the pixel before, as often as the exponent says; of several such
  // in a row each one counts 256 times as much as the one before.
  Result<void> ReadPixels(Byte* line) {
    Int shift = 0;
    for (Int x = 0; x < _length;) {
      if (Remaining() < 4) return MakeEndError();
      const Byte* const source = _bytes.GetFirst() + _position;
      _position += 4;
      if (source[0] != 1 || source[1] != 1 || source[2] != 1) {
        MemCopy(line + 4 * x++, source, 4);
        shift = 0;
        continue;
      }
      const Int count = Int(source[3]) << shift;
      if (x == 0 || count > _length - x || shift > 16)
        return OSTRA_ILLEGAL_ARGUMENT("the Radiance picture is damaged: @ pixels do not fit behind the first @ of @.",
                                      count, x, _length);
      for (Int i = 0; i < count; ++i, ++x) MemCopy(line + 4 * x, line + 4 * (x - 1), 4);
      shift += 8;
    }
    return OK;
  }

  const Block<const Byte> _bytes;
  Int _position;
  const Int _length;
};

void ToFloats(const Byte* line, Int length, Float32* rgba) {
  for (Int x = 0; x < length; ++x, line += 4, rgba += 4) {
    const Float32 step = line[3] == 0 ? 0.0f : std::ldexp(1.0f, int(line[3]) - 136);
    for (int c = 0; c < 3; ++c) rgba[c] = static_cast<Float32>(line[c]) * step;
    rgba[3] = 1;
  }
}

}  // namespace

Result<Image> DecodeHdr(Block<const Byte> bytes) {
  OSTRA_ASSIGN_OR_RETURN(const HdrLayout layout, ReadHdrHeader(bytes));
  OSTRA_ASSIGN_OR_RETURN(Image image, Image::Create(layout.lineLength, layout.lineCount));
  BaseArray<Byte> line;
  OSTRA_RETURN_IF_ERROR(line.Resize(4 * layout.lineLength));
  LineReader reader(bytes, layout.pixelStart, layout.lineLength);
  for (Int y = 0; y < layout.lineCount; ++y) {
    OSTRA_RETURN_IF_ERROR(reader.Read(line.GetFirst()));
    ToFloats(line.GetFirst(), layout.lineLength, image.rgba.GetFirst() + 4 * y * layout.lineLength);
  }
  image.description.channels = 3;
  image.description.colors = PictureColors::Linear;  // as the format says
  return TurnUpright(std::move(image), layout.orientation);
}

}  // namespace ostra

#include <algorithm>
#include <charconv>

#include "ostra/core/format.h"
#include "ostra/image/orientation.h"
#include "ostra/image/tiff.h"
#include "ostra/image/tiff_layout.h"
#include "ostra/image/tiff_samples.h"
#include "ostra/image/tiff_session.h"

OSTRA_UNIT("tiff");

namespace ostra {

namespace {

constexpr std::string_view kDamaged = "the TIFF picture is damaged";
constexpr Int kMaxPages = 1000;

struct Pages {
  Int count = 0;
  tdir_t wanted = 0;  // where the wanted page is among all that the library counts
};

// Whether the current page is a picture of its own.
Bool IsPage(TIFF* tiff) {
  uint32_t kind = 0;
  TIFFGetFieldDefaulted(tiff, TIFFTAG_SUBFILETYPE, &kind);
  return (kind & (FILETYPE_REDUCEDIMAGE | FILETYPE_MASK)) == 0;
}

Result<Pages> FindPage(const TiffSession& session, Int number) {
  Pages pages;
  TIFF* const tiff = session.Get();
  for (Int i = 0; i < kMaxPages; ++i) {
    if (IsPage(tiff) && ++pages.count == number) pages.wanted = TIFFCurrentDirectory(tiff);
    if (TIFFLastDirectory(tiff)) return pages;
    if (!TIFFReadDirectory(tiff)) return session.MakeError(kDamaged);
  }
  return OSTRA_ILLEGAL_ARGUMENT("the TIFF picture has more than @ pages.", kMaxPages);
}

Result<void> ChoosePage(const TiffSession& session, std::string_view page) {
  Int number = 1;
  const auto [end, code] = std::from_chars(page.data(), page.data() + page.size(), number);
  const Bool isNumber = page.empty() || (code == std::errc() && end == page.data() + page.size());
  OSTRA_ASSIGN_OR_RETURN(const Pages pages, FindPage(session, isNumber ? number : 1));
  if (pages.count == 0) return OSTRA_ILLEGAL_ARGUMENT("the TIFF file has no page that is a picture of its own.");
  if (page.empty() && pages.count > 1)
    return OSTRA_ILLEGAL_ARGUMENT("the TIFF file has @ pages: name one, from #1 to #@ behind the name of the file.",
                                  pages.count, pages.count);
  if (!isNumber || number < 1 || number > pages.count)
    return OSTRA_ILLEGAL_ARGUMENT("the TIFF file has no page \"@\": it has @, counted from 1.", page, pages.count);
  if (!TIFFSetDirectory(session.Get(), pages.wanted)) return session.MakeError(kDamaged);
  return OK;
}

class PixelReader {
 public:
  PixelReader(const TiffSession& session, const TiffLayout& layout) : _session(session), _layout(layout) {}

  Result<Image> Read() {
    OSTRA_ASSIGN_OR_RETURN(Image image, Image::Create(_layout.width, _layout.height));
    OSTRA_RETURN_IF_ERROR(_block.Resize(_layout.blockBytes));
    const Int samplesPerBlockRow = _layout.blockWidth * _layout.samples / _layout.planes;
    OSTRA_RETURN_IF_ERROR(_samples.Resize(samplesPerBlockRow));
    if (!_layout.hasAlpha)
      for (Int i = 3; i < image.rgba.GetCount(); i += 4) image.rgba[i] = 1;
    for (Int plane = 0; plane < _layout.planes; ++plane)
      for (Int y = 0; y < _layout.height; y += _layout.blockHeight)
        for (Int x = 0; x < _layout.width; x += _layout.blockWidth)
          OSTRA_RETURN_IF_ERROR(ReadBlock(plane, x, y, image));
    image.description = _layout.description;
    return image;
  }

 private:
  Result<void> ReadBlock(Int plane, Int x, Int y, Image& image) {
    TIFF* const tiff = _session.Get();
    const auto column = static_cast<uint32_t>(x), row = static_cast<uint32_t>(y);
    const auto sample = static_cast<uint16_t>(plane);
    const Int rows = std::min(_layout.blockHeight, _layout.height - y);
    const Int size = _layout.isTiled ? TIFFReadEncodedTile(tiff, TIFFComputeTile(tiff, column, row, 0, sample),
                                                           _block.GetFirst(), _layout.blockBytes)
                                     : TIFFReadEncodedStrip(tiff, TIFFComputeStrip(tiff, row, sample),
                                                            _block.GetFirst(), _layout.blockBytes);
    if (size < 0) return _session.MakeError(kDamaged);
    if (size < rows * _layout.rowBytes) return OSTRA_ILLEGAL_ARGUMENT("@: @ rows have @ bytes.", kDamaged, rows, size);
    for (Int i = 0; i < rows; ++i)
      PlaceRow(plane, _block.GetFirst() + i * _layout.rowBytes, std::min(_layout.blockWidth, _layout.width - x),
               image.rgba.GetFirst() + 4 * ((y + i) * _layout.width + x));
    return OK;
  }

  // Of one plane, or of all samples.
  void PlaceRow(Int plane, const Byte* row, Int width, Float32* target) {
    const Int samples = _layout.samples / _layout.planes;
    WidenTiffSamples(_layout, row, width * samples, _samples.GetFirst());
    const Float32* source = _samples.GetFirst();
    for (Int x = 0; x < width; ++x, target += 4)
      for (Int s = plane; s < plane + samples; ++s) PlaceSample(s, *source++, target);
  }

  void PlaceSample(Int sample, Float32 value, Float32* pixel) const {
    if (_layout.palette[0]) {
      for (Int c = 0; c < 3; ++c)
        pixel[c] = static_cast<Float32>(_layout.palette[c][static_cast<Int>(value)]) / 65535.0f;
    } else if (!_layout.isGray) {
      pixel[sample] = value;
    } else if (sample == 1) {
      pixel[3] = value;
    } else {
      pixel[0] = pixel[1] = pixel[2] = _layout.isInverted ? 1 - value : value;
    }
  }

  const TiffSession& _session;
  const TiffLayout& _layout;
  BaseArray<Byte> _block;
  BaseArray<Float32> _samples;  // of a row of the block
};

}  // namespace

Result<Image> DecodeTiff(Block<const Byte> bytes, std::string_view page) {
  TiffSession session(bytes);
  if (!session.Get()) return session.MakeError(kDamaged);
  OSTRA_RETURN_IF_ERROR(ChoosePage(session, page));
  OSTRA_ASSIGN_OR_RETURN(const TiffLayout layout, ReadTiffLayout(session.Get(), bytes.GetCount()));
  PixelReader reader(session, layout);
  OSTRA_ASSIGN_OR_RETURN(Image image, reader.Read());
  return TurnUpright(std::move(image), layout.orientation);
}

}  // namespace ostra

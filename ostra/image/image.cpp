#include "ostra/image/image.h"

#include <algorithm>
#include <iterator>

#include "ostra/core/large_pages.h"
#include "ostra/io/file.h"

OSTRA_UNIT("image");

namespace ostra {

namespace {

constexpr Byte kPngStart[] = {0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A};
constexpr Byte kExrStart[] = {0x76, 0x2F, 0x31, 0x01};

template <std::size_t SIZE>
Bool StartsWith(Block<const Byte> bytes, const Byte (&start)[SIZE]) {
  return bytes.GetCount() >= Int(SIZE) && std::equal(std::begin(start), std::end(start), bytes.GetFirst());
}

Result<Image> Decode(Block<const Byte> bytes) {
  if (StartsWith(bytes, kPngStart)) return DecodePng(bytes);
  if (StartsWith(bytes, kExrStart)) return DecodeExr(bytes);
  return OSTRA_ILLEGAL_ARGUMENT("this is neither a PNG nor an OpenEXR picture.");
}

Result<BaseArray<Byte>> Encode(const Url& url, const ImageView& image) {
  const String suffix = url.GetSuffix();
  if (suffix == "png") return EncodePng(image);
  if (suffix == "exr") return EncodeExr(image);
  return OSTRA_ILLEGAL_ARGUMENT("@ cannot be written: pictures have the suffix \"png\" or \"exr\", not \"@\".", url,
                                suffix);
}

}  // namespace

Result<Image> Image::Create(Int width, Int height) {
  if (width < 1 || height < 1) return OSTRA_ILLEGAL_ARGUMENT("A picture cannot have @ x @ pixels.", width, height);
  if (width > kMaxImagePixels / height)
    return OSTRA_ILLEGAL_ARGUMENT("A picture of @ x @ pixels is too large, the limit is @ pixels.", width, height,
                                  kMaxImagePixels);
  Image image{width, height, {}};
  const Int count = 4 * width * height;
  OSTRA_RETURN_IF_ERROR(image.rgba.Reserve(count));
  // Pages of the usual size make the first writing several times slower.
  AdviseLargePages(image.rgba.GetFirst(), count * Int(sizeof(Float32)));
  OSTRA_RETURN_IF_ERROR(image.rgba.Resize(count));
  return image;
}

Result<Image> ReadImage(const Url& url) {
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<Byte> bytes, ReadFileToMemory(url));
  auto image = Decode(bytes.GetBlock());
  if (!image && image.GetError().GetKind() == kIllegalArgumentError)
    return OSTRA_ILLEGAL_ARGUMENT("@ cannot be read: @", url, image.GetError());
  return image;
}

Result<void> WriteImage(const Url& url, const ImageView& image) {
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<Byte> bytes, Encode(url, image));
  return WriteFileAtomically(url, bytes.GetBlock());
}

}  // namespace ostra

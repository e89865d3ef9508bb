#include "ostra/image/image.h"

#include "ostra/core/large_pages.h"
#include "ostra/image/picture_format.h"
#include "ostra/io/file.h"

OSTRA_UNIT("image");

namespace ostra {

namespace {

Result<Image> Decode(Block<const Byte> bytes, std::string_view layer) {
  const PictureFormat* format = FindPictureFormat(bytes);
  if (!format)
    return OSTRA_ILLEGAL_ARGUMENT("its first bytes are those of no known picture; known are @.",
                                  OSTRA_PICTURE_SUFFIXES);
  if (!layer.empty() && !format->hasLayers)
    return OSTRA_ILLEGAL_ARGUMENT("@ pictures have no layers, and \"@\" is asked for.", format->name, layer);
  OSTRA_ASSIGN_OR_RETURN(Image image, format->decode(bytes, layer));
  image.description.format = format->name;
  return image;
}

}  // namespace

Result<Image> Image::Create(Int width, Int height) {
  if (width < 1 || height < 1) return OSTRA_ILLEGAL_ARGUMENT("A picture cannot have @ x @ pixels.", width, height);
  if (width > kMaxImagePixels / height)
    return OSTRA_ILLEGAL_ARGUMENT("A picture of @ x @ pixels is too large, the limit is @ pixels.", width, height,
                                  kMaxImagePixels);
  Image image{width, height, {}, {}};
  const Int count = 4 * width * height;
  OSTRA_RETURN_IF_ERROR(image.rgba.Reserve(count));
  // Pages of the usual size make the first writing several times slower.
  AdviseLargePages(image.rgba.GetFirst(), count * Int(sizeof(Float32)));
  OSTRA_RETURN_IF_ERROR(image.rgba.Resize(count));
  return image;
}

Result<Image> ReadImage(const Url& url) {
  const PictureSource source = SplitPictureSource(url);
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<Byte> bytes, ReadFileToMemory(source.file));
  auto image = Decode(bytes.GetBlock(), source.layer.GetView());
  if (!image && image.GetError().GetKind() == kIllegalArgumentError)
    return OSTRA_ILLEGAL_ARGUMENT("@ cannot be read: @", url, image.GetError());
  return image;
}

Result<void> WriteImage(const Url& url, const ImageView& image, const PictureSettings& settings) {
  const PictureFormat* format = FindPictureFormat(url);
  if (!format)
    return OSTRA_ILLEGAL_ARGUMENT("@ cannot be written: its suffix \"@\" is that of no known picture; known are @.",
                                  url, url.GetSuffix(), OSTRA_PICTURE_SUFFIXES);
  const auto bytes = format->encode(image, settings);
  if (!bytes && bytes.GetError().GetKind() == kIllegalArgumentError)
    return OSTRA_ILLEGAL_ARGUMENT("@ cannot be written: @", url, bytes.GetError());
  if (!bytes) return bytes.GetError();
  return WriteFileAtomically(url, bytes->GetBlock());
}

}  // namespace ostra

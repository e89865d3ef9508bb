#include "plans/textures/load_texture.h"

#include <algorithm>

#include "ostra/arrays/npy_file.h"
#include "plans/buffers/buffer_file.h"
#include "plans/buffers/file_kind.h"
#include "plans/textures/picture_texels.h"
#include "plans/usage_error.h"

OSTRA_UNIT("load_texture");

namespace ostra::plans {

namespace {

using Axes = std::vector<Int>;  // the slowest first, x last

constexpr Int kMaxTexels = 0xFFFFFFFF;  // samplers count texels in 32 bits

// Sides as users give them, x first: "640 x 480".
std::string DescribeAxes(const Axes& axes) {
  std::string text;
  for (auto axis = axes.rbegin(); axis != axes.rend(); ++axis)
    text += (text.empty() ? "" : " x ") + std::to_string(*axis);
  return text;
}

Axes MakeAxes(const Extents& size, Int dimensions) {
  Axes axes = {size.depth, size.height, size.width};
  axes.erase(axes.begin(), axes.end() - dimensions);
  return axes;
}

Extents MakeExtents(const Axes& axes) {
  Axes all(3 - axes.size(), 1);
  all.insert(all.end(), axes.begin(), axes.end());
  return {all[2], all[1], all[0]};
}

// What a file holds.
struct Source {
  BaseArray<Byte> texels;
  Axes axes;  // empty when the file knows none
};

class TextureLoader {
 public:
  TextureLoader(std::string_view name, const TextureLayout& layout, const TextureSettings& settings,
                const SettingNames& names)
      : _name(name), _layout(layout), _settings(settings), _names(names), _texelSize(layout.GetTexelType().GetSize()) {}

  Result<TextureContents> Load(const std::vector<std::string>& sources) {
    if (sources.size() > 1 && _settings.layers > 0)
      return OSTRA_USAGE_ERROR("@ @: layers: there are @ files, and each is a layer", _names.texture, _name,
                               sources.size());
    std::vector<Source> parts;
    for (const std::string& source : sources) {
      OSTRA_ASSIGN_OR_RETURN(Source part, LoadSource(source));
      if (!_settings.size.IsKnown() && !parts.empty() && part.axes != parts.front().axes)
        return OSTRA_ILLEGAL_ARGUMENT("@ has @ texels and @ has @, but all parts of the texture \"@\" have one size.",
                                      sources.front(), DescribeAxes(parts.front().axes), source,
                                      DescribeAxes(part.axes), _name);
      parts.push_back(std::move(part));
    }
    TextureContents contents;
    OSTRA_RETURN_IF_ERROR(ChooseSize(sources.front(), parts, contents));
    OSTRA_RETURN_IF_ERROR(Join(sources, parts, contents));
    contents.sourceSize = contents.size;
    OSTRA_RETURN_IF_ERROR(WidenThinAxes(contents));
    return contents;
  }

 private:
  Int GetTexelCount(const Source& source) const { return source.texels.GetCount() / _texelSize; }

  Result<Source> LoadSource(const std::string& source) {
    OSTRA_ASSIGN_OR_RETURN(const Url file, Url::Create(source));
    const FileKind kind = GetFileKind(file);
    if (kind == FileKind::Picture) return LoadPicture(file);
    if (!_settings.channels.empty())
      return OSTRA_USAGE_ERROR("@ @: channels: @ is no picture", _names.texture, _name, source);
    if (kind == FileKind::Npy) return LoadArray(file);
    auto contents = LoadBuffer(source, _layout.GetTexelType());
    if (!contents) {
      if (contents.GetError().GetKind() != kUsageError) return contents.TakeError();
      return OSTRA_USAGE_ERROR("@ @: @", _names.input, _name, contents.GetError());
    }
    Source result;
    OSTRA_RETURN_IF_ERROR(result.texels.Resize(contents->elements.GetCount() * _texelSize));
    MemCopy(result.texels.GetFirst(), contents->elements.GetFirst(), result.texels.GetCount());
    const Bool isGenerated = kind == FileKind::Unknown;
    if (isGenerated) result.axes = MakeAxes(contents->size, 3);
    if (!isGenerated && _layout.dimensions == 1) result.axes = {contents->elements.GetCount()};
    return result;
  }

  Result<Source> LoadPicture(const Url& file) {
    OSTRA_ASSIGN_OR_RETURN(const Image image, ReadImage(file));
    auto texels = TakeChannels(image, _layout, _settings.channels);
    if (texels) return Source{std::move(*texels), {image.height, image.width}};
    if (texels.GetError().GetKind() == kUsageError)
      return OSTRA_USAGE_ERROR("@ @: @: @", _names.texture, _name, file, texels.GetError());
    if (texels.GetError().GetKind() == kIllegalArgumentError)
      return OSTRA_ILLEGAL_ARGUMENT("@ does not fit the texture \"@\" (@): @.", file, _name, _layout.name,
                                    texels.GetError());
    return texels.TakeError();
  }

  Result<Source> LoadArray(const Url& file) {
    OSTRA_ASSIGN_OR_RETURN(const NumberLayout element, GetNumberLayout(_layout.GetTexelType()));
    OSTRA_ASSIGN_OR_RETURN(const NumberFile array, ReadNumberFile(file, *element.number));
    Source result;
    result.axes = array.numbers.shape;
    if (_layout.channels > 1) {
      if (result.axes.empty() || result.axes.back() != _layout.channels)
        return OSTRA_ILLEGAL_ARGUMENT(
            "@ does not fit the texture \"@\" (@), whose texels have @ numbers: its last axis has @.", file, _name,
            _layout.name, _layout.channels, result.axes.empty() ? 1 : result.axes.back());
      result.axes.pop_back();
    }
    const Block<const Byte> bytes = array.numbers.numbers;
    if (bytes.IsEmpty()) return OSTRA_ILLEGAL_ARGUMENT("@ is empty.", file);
    OSTRA_RETURN_IF_ERROR(result.texels.Resize(bytes.GetCount()));
    MemCopy(result.texels.GetFirst(), bytes.GetFirst(), bytes.GetCount());
    return result;
  }

  // The size of a layer, and how many there are.
  Result<void> ChooseSize(const std::string& source, const std::vector<Source>& parts, TextureContents& contents) {
    contents.layers = std::max(static_cast<Int>(parts.size()), std::max<Int>(_settings.layers, 1));
    if (_settings.size.IsKnown()) {
      contents.size = _settings.size;
      return OK;
    }
    Axes axes = parts.front().axes;
    if (axes.empty())
      return OSTRA_USAGE_ERROR("@ does not say the size of the texture \"@\" (@): give @ @:size=@", source, _name,
                               _layout.name, _names.texture, _name, GetSizeForm());
    const std::size_t dimensions = static_cast<std::size_t>(_layout.dimensions);
    const Axes whole = axes;
    if (_settings.layers > 0) {
      TakeLayers(axes);
    } else if (parts.size() > 1 && axes.size() + 1 == dimensions) {
      axes.insert(axes.begin(), contents.layers);  // slices of a volume, or rows of a picture
      contents.layers = 1;
    } else {
      while (axes.size() > dimensions && axes.front() == 1) axes.erase(axes.begin());
      while (axes.size() > dimensions && axes.back() == 1) axes.pop_back();
    }
    if (axes.size() != dimensions)
      return OSTRA_USAGE_ERROR(
          "@ has @ texels, which does not fit the texture \"@\" (@): say how to read it with @ @:size=@@", source,
          DescribeAxes(whole), _name, _layout.name, _names.texture, _name, GetSizeForm(),
          axes.size() > dimensions ? " and layers=COUNT" : "");
    contents.size = MakeExtents(axes);
    return OK;
  }

  // The slowest axis is that of the layers, or they lie along it. Otherwise the axes stay too many.
  void TakeLayers(Axes& axes) const {
    const std::size_t dimensions = static_cast<std::size_t>(_layout.dimensions);
    if (axes.size() == dimensions + 1 && axes.front() == _settings.layers)
      axes.erase(axes.begin());
    else if (axes.size() == dimensions && axes.front() % _settings.layers == 0)
      axes.front() /= _settings.layers;
    else if (axes.size() == dimensions)
      axes.insert(axes.begin(), 0);
  }

  const char* GetSizeForm() const {
    constexpr const char* kForms[] = {"WIDTH", "WIDTHxHEIGHT", "WIDTHxHEIGHTxDEPTH"};
    return kForms[_layout.dimensions - 1];
  }

  // Puts the parts one behind the other. Samplers never compare the texels with the size, so it is done here.
  Result<void> Join(const std::vector<std::string>& sources, std::vector<Source>& parts, TextureContents& contents) {
    if (contents.size.GetCount() > kMaxTexels / contents.layers)
      return OSTRA_ILLEGAL_ARGUMENT("The texture \"@\" has @ x @ texels, and at most @ are possible.", _name,
                                    contents.layers, contents.size.GetCount(), kMaxTexels);
    const Int needed = contents.size.GetCount() * contents.layers / static_cast<Int>(parts.size());
    for (std::size_t i = 0; i < parts.size(); ++i) {
      const Int count = GetTexelCount(parts[i]);
      if (count != needed)
        return OSTRA_ILLEGAL_ARGUMENT(
            "@ has @ texels (@ bytes), and the texture \"@\" (@) of @@ needs @ (@ bytes).", sources[i], count,
            parts[i].texels.GetCount(), _name, _layout.name, DescribeAxes(MakeAxes(contents.size, _layout.dimensions)),
            parts.size() == 1 && contents.layers > 1 ? " with " + std::to_string(contents.layers) + " layers" : "",
            needed, needed * _texelSize);
    }
    if (parts.size() == 1) {
      contents.texels = std::move(parts.front().texels);
      return OK;
    }
    OSTRA_RETURN_IF_ERROR(contents.texels.Resize(needed * _texelSize * static_cast<Int>(parts.size())));
    Byte* target = contents.texels.GetFirst();
    for (Source& part : parts) {
      const BaseArray<Byte> texels = std::move(part.texels);
      MemCopy(target, texels.GetFirst(), texels.GetCount());
      target += texels.GetCount();
    }
    return OK;
  }

  // A program counts the axes that are longer than one texel, and reads a thinner texture along the wrong ones.
  Result<void> WidenThinAxes(TextureContents& contents) {
    const Axes thin = MakeAxes(contents.size, _layout.dimensions);
    Axes wide = thin;
    for (Int& side : wide) side = std::max<Int>(side, 2);
    if (wide == thin) return OK;
    const Extents size = MakeExtents(wide);
    BaseArray<Byte> texels;
    OSTRA_RETURN_IF_ERROR(texels.Resize(size.GetCount() * contents.layers * _texelSize));
    Byte* target = texels.GetFirst();
    const auto clamp = [](Int index, Int side) { return std::min(index, side - 1); };
    for (Int layer = 0; layer < contents.layers; ++layer)
      for (Int z = 0; z < size.depth; ++z)
        for (Int y = 0; y < size.height; ++y)
          for (Int x = 0; x < size.width; ++x, target += _texelSize) {
            const Extents& from = contents.size;
            const Int slice = layer * from.depth + clamp(z, from.depth);
            const Int texel = (slice * from.height + clamp(y, from.height)) * from.width + clamp(x, from.width);
            MemCopy(target, contents.texels.GetFirst() + texel * _texelSize, _texelSize);
          }
    const Int axisCount = std::count_if(thin.begin(), thin.end(), [](Int side) { return side > 1; });
    const std::string meaning =
        axisCount == 0 ? "is no texture" : "counts as " + std::to_string(axisCount) + "-dimensional";
    contents.notes.push_back("the texture \"" + std::string(_name) + "\" has " + DescribeAxes(thin) +
                             " texels, which " + meaning + "; it is widened to " + DescribeAxes(wide) +
                             " by repeating them");
    contents.texels = std::move(texels);
    contents.size = size;
    return OK;
  }

  const std::string_view _name;
  const TextureLayout& _layout;
  const TextureSettings& _settings;
  const SettingNames& _names;
  const Int _texelSize;  // bytes
};

}  // namespace

Result<TextureContents> LoadTexture(std::string_view name, const std::vector<std::string>& sources,
                                    const TextureLayout& layout, const TextureSettings& settings,
                                    const SettingNames& names) {
  return TextureLoader(name, layout, settings, names).Load(sources);
}

TextureBindData DescribeTexture(const TextureLayout& layout, const TextureSettings& settings,
                                const TextureContents& contents) {
  TextureBindData description;
  description._dataSize = contents.texels.GetCount();
  description._dimensions = {static_cast<UInt32>(contents.size.width), static_cast<UInt32>(contents.size.height),
                             static_cast<UInt32>(contents.size.depth)};
  description._format = layout.format;
  description._numChannels = static_cast<UInt32>(layout.channels);
  description._filter = layout.filter;
  description._normalizedCoordinates = settings.isNormalized;
  description._sRGB = settings.isSrgb;
  for (Int i = 0; i < 3; ++i) description._wrapModes[i] = settings.wrapModes[i];
  for (Int i = 0; i < 4; ++i) description._borderColor[i] = settings.border[i];
  return description;
}

}  // namespace ostra::plans

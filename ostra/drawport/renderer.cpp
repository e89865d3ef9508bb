#include "ostra/drawport/renderer.h"

#include <algorithm>
#include <limits>

#include "ostra/core/format.h"
#include "ostra/math/half_float.h"

OSTRA_UNIT("drawport_renderer");

namespace ostra {
namespace {

template <class Number>
Number ReadNumber(const Byte* bytes) {
  Number number;
  MemCopy(&number, bytes, sizeof(number));
  return number;
}

template <class Number>
Float32 ReadShare(const Byte* bytes) {
  const Float32 share =
      static_cast<Float32>(ReadNumber<Number>(bytes)) / static_cast<Float32>(std::numeric_limits<Number>::max());
  return std::max(share, -1.0f);
}

Float32 ReadChannel(const PixelFormat& format, const Byte* bytes) {
  const Bool isSigned = format.valueClass == PixelValueClass::SignedInteger;
  if (format.valueClass == PixelValueClass::FloatingPoint)
    return format.bitsPerChannel == 16 ? static_cast<Float32>(ReadNumber<HalfFloat>(bytes))
                                       : ReadNumber<Float32>(bytes);
  if (format.bitsPerChannel == 8) return isSigned ? ReadShare<Int8>(bytes) : ReadShare<UInt8>(bytes);
  if (format.bitsPerChannel == 16) return isSigned ? ReadShare<Int16>(bytes) : ReadShare<UInt16>(bytes);
  return isSigned ? static_cast<Float32>(ReadNumber<Int32>(bytes)) : static_cast<Float32>(ReadNumber<UInt32>(bytes));
}

}  // namespace

DrawportRenderer::~DrawportRenderer() {
  if (_target) static_cast<void>(End().IsOk());  // a destructor cannot report it
}

Result<DrawportRenderTargetRef> DrawportRenderer::CreateTarget(const DrawportRenderTargetDescription& description) {
  if (!_context) return OSTRA_ILLEGAL_STATE("A renderer needs a drawport context.");
  return _context->GetDrawport()->GetDrawportCache()->CreateRenderTarget(*_context, description);
}

Result<void> DrawportRenderer::Begin(const DrawportRenderTargetRef& target, const DrawportClearValues& clear) {
  if (!_context) return OSTRA_ILLEGAL_STATE("A renderer needs a drawport context.");
  if (!target) return OSTRA_ILLEGAL_ARGUMENT("A draw pass needs a target.");
  OSTRA_RETURN_IF_ERROR(_context->GetCommandList().BeginDrawPass(*target, clear));
  _target = target;
  return OK;
}

Result<void> DrawportRenderer::Draw(const DrawportDrawCall& call) {
  if (!_target) return OSTRA_ILLEGAL_STATE("There is no draw pass.");
  return _context->GetCommandList().Draw(call);
}

Result<void> DrawportRenderer::End() {
  if (!_target) return OSTRA_ILLEGAL_STATE("There is no draw pass.");
  Result<void> ended = _context->GetCommandList().EndDrawPass();
  _target = {};
  return ended;
}

Result<void> DrawportRenderer::Execute(Bool wait) {
  if (!_context) return OSTRA_ILLEGAL_STATE("A renderer needs a drawport context.");
  return _context->GetCommandList().Execute(wait);
}

Result<BaseArray<Byte>> DrawportRenderer::ReadTexture(DrawportTexture& texture) {
  if (!_context) return OSTRA_ILLEGAL_STATE("A renderer needs a drawport context.");
  const DrawportTextureDescription& description = texture.GetDescription();
  const auto [width, height, depth] = description.extent;
  const Int rowSize = width * description.format->GetBytesPerPixel();
  const DrawportRef drawport = _context->GetDrawport();
  const Int capacity = drawport->GetCapabilities().GetValue(DrawportCapability::ReadBackStagingCapacity);
  OSTRA_ASSIGN_OR_RETURN(const Int pitch, texture.GetStagingBufferSize({}, {width, 1, 1}, 0, 0));
  // Whole rows at a time, as many as fit.
  const Int rowsAtOnce = std::clamp<Int>(capacity / pitch, 1, height);
  BaseArray<Byte> texels;
  OSTRA_RETURN_IF_ERROR(texels.Resize(rowSize * height));
  DrawportCommandList& list = _context->GetCommandList();
  OSTRA_ASSIGN_OR_RETURN(DrawportStagingBuffer * staging,
                         drawport->GetDrawportCache()->AllocStagingBuffer(
                             *_context, {.bytes = pitch * rowsAtOnce, .use = DrawportStagingUse::HostRead}));
  Result<void> result = OK;
  for (Int row = 0; row < height && result; row += rowsAtOnce) {
    const Int rows = std::min(rowsAtOnce, height - row);
    const auto mapped =
        list.PrivateMapTexture(*staging, DrawportMapMode::Read, texture, {{0, row, 0}, {width, rows, 1}}, 0, 0, 0, 0);
    if (!mapped) {
      list.ReleaseStagingBuffer(staging);
      return mapped.GetError();
    }
    for (Int i = 0; i < rows; ++i) MemCopy(texels.GetFirst() + (row + i) * rowSize, *mapped + i * pitch, rowSize);
    result = list.UnmapTexture(*staging);
  }
  list.ReleaseStagingBuffer(staging);
  if (!result) return result.TakeError();
  return texels;
}

Result<BaseArray<Byte>> DrawportRenderer::ReadColor(const DrawportRenderTarget& target, Int index) {
  DrawportTexture* texture = target.GetColorTexture(index);
  if (!texture) return OSTRA_ILLEGAL_ARGUMENT("There is no colour target @.", index);
  return ReadTexture(*texture);
}

Result<Image> DrawportRenderer::ReadImage(const DrawportRenderTarget& target, Int index) {
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<Byte> texels, ReadColor(target, index));
  const DrawportTextureDescription& description = target.GetColorTexture(index)->GetDescription();
  OSTRA_ASSIGN_OR_RETURN(Image image, Image::Create(description.extent.width, description.extent.height));
  const PixelFormat& format = *description.format;
  for (Int i = 0; i < image.width * image.height; ++i) {
    const Byte* texel = texels.GetFirst() + i * format.GetBytesPerPixel();
    Float32* pixel = image.rgba.GetFirst() + 4 * i;
    for (Int channel = 0; channel < format.channels; ++channel)
      pixel[channel] = ReadChannel(format, texel + channel * format.bitsPerChannel / 8);
    if (format.channels == 1) pixel[1] = pixel[2] = pixel[0];
    if (format.channels == 2) pixel[2] = 0;
    if (format.channels < 4) pixel[3] = 1;
  }
  return image;
}

Result<BaseArray<Float32>> DrawportRenderer::ReadDepth(const DrawportRenderTarget& target) {
  DrawportTexture* texture = target.GetDepthTexture();
  if (!texture) return OSTRA_ILLEGAL_ARGUMENT("There is no depth target.");
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<Byte> bytes, ReadTexture(*texture));
  const DrawportExtent& extent = texture->GetDescription().extent;
  BaseArray<Float32> depths;
  OSTRA_RETURN_IF_ERROR(depths.Resize(extent.width * extent.height));
  if (texture->GetDescription().depthFormat == DrawportDepthFormat::Float32) {
    MemCopy(depths.GetFirst(), bytes.GetFirst(), bytes.GetCount());
    return depths;
  }
  for (Int i = 0; i < depths.GetCount(); ++i) {
    UInt16 depth;
    MemCopy(&depth, bytes.GetFirst() + i * static_cast<Int>(sizeof(depth)), sizeof(depth));
    depths[i] = static_cast<Float32>(depth) / 65535.0f;
  }
  return depths;
}

Result<DrawportTextureSampler*> DrawportRenderer::GetSampler(UInt8 key) {
  if (!_context) return OSTRA_ILLEGAL_STATE("A renderer needs a drawport context.");
  OSTRA_ASSIGN_OR_RETURN(DrawportTextureSamplerItemRef item,
                         _context->GetDrawport()->GetDrawportCache()->GetTextureSampler(key));
  OSTRA_ASSIGN_OR_RETURN(DrawportTextureSampler * sampler, item->MakeValid(*_context));
  for (const DrawportTextureSamplerItemRef& known : _samplers)
    if (known == item) return sampler;
  OSTRA_RETURN_IF_ERROR(_samplers.Append(std::move(item)));
  return sampler;
}

}  // namespace ostra

#include "ostra/drawport_vulkan/staging.h"

#include "ostra/core/format.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

Bool Serves(DrawportStagingUse use, DrawportMapMode mode) {
  if (use == DrawportStagingUse::BufferUpload) return mode == DrawportMapMode::WriteDiscard;
  if (use == DrawportStagingUse::HostRead) return mode == DrawportMapMode::Read;
  return mode == DrawportMapMode::Read || mode == DrawportMapMode::WriteDiscard;
}

}  // namespace

Result<void> StagingBuffer::CheckMapping(DrawportMapMode mode, Int mappedBytes) const {
  if (state != State::Idle)
    return OSTRA_ILLEGAL_STATE(state == State::Released ? "The staging buffer has been released."
                                                        : "The staging buffer is mapped already.");
  if (!Serves(use, mode))
    return OSTRA_ILLEGAL_ARGUMENT("A staging buffer for use @ cannot be mapped in mode @.", static_cast<Int>(use),
                                  static_cast<Int>(mode));
  if (mappedBytes < 1 || mappedBytes > size)
    return OSTRA_ILLEGAL_ARGUMENT("@ bytes cannot be mapped in a staging buffer of @ bytes.", mappedBytes, size);
  return OK;
}

}  // namespace ostra::vulkan

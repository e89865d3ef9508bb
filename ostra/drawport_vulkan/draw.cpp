// Draw passes.
#include "ostra/drawport_vulkan/command_list.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {

Result<void> CommandList::BeginDrawPass(DrawportRenderTarget&, const DrawportClearValues&) {
  return OSTRA_NOT_IMPLEMENTED("This GPU backend does not draw.");
}

Result<void> CommandList::Draw(const DrawportDrawCall&) {
  return OSTRA_NOT_IMPLEMENTED("This GPU backend does not draw.");
}

Result<void> CommandList::EndDrawPass() { return OSTRA_NOT_IMPLEMENTED("This GPU backend does not draw."); }

}  // namespace ostra::vulkan

// Memory that the operating system has not handed out yet.
#pragma once

#include "ostra/core/export.h"
#include "ostra/core/types.h"

namespace ostra {

// Has all pages of an area handed out now, by several threads, each of them in large pages of its own. A loop in which
// threads write to the area afterwards does not stop for that, nor for one page that several threads need first. The
// bytes stay as they are. Worth it for new areas of many megabytes. Thread-safe.
OSTRA_API void PrefaultPages(void* memory, Int bytes);

}  // namespace ostra

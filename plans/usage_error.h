// How names, values and sizes are refused that do not fit a kernel, a texture or a scene.
#pragma once

#include "ostra/core/format.h"

namespace ostra::plans {

// Kind of errors that other arguments avoid; every other kind is a failure of the work.
inline constexpr Id kUsageError = "net.ostra.tool.usageerror"_id;

}  // namespace ostra::plans

#define OSTRA_USAGE_ERROR(...) ::ostra::MakeError(::ostra::plans::kUsageError, kOstraUnit, __LINE__, __VA_ARGS__)

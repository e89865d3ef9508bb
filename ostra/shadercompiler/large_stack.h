// Work on a stack that is large enough for what compilers do with texts within our limits, whatever thread asks for it.
#pragma once

#include <cstddef>
#include <functional>

#include "ostra/core/result.h"

namespace ostra::shadercompiler {

// Runs `work` in a thread of its own with a stack of `size` bytes, of which only what is used takes memory, and waits
// for it. What `work` throws is thrown here. Error: illegal state when the thread cannot be started.
Result<void> RunOnLargeStack(std::size_t size, const std::function<void()>& work);

}  // namespace ostra::shadercompiler

// The check of a program's calls, in time that grows with their number. The library's own compares every call with
// every function and every other call, which takes most of the time for programs of thousands of functions.
#pragma once

#include "ostra/core/types.h"

namespace glslang {
class TIntermediate;
}

namespace ostra::shadercompiler {

// For a parsed program. When no function calls itself, over others or not, and each that is called has a body, the
// functions that the entry point does not reach are taken out, and the calls are forgotten: the linker then has nothing
// to compare, and must keep what is not called. Otherwise false, and all is as it was: the linker says what is wrong.
// Throws std::bad_alloc.
Bool ResolveCalls(glslang::TIntermediate& program);

}  // namespace ostra::shadercompiler

#include "parallelprogram/shaderparser/target_language.h"

namespace ostra {
namespace {

// The language has no such parameters; all that stands before the parameter's name goes.
Result<void> WriteBlockType(LineText& line, Int /*position*/, Int close) { return line.Erase(0, close + 1); }

}  // namespace

constinit const TargetLanguage g_glsl = {
    .atomicPrefix = "",
    .atomicCounterType = "uint",
    .nanoVdbPreamble = "#define PNANOVDB_GLSL\n\n",
    .writeBlockType = &WriteBlockType,
};

}  // namespace ostra

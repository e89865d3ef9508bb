#include "parallelprogram/shaderparser/target_language.h"

namespace ostra {
namespace {

Result<void> WriteBlockType(LineText& line, Int position, Int close) {
  OSTRA_RETURN_IF_ERROR(line.Replace(close, 1, "*"));
  return line.Erase(position, static_cast<Int>(kBlockKeyword.size()));
}

}  // namespace

constinit const TargetLanguage g_metal = {
    .atomicPrefix = "atomic_",
    .atomicCounterType = "atomic_uint",
    .nanoVdbPreamble = "#define PNANOVDB_METAL\n\n",
    .writeBlockType = &WriteBlockType,
};

}  // namespace ostra

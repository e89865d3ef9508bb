#include <algorithm>

#include "parallelprogram/shaderparser/target_language.h"

namespace ostra {
namespace {

constexpr std::string_view kConst = "const";
// How far before the keyword a "const" counts, and how much is then taken off in front of the keyword. What is taken
// off is meant to be "const "; this is not checked.
constexpr Int kConstReach = 7;
constexpr Int kConstSize = 6;

Result<void> WriteBlockType(LineText& line, Int position, Int close) {
  const Int reach = std::max<Int>(0, position - kConstReach);
  const std::string_view place = line.ViewFrom(reach).substr(0, static_cast<std::size_t>(close - reach));
  if (place.find(kConst) == std::string_view::npos)
    return line.Replace(position, static_cast<Int>(kBlockKeyword.size()), "RWStructuredBuffer<");
  const Int start = std::max<Int>(0, position - kConstSize);
  return line.Replace(start, position - start + static_cast<Int>(kBlockKeyword.size()), "StructuredBuffer<");
}

}  // namespace

constinit const TargetLanguage g_hlsl = {
    .atomicPrefix = "",
    .atomicCounterType = "uint",
    .nanoVdbPreamble = "#define PNANOVDB_HLSL\n\n",
    .writeBlockType = &WriteBlockType,
};

}  // namespace ostra

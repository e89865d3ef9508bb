#include "ostra/drawport_vulkan/program_limit.h"

#include <charconv>
#include <cstdlib>

#include "ostra/core/format.h"
#include "ostra/drawport/settings.h"
#include "ostra/shadercompiler/shader_size.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

// Negative: none. Error: illegal argument for an environment variable that says neither.
Result<Int> GetLimit() {
  if (const char* chosen = std::getenv("OSTRA_GPU_PROGRAM_LIMIT")) {
    const std::string_view text = chosen;
    if (text == "off") return Int{-1};
    Int words = 0;
    const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), words);
    if (code == std::errc() && end == text.data() + text.size() && words > 0) return words;
    return OSTRA_ILLEGAL_ARGUMENT("OSTRA_GPU_PROGRAM_LIMIT is \"@\": give a number of words, or off.", chosen);
  }
  const Int set = GetDrawportProgramLimit();
  return set == 0 ? kProgramLimit : set;
}

}  // namespace

Result<void> CheckProgramSize(Block<const UInt32> spirv, std::string_view program) {
  OSTRA_ASSIGN_OR_RETURN(const Int limit, GetLimit());
  if (limit < 0) return OK;
  if (spirv.GetCount() > limit)
    return OSTRA_ILLEGAL_ARGUMENT(
        "The GPU program \"@\" has @ words of SPIR-V, more than the limit of @: a driver may compile it for minutes. "
        "Divide it, or set OSTRA_GPU_PROGRAM_LIMIT.",
        program, spirv.GetCount(), limit);
  OSTRA_ASSIGN_OR_RETURN(const ShaderSize size, CountShaderWords(spirv));
  constexpr UInt64 kFactor = kInlinedLimitFactor;  // not multiplied: the limit may be any number
  if ((size.inlinedWords + kFactor - 1) / kFactor <= static_cast<UInt64>(limit)) return OK;
  return OSTRA_ILLEGAL_ARGUMENT(
      "The GPU program \"@\" has @ words of SPIR-V when its calls are replaced by the bodies of the functions, more "
      "than "
      "@ times the limit of @: a driver may compile it for minutes. Divide it, or set OSTRA_GPU_PROGRAM_LIMIT.",
      program, size.inlinedWords, kInlinedLimitFactor, limit);
}

}  // namespace ostra::vulkan

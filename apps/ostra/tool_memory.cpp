#include "apps/ostra/tool_memory.h"

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <fstream>

#include "apps/ostra/tool_error.h"
#include "ostra/core/memory_limit.h"
#include "plans/values/memory_size.h"

OSTRA_UNIT("tool_memory");

namespace ostra::tool {

using plans::FormatMemorySize;

namespace {

constexpr const char* kVariable = "OSTRA_MEMORY_LIMIT";
constexpr std::string_view kUnits = "KMGT";

// What a container may use is less than the machine has.
Int GetMachineMemory() {
  Int bytes = static_cast<Int>(sysconf(_SC_PHYS_PAGES)) * static_cast<Int>(sysconf(_SC_PAGESIZE));
  Int limit = 0;
  if (std::ifstream("/sys/fs/cgroup/memory.max") >> limit) bytes = std::min(bytes, limit);
  return bytes;
}

}  // namespace

Result<Int> ParseMemorySize(std::string_view text) {
  Int number = 0;
  const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), number);
  const std::string_view unit(end, static_cast<std::size_t>(text.data() + text.size() - end));
  const std::size_t power = unit.empty() ? 0 : kUnits.find(unit[0]) + 1;
  const Bool isUnit = unit.empty() || (unit.size() == 1 && power > 0);
  const Int factor = isUnit ? Int(1) << (10 * power) : 1;
  if (code != std::errc() || !isUnit || number < 1 || number > std::numeric_limits<Int>::max() / factor)
    return OSTRA_USAGE_ERROR("\"@\" is no size of memory such as 512M or 8G", text);
  return number * factor;
}

Result<void> ApplyMemoryLimit() {
  const char* const chosen = std::getenv(kVariable);
  if (!chosen || !*chosen) {
    SetMemoryLimit(GetMachineMemory() / 4 * 3);
    return OK;
  }
  const auto bytes = ParseMemorySize(chosen);
  if (!bytes) return OSTRA_USAGE_ERROR("@: @", kVariable, bytes.GetError());
  SetMemoryLimit(*bytes);
  return OK;
}

std::string DescribeExhaustedMemory() {
  const MemoryUse use = GetMemoryUse();
  if (use.refused == 0) return "the machine has no more memory";
  return FormatMemorySize(use.refused) + " more memory are needed, and " + FormatMemorySize(use.inUse) +
         " of the limit of " + FormatMemorySize(use.limit) + " are in use; " + kVariable +
         "=SIZE in the environment sets another limit";
}

}  // namespace ostra::tool

#include "ostra/host_configuration.h"

#include <cstdlib>

#include "ostra/config/configuration.h"
#include "ostra/core/format.h"
#include "ostra/io/file.h"

OSTRA_UNIT("host");

namespace ostra {
namespace {

// Calls `visit(value)` for every "--option value" and "--option=value".
template <class Visit>
Result<void> ForEachOption(std::span<const char* const> arguments, std::string_view option, Visit&& visit) {
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    std::string_view value = arguments[i];
    if (value == "--") break;  // what follows are no options
    if (!value.starts_with(option)) continue;
    value.remove_prefix(option.size());
    if (value.empty()) {
      if (++i == arguments.size()) return OSTRA_ILLEGAL_ARGUMENT("The option @ needs a value after it.", option);
      value = arguments[i];
    } else if (value.front() == '=') {
      value.remove_prefix(1);
    } else {
      continue;  // an option whose name only begins like this one
    }
    OSTRA_RETURN_IF_ERROR(visit(value));
  }
  return OK;
}

const char* GetEnvironment(Bool readsEnvironment, const char* name) {
  const char* value = readsEnvironment ? std::getenv(name) : nullptr;
  return value ? value : "";
}

Result<void> ReadConfigurationFile(std::string_view path) {
  OSTRA_ASSIGN_OR_RETURN(Url file, Url::Create(path));
  OSTRA_ASSIGN_OR_RETURN(BaseArray<Byte> bytes, ReadFileToMemory(file, {kMaxTextFileSize, true}));
  OSTRA_ASSIGN_OR_RETURN(String text, DecodeText(std::as_const(bytes).GetBlock()));
  return Configuration::ReadText(text, path);
}

}  // namespace

Result<void> ReadConfigurationSources(std::span<const char* const> arguments, Bool readsEnvironment) {
  std::string_view file = GetEnvironment(readsEnvironment, "OSTRA_CONFIG_FILE");
  OSTRA_RETURN_IF_ERROR(ForEachOption(arguments, "--config-file", [&](std::string_view path) -> Result<void> {
    file = path;
    return OK;
  }));
  if (!file.empty()) OSTRA_RETURN_IF_ERROR(ReadConfigurationFile(file));
  OSTRA_RETURN_IF_ERROR(Configuration::ReadList(GetEnvironment(readsEnvironment, "OSTRA_CONFIG"), "OSTRA_CONFIG"));
  return ForEachOption(arguments, "--config", [](std::string_view assignment) {
    return Configuration::ReadAssignment(assignment, "--config");
  });
}

}  // namespace ostra

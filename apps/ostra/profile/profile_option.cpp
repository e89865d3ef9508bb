#include "apps/ostra/profile/profile_option.h"

#include "apps/ostra/tool_error.h"
#include "ostra/io/file.h"

OSTRA_UNIT("profile_option");

namespace ostra::tool {

namespace {
constexpr const char* kWithoutFile = "true";  // what the command line makes of an option without a value
}

void AddProfileOption(CLI::App& command, std::string& value) {
  command.add_flag("--profile", value,
                   "Say what the time was taken for; --profile=FILE writes a trace for trace viewers, too");
}

Result<std::string> GetTraceFile(const std::string& value) {
  if (value.empty() || value == kWithoutFile) return std::string();
  OSTRA_ASSIGN_OR_RETURN(const Url file, Url::Create(value));
  if (auto checked = CheckFileTarget(file); !checked) return OSTRA_USAGE_ERROR("--profile: @", checked.GetError());
  return value;
}

}  // namespace ostra::tool

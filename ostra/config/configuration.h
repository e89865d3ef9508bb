// The configuration service: named boolean variables of the host and its modules, and the values that users give them.
//
//   OSTRA_RETURN_IF_ERROR(Configuration::ReadText(text, "ostra.conf"));       // lines: name = value
//   OSTRA_RETURN_IF_ERROR(Configuration::ReadList(getenv("OSTRA_CONFIG"), "OSTRA_CONFIG"));   // a=true,b=false
//   OSTRA_RETURN_IF_ERROR(Configuration::ReadAssignment("g_trackSpinlocks=true", "--config"));
//
// A later value of a name replaces an earlier one, so sources are read from the weakest to the strongest. Values may
// come before the variable is registered: they are kept and applied then. Values are true, false, on, off, yes, no, 1
// and 0.
//
// The service runs on the loading thread; queries may come from any thread. Variables are read as plain flags.
#pragma once

#include "ostra/config/configuration_table.h"
#include "ostra/core/base_array.h"
#include "ostra/core/id.h"
#include "ostra/core/result.h"

namespace ostra {

// Through this interface modules call Register (as "ConfigurationRegister") and Unregister ("ConfigurationUnregister").
inline constexpr Id kConfigurationInterface = "net.ostra.interface.configuration"_id;

// A registered variable as a client sees it.
struct ConfigurationInformation {
  String name;
  String help;
  ConfigKind kind = ConfigKind::Bool;
  Bool value = false;
  ConfigState state = ConfigState::Default;
};

namespace Configuration {

// Makes a variable known, and gives it its configured value before returning. The entry must live until it is
// unregistered. Errors: illegal argument for a name that is registered already; out of memory.
OSTRA_API Result<void> Register(ConfigurationEntry& entry);
// An entry that is not registered is left alone.
OSTRA_API void Unregister(ConfigurationEntry& entry);

// Gives a name a value; `source` stands in error messages. Errors: illegal argument for an empty name or a value that
// is none of those above; out of memory.
OSTRA_API Result<void> SetValue(std::string_view name, std::string_view value, std::string_view source);
// "name=value", with blanks allowed around both parts. Errors: as of SetValue; illegal argument without "=".
OSTRA_API Result<void> ReadAssignment(std::string_view assignment, std::string_view source);
// Assignments separated by commas; empty ones are skipped.
OSTRA_API Result<void> ReadList(std::string_view list, std::string_view source);
// One assignment per line. Empty lines and lines that begin with # or ; are skipped, section headings ([name]) too.
// Error messages name the file and the line. What stands before a wrong line is applied.
OSTRA_API Result<void> ReadText(std::string_view text, std::string_view fileName);

// The registered variables in the order of registration. Error: out of memory.
OSTRA_API Result<BaseArray<ConfigurationInformation>> GetVariables();
// Names that were given a value, but that no variable has (yet); sorted. Error: out of memory.
OSTRA_API Result<BaseArray<String>> GetUnknownNames();

// Forgets all given values. Registered variables keep theirs.
OSTRA_API void ForgetValues();

// Registers the host's own variables and offers the service to modules, and takes it back. After an error nothing is
// registered.
OSTRA_API Result<void> Start();
OSTRA_API void Stop();

}  // namespace Configuration

}  // namespace ostra

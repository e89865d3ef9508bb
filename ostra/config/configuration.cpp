#include "ostra/config/configuration.h"

#include <algorithm>
#include <mutex>

#include "ostra/core/format.h"
#include "ostra/core/hash_map.h"

OSTRA_UNIT("configurationservice");

namespace ostra {
namespace {

struct Service {
  std::mutex mutex;
  BaseArray<ConfigurationEntry*> entries;
  HashMap<String, Bool> values;

  static Service& Get() {
    static auto* service = new Service;
    return *service;
  }

  ConfigurationEntry* Find(std::string_view name) {
    for (ConfigurationEntry* entry : entries) {
      if (entry->name == name) return entry;
    }
    return nullptr;
  }
};

void Apply(ConfigurationEntry& entry, Bool value) {
  *entry.variable = value;
  entry.state = ConfigState::Configured;
}

Result<Bool> ParseValue(std::string_view name, std::string_view value, std::string_view source) {
  for (const char* text : {"true", "on", "yes", "1"}) {
    if (value == text) return true;
  }
  for (const char* text : {"false", "off", "no", "0"}) {
    if (value == text) return false;
  }
  return OSTRA_ILLEGAL_ARGUMENT("@: the value \"@\" of @ is not one of true, false, on, off, yes, no, 1, 0.", source,
                                value, name);
}

std::string_view Trim(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r\n";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// Cuts the part before the next `separator` (or everything) off the front of `rest`.
std::string_view TakePart(std::string_view& rest, char separator) {
  const std::size_t end = std::min(rest.find(separator), rest.size());
  const std::string_view part = rest.substr(0, end);
  rest.remove_prefix(std::min(end + 1, rest.size()));
  return part;
}

Bool IsSkippedLine(std::string_view line) {
  return line.empty() || line.front() == '#' || line.front() == ';' || (line.front() == '[' && line.back() == ']');
}

}  // namespace

Result<void> Configuration::Register(ConfigurationEntry& entry) {
  Service& service = Service::Get();
  const std::scoped_lock lock(service.mutex);
  if (service.Find(entry.name))
    return OSTRA_ILLEGAL_ARGUMENT("The configuration variable @ is already registered.", entry.name);
  OSTRA_ASSIGN_OR_RETURN(String name, String::Create(entry.name));
  OSTRA_RETURN_IF_ERROR(service.entries.Append(&entry));
  entry.state = ConfigState::Default;  // also when it was configured before
  if (const Bool* value = service.values.Find(name)) Apply(entry, *value);
  return OK;
}

void Configuration::Unregister(ConfigurationEntry& entry) {
  Service& service = Service::Get();
  const std::scoped_lock lock(service.mutex);
  const auto end = std::remove(service.entries.begin(), service.entries.end(), &entry);
  service.entries.Shorten(end - service.entries.begin());
  if (service.entries.IsEmpty()) service.entries = BaseArray<ConfigurationEntry*>();
}

Result<void> Configuration::SetValue(std::string_view name, std::string_view value, std::string_view source) {
  if (name.empty())
    return OSTRA_ILLEGAL_ARGUMENT("@: a configuration variable without a name is given a value.", source);
  OSTRA_ASSIGN_OR_RETURN(Bool flag, ParseValue(name, value, source));
  Service& service = Service::Get();
  const std::scoped_lock lock(service.mutex);
  OSTRA_ASSIGN_OR_RETURN(String ownName, String::Create(name));
  OSTRA_ASSIGN_OR_RETURN(auto known, service.values.Insert(ownName));
  *known.value = flag;
  if (ConfigurationEntry* entry = service.Find(name)) Apply(*entry, flag);
  return OK;
}

Result<void> Configuration::ReadAssignment(std::string_view assignment, std::string_view source) {
  const std::size_t sign = assignment.find('=');
  if (sign == std::string_view::npos)
    return OSTRA_ILLEGAL_ARGUMENT("@: \"@\" is not of the form name=value.", source, Trim(assignment));
  return SetValue(Trim(assignment.substr(0, sign)), Trim(assignment.substr(sign + 1)), source);
}

Result<void> Configuration::ReadList(std::string_view list, std::string_view source) {
  while (!list.empty()) {
    const std::string_view part = Trim(TakePart(list, ','));
    if (!part.empty()) OSTRA_RETURN_IF_ERROR(ReadAssignment(part, source));
  }
  return OK;
}

Result<void> Configuration::ReadText(std::string_view text, std::string_view fileName) {
  for (Int number = 1; !text.empty(); ++number) {
    const std::string_view line = Trim(TakePart(text, '\n'));
    if (IsSkippedLine(line)) continue;
    OSTRA_ASSIGN_OR_RETURN(String source, Format("@:@", fileName, number));
    OSTRA_RETURN_IF_ERROR(ReadAssignment(line, source));
  }
  return OK;
}

Result<BaseArray<ConfigurationInformation>> Configuration::GetVariables() {
  Service& service = Service::Get();
  const std::scoped_lock lock(service.mutex);
  BaseArray<ConfigurationInformation> variables;
  for (const ConfigurationEntry* entry : service.entries) {
    // Own copies: the entry's texts may lie in a module that is unloaded while the caller still has the list.
    ConfigurationInformation variable{{}, {}, entry->kind, *entry->variable, entry->state};
    OSTRA_ASSIGN_OR_RETURN(variable.name, String::Create(entry->name));
    OSTRA_ASSIGN_OR_RETURN(variable.help, String::Create(entry->help));
    OSTRA_RETURN_IF_ERROR(variables.Append(std::move(variable)));
  }
  return variables;
}

Result<BaseArray<String>> Configuration::GetUnknownNames() {
  Service& service = Service::Get();
  const std::scoped_lock lock(service.mutex);
  BaseArray<String> names;
  for (const auto& [name, value] : service.values) {
    if (!service.Find(name)) OSTRA_RETURN_IF_ERROR(names.Append(name));
  }
  std::sort(names.begin(), names.end());
  return names;
}

void Configuration::ForgetValues() {
  Service& service = Service::Get();
  const std::scoped_lock lock(service.mutex);
  service.values = HashMap<String, Bool>();
}

}  // namespace ostra

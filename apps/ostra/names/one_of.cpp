#include "apps/ostra/names/one_of.h"

#include <algorithm>

#include "plans/names/nearest_name.h"

namespace ostra::tool {

using namespace plans;

namespace {

// The first argument that looks like an option and is none; empty without one.
std::string FindUnknownOption(const CLI::App& command) {
  for (const std::string& argument : command.remaining())
    if (argument.size() > 1 && argument[0] == '-') return argument.substr(0, argument.find('='));
  return {};
}

// The command as it is typed: "ostra run".
std::string GetCommandName(const CLI::App& command) {
  const CLI::App* parent = command.get_parent();
  return parent ? GetCommandName(*parent) + " " + command.get_name() : command.get_name();
}

}  // namespace

CLI::Validator OneOf(std::vector<std::string> names) {
  std::string description = "{";
  for (const std::string& name : names) description += (description.size() == 1 ? "" : ",") + name;
  const auto check = [names = std::move(names)](std::string& word) {
    if (std::count(names.begin(), names.end(), word) != 0) return std::string();
    return "there is no \"" + word + "\"" + SuggestName(word, names);
  };
  return CLI::Validator(check, description + "}");
}

std::string DescribeParseError(const CLI::App& command, const CLI::ParseError& error) {
  const std::string help = "; see " + GetCommandName(command) + " --help";
  const std::string option = FindUnknownOption(command);
  if (option.empty()) {
    const std::string message = error.what();
    return message.ends_with('?') ? message : message + help;
  }
  // Without the dashes, which would make every option look like every other.
  std::vector<std::string> names;
  for (const CLI::Option* known : command.get_options())
    names.insert(names.end(), known->get_lnames().begin(), known->get_lnames().end());
  const std::string_view nearest = FindNearestName(option.substr(option.find_first_not_of('-')), names);
  const std::string message = "there is no option \"" + option + "\"";
  return nearest.empty() ? message + help : message + "; did you mean \"--" + std::string(nearest) + "\"?";
}

}  // namespace ostra::tool

// The check of options that take one of a few words.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace ostra::tool {

// Refuses what is none of `names`, and says which one is nearest.
CLI::Validator OneOf(std::vector<std::string> names);

// What is wrong with a command line, for people: a misspelt option is answered with the nearest one that `command` has,
// everything else with where to read on.
std::string DescribeParseError(const CLI::App& command, const CLI::ParseError& error);

}  // namespace ostra::tool

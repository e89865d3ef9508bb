// Sections: the named parts of the support code of one language, and its table of names.
#pragma once

#include "ostra/core/base_array.h"
#include "ostra/core/id.h"

namespace ostra::shading {

class Sections {
 public:
  // The sections of a language and those that all languages share. Errors: illegal argument for a language that there
  // is no support code for; out of memory.
  static Result<Sections> Open(const Id& language);

  // The lines of a section; null when there is no section of that name. A language's own section comes before a shared
  // one of the same name.
  const std::string_view* Find(std::string_view name) const;
  // What stands for "key.part" in the section "names"; empty when nothing does.
  std::string_view GetName(std::string_view key, std::string_view part) const;

 private:
  struct Section {
    std::string_view name;
    std::string_view text;
  };
  Result<void> Add(std::string_view file);

  BaseArray<Section> _sections;
  std::string_view _names;
};

// Takes the first line off a text; the line has no line end.
std::string_view TakeLine(std::string_view& text);

}  // namespace ostra::shading

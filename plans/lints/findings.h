// What `ostra check` has to say about files.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "ostra/core/source_message.h"

namespace ostra::plans {

enum class Severity { Warning, Error };

// What a finding is about, for those who look for one.
enum class FindingKind { Other, LostDeclaration };

struct Finding {
  std::string file = {};
  Int line = 0;  // 0: about the whole file
  Severity severity = Severity::Error;
  std::string text = {};
  FindingKind kind = FindingKind::Other;
  std::string name = {};     // the parameter of a lost declaration; empty: of all in a block
  Int column = 0;            // 0: unknown
  std::string excerpt = {};  // lines that follow the message: that of the source with a caret, notes
};

// A list without repetitions: what is wrong for all targets is said once.
class Findings {
 public:
  void Add(Finding finding);
  // With a mark behind the text: " [CPU]".
  void AddMessage(const SourceMessage& message, std::string_view mark = {});
  // The messages about sources that the error was made of; an error of another kind is one about `file`.
  void AddError(const Error& error, std::string_view file, std::string_view mark = {});
  void AddAll(const Findings& other);

  const std::vector<Finding>& GetAll() const { return _findings; }
  Int Count(Severity severity) const;
  // By file in order of appearance, then by line.
  void Sort();

 private:
  std::vector<Finding> _findings;
};

// The name in double quotes.
std::string Quote(std::string_view name);

// "file:line: error: text".
std::string FormatFinding(const Finding& finding);

}  // namespace ostra::plans

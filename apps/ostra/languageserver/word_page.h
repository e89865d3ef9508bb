// The page of words, docs/kernel-words.md, as a part of the tool: what a word means on the CPU and on a GPU.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace ostra::tool {

// docs/kernel-words.md.
extern const std::string_view kWordPage;

// The cells of a word's row, without links. Of graphics stages the last alone.
struct WordRow {
  std::string cpu, gpu;
};

// The first row of the page that has the word in its first cell. Nothing for a word without one. Throws std::bad_alloc.
std::optional<WordRow> FindWordRow(std::string_view word);

// The same of another text with such tables, for tests.
std::optional<WordRow> FindWordRow(std::string_view page, std::string_view word);

}  // namespace ostra::tool

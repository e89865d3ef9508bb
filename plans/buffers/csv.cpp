#include "plans/buffers/csv.h"

#include <vector>

#include "ostra/core/format.h"
#include "ostra/core/memory.h"
#include "plans/values/text.h"

OSTRA_UNIT("csv");

namespace ostra::plans {

namespace {

std::vector<std::string_view> SplitLine(std::string_view line) {
  for (const char separator : {',', ';'})
    if (line.find(separator) != std::string_view::npos) return SplitText(line, separator);
  std::vector<std::string_view> words;
  for (const std::string_view word : SplitText(line, ' '))
    if (!word.empty()) words.push_back(word);
  return words;
}

Result<void> AppendLine(const ElementLayout& layout, std::string_view line, Int lineNumber,
                        std::vector<Byte, HostAllocator<Byte>>& bytes) {
  const std::vector<std::string_view> words = SplitLine(line);
  if (static_cast<Int>(words.size()) % layout.componentCount != 0)
    return OSTRA_ILLEGAL_ARGUMENT("line @ has @ numbers, and an element has @", lineNumber, words.size(),
                                  layout.componentCount);
  for (const std::string_view word : words) {
    bytes.resize(bytes.size() + static_cast<std::size_t>(layout.scalar->GetSize()));
    const auto parsed = layout.scalar->parse(word, bytes.data() + bytes.size() - layout.scalar->GetSize());
    if (!parsed) return OSTRA_ILLEGAL_ARGUMENT("line @: @", lineNumber, parsed.GetError());
  }
  return OK;
}

}  // namespace

Result<BaseArray<Byte>> DecodeCsv(const ElementLayout& layout, std::string_view text) {
  std::vector<Byte, HostAllocator<Byte>> bytes;
  Int lineNumber = 0;
  for (const std::string_view line : SplitText(text, '\n')) {
    ++lineNumber;
    if (!line.empty() && line.front() != '#') OSTRA_RETURN_IF_ERROR(AppendLine(layout, line, lineNumber, bytes));
  }
  BaseArray<Byte> result;
  OSTRA_RETURN_IF_ERROR(result.Resize(static_cast<Int>(bytes.size())));
  if (!bytes.empty()) MemCopy(result.GetFirst(), bytes.data(), result.GetCount());
  return result;
}

std::string EncodeCsv(const ElementLayout& layout, Block<const Byte> elements) {
  std::string text;
  const Int scalarSize = layout.scalar->GetSize();
  for (Int i = 0; i * scalarSize < elements.GetCount(); ++i) {
    layout.scalar->print(elements.GetFirst() + i * scalarSize, text);
    text += (i + 1) % layout.componentCount == 0 ? '\n' : ',';
  }
  return text;
}

}  // namespace ostra::plans

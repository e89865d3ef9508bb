#include "parallelprogram/shaderparser/source_file.h"

#include <algorithm>

#include "parallelprogram/shaderparser/container.h"

namespace ostra {

Result<SourceFile> ReadSourceFile(const Url& file, LineEnds lineEnds) {
  SourceFile source;
  OSTRA_ASSIGN_OR_RETURN(source.bytes, ReadFileToMemory(file, {.maxSize = kMaxTextFileSize}));
  source.isEncoded = IsContainer(source.bytes.GetBlock());
  OSTRA_RETURN_IF_ERROR(DecodeContainer(source.bytes));
  OSTRA_ASSIGN_OR_RETURN(source.text, DecodeText(source.bytes.GetBlock()));
  if (lineEnds == LineEnds::Keep) return source;
  OSTRA_ASSIGN_OR_RETURN(source.text, NormalizeLineEnds(std::move(source.text)));
  const std::string_view text = source.text.GetView();
  if (static_cast<Int>(text.size()) == source.bytes.GetCount()) return source;
  OSTRA_RETURN_IF_ERROR(source.bytes.Resize(static_cast<Int>(text.size())));
  std::transform(text.begin(), text.end(), source.bytes.begin(), [](char c) { return static_cast<Byte>(c); });
  return source;
}

Result<SourceFile> ReadSourceFile(const Url& file, LineEnds lineEnds, const SourceOverlay* overlay) {
  if (!overlay) return ReadSourceFile(file, lineEnds);
  OSTRA_ASSIGN_OR_RETURN(std::optional<String> text, (*overlay)(file));
  if (!text) return ReadSourceFile(file, lineEnds);
  SourceFile source;
  source.text = std::move(*text);
  if (lineEnds == LineEnds::LineFeeds) {
    OSTRA_ASSIGN_OR_RETURN(source.text, NormalizeLineEnds(std::move(source.text)));
  }
  const std::string_view view = source.text.GetView();
  OSTRA_RETURN_IF_ERROR(source.bytes.Resize(static_cast<Int>(view.size())));
  std::transform(view.begin(), view.end(), source.bytes.begin(), [](char c) { return static_cast<Byte>(c); });
  return source;
}

Result<Bool> HasSourceFile(const Url& file, const SourceOverlay* overlay) {
  if (overlay) {
    OSTRA_ASSIGN_OR_RETURN(const std::optional<String> text, (*overlay)(file));
    if (text) return true;
  }
  return IoDetect(file) == IODETECT::FILE;
}

Result<String> NormalizeLineEnds(String text) {
  const std::string_view source = text.GetView();
  if (source.find('\r') == std::string_view::npos) return text;
  BaseArray<char> kept;
  OSTRA_RETURN_IF_ERROR(kept.Reserve(static_cast<Int>(source.size())));
  for (std::size_t at = 0; at < source.size();) {
    std::size_t end = std::min(source.find('\r', at), source.size());
    const std::size_t next = std::min(source.find_first_not_of('\r', end), source.size());
    if (next < source.size() && source[next] != '\n') end = next;  // within a line
    for (const char c : source.substr(at, end - at)) OSTRA_RETURN_IF_ERROR(kept.Append(c));
    at = next;
  }
  return String::Create({kept.GetFirst(), static_cast<std::size_t>(kept.GetCount())});
}

}  // namespace ostra

#include "parallelprogram/kernellanguage/source_map.h"

#include <algorithm>

namespace ostra::kernellanguage {

SourceOffset TextOrigin::Find(std::size_t position) const {
  const auto after = std::upper_bound(marks.begin(), marks.end(), position,
                                      [](std::size_t at, const TextMark& mark) { return at < mark.position; });
  return after == marks.begin() ? kNoOffset : std::prev(after)->source;
}

const TextOrigin* SourceMap::FindOrigin(SourceOffset offset, SourceOffset& source) const {
  const SourceOffset byte = GetUse(offset);
  const Int index = FindFile(byte);
  if (index < 0 || !GetFile(index).origin) return nullptr;
  source = GetFile(index).origin->Find(byte - GetFile(index).begin);
  return GetFile(index).origin.get();
}

Int SourceMap::AddFile(std::string_view name, std::string_view text, Bool isHidden,
                       std::shared_ptr<const TextOrigin> origin) {
  if (text.size() >= kMaxBytes - _end) return -1;
  File& file = *_files.emplace_back(std::make_unique<File>());
  file.name = name;
  file.text = text;
  file.isHidden = isHidden;
  file.origin = std::move(origin);
  file.begin = _end;
  file.lineBegins.push_back(0);
  for (std::size_t at = text.find('\n'); at != std::string_view::npos; at = text.find('\n', at + 1))
    file.lineBegins.push_back(static_cast<UInt32>(at + 1));
  _end += static_cast<SourceOffset>(text.size()) + 1;
  return static_cast<Int>(_files.size()) - 1;
}

SourceOffset SourceMap::AddExpansion(SourceOffset use, SourceOffset spelling) {
  // Every expansion is spelt in a file: chains stay short, however deeply macros are nested.
  _expansions.push_back({GetUse(use), GetSpelling(spelling)});
  return kFirstExpansion + static_cast<SourceOffset>(_expansions.size() - 1);
}

SourceOffset SourceMap::GetUse(SourceOffset offset) const {
  return IsExpansion(offset) ? GetExpansion(offset).use : offset;
}

SourceOffset SourceMap::GetSpelling(SourceOffset offset) const {
  return IsExpansion(offset) ? GetExpansion(offset).spelling : offset;
}

Int SourceMap::FindFile(SourceOffset byte) const {
  if (byte >= _end) return -1;
  const auto after = std::upper_bound(_files.begin(), _files.end(), byte,
                                      [](SourceOffset at, const auto& file) { return at < file->begin; });
  return static_cast<Int>(after - _files.begin()) - 1;
}

SourceLocation SourceMap::Locate(SourceOffset offset) const {
  SourceOffset source = kNoOffset;
  if (const TextOrigin* origin = FindOrigin(offset, source)) return origin->sources->Locate(source);
  const SourceOffset byte = GetUse(offset);
  const Int index = FindFile(byte);
  if (index < 0) return {};
  const File& file = GetFile(index);
  const UInt32 at = byte - file.begin;
  const auto& begins = file.lineBegins;
  const auto after = std::upper_bound(begins.begin(), begins.end(), at);
  return {file.name, static_cast<Int32>(after - begins.begin()), static_cast<Int32>(at - *std::prev(after)) + 1};
}

std::string_view SourceMap::GetLine(SourceOffset offset) const {
  SourceOffset source = kNoOffset;
  if (const TextOrigin* origin = FindOrigin(offset, source)) return origin->sources->GetLine(source);
  const SourceLocation location = Locate(offset);
  const Int index = FindFile(GetUse(offset));
  if (index < 0) return {};
  const File& file = GetFile(index);
  std::string_view line =
      std::string_view(file.text).substr(file.lineBegins[static_cast<std::size_t>(location.line) - 1]);
  line = line.substr(0, line.find('\n'));
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

Bool SourceMap::MayShowLine(SourceOffset offset) const {
  SourceOffset source = kNoOffset;
  if (const TextOrigin* origin = FindOrigin(offset, source)) return origin->sources->MayShowLine(source);
  const Int index = FindFile(GetUse(offset));
  return index >= 0 && !GetFile(index).isHidden;
}

}  // namespace ostra::kernellanguage

#include "parallelprogram/kernelruntime/compiled_list.h"

#include <charconv>
#include <cstring>

#include "parallelprogram/kernelruntime/cache_key.h"
#include "parallelprogram/kernelruntime/dependencies.h"

namespace ostra::kernelruntime {

namespace {

// Names this form; another form gets another number.
constexpr std::string_view kFirstLine = "compiled kernel 3";

}  // namespace

std::string CompiledList::ToText() const {
  std::string text(kFirstLine);
  text += "\n" + file + "\n" + std::to_string(size) + "\n" + checksum + "\n";
  for (const std::string& header : headers) text += header + "\n";
  return text;
}

std::optional<CompiledList> CompiledList::Parse(std::string_view text) {
  std::vector<std::string> lines = SplitLines(text);
  if (lines.size() < 4 || lines[0] != kFirstLine) return std::nullopt;
  Int size = 0;
  const char* end = lines[2].data() + lines[2].size();
  if (const auto read = std::from_chars(lines[2].data(), end, size); read.ec != std::errc() || read.ptr != end)
    return std::nullopt;
  CompiledList list{std::move(lines[1]), size, std::move(lines[3]), {}};
  lines.erase(lines.begin(), lines.begin() + 4);
  list.headers = std::move(lines);
  return list;
}

std::string MakeChecksum(std::string_view bytes) {
  // Four words at a time: precompiled headers are large, and every compilation checks one.
  constexpr std::size_t kWords = 4, kBytes = kWords * sizeof(UInt64);
  UInt64 sums[kWords] = {1, 2, 3, 4}, words[kWords];
  CacheKey key;
  for (; bytes.size() >= kBytes; bytes.remove_prefix(kBytes)) {
    std::memcpy(words, bytes.data(), kBytes);
    for (std::size_t i = 0; i < kWords; ++i) {
      sums[i] = (sums[i] ^ words[i]) * 0x9E3779B97F4A7C15ULL;
      sums[i] ^= sums[i] >> 32;
    }
  }
  key.Add({reinterpret_cast<const char*>(sums), sizeof(sums)});
  key.Add(bytes);
  return key.ToText();
}

}  // namespace ostra::kernelruntime

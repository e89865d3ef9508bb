#include "parallelprogram/kernelruntime/cache_key.h"

#include <cstdio>

#include "ostra/io/file.h"
#include "ostra/process/processor.h"

namespace ostra::kernelruntime {

void CacheKey::Add(std::string_view text) {
  _hash.Write(static_cast<UInt64>(text.size()));
  if (!text.empty()) _hash.Write(text.data(), static_cast<Int>(text.size()));
}

Result<void> CacheKey::AddFile(const Url& file) {
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<Byte> bytes, ReadFileToMemory(file));
  Add({reinterpret_cast<const char*>(bytes.GetFirst()), static_cast<std::size_t>(bytes.GetCount())});
  return OK;
}

void CacheKey::AddProcessor() { Add(DescribeProcessor()); }

std::string CacheKey::ToText() const {
  const UniqueHashStream::Value value = _hash.GetValue();
  char text[33];
  std::snprintf(text, sizeof(text), "%016llx%016llx", static_cast<unsigned long long>(value.high),
                static_cast<unsigned long long>(value.low));
  return text;
}

}  // namespace ostra::kernelruntime

#include "apps/ostra/kernels/cache_key.h"

#include <cstdio>

#if defined(__x86_64__)
#include <cpuid.h>
#else
#include <sys/utsname.h>
#endif

#include "ostra/io/file.h"

namespace ostra::tool {

void CacheKey::Add(std::string_view text) {
  _hash.Write(static_cast<UInt64>(text.size()));
  if (!text.empty()) _hash.Write(text.data(), static_cast<Int>(text.size()));
}

Result<void> CacheKey::AddFile(const Url& file) {
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<Byte> bytes, ReadFileToMemory(file));
  Add({reinterpret_cast<const char*>(bytes.GetFirst()), static_cast<std::size_t>(bytes.GetCount())});
  return OK;
}

void CacheKey::AddProcessor() {
#if defined(__x86_64__)
  // Model and features. The part of leaf 1 that tells the cores of one processor apart is left out.
  unsigned a = 0, b = 0, c = 0, d = 0;
  if (__get_cpuid(1, &a, &b, &c, &d)) _hash.Write((UInt64(a) << 32) | d), _hash.Write(UInt64(c));
  if (__get_cpuid_count(7, 0, &a, &b, &c, &d)) _hash.Write((UInt64(b) << 32) | c), _hash.Write(UInt64(d));
#else
  utsname name{};
  if (uname(&name) == 0) Add(name.machine);
#endif
}

std::string CacheKey::ToText() const {
  const UniqueHashStream::Value value = _hash.GetValue();
  char text[33];
  std::snprintf(text, sizeof(text), "%016llx%016llx", static_cast<unsigned long long>(value.high),
                static_cast<unsigned long long>(value.low));
  return text;
}

}  // namespace ostra::tool

// Keys of the kernel cache: names of files that differ when anything differs that went into them.
#pragma once

#include <string>
#include <string_view>

#include "ostra/core/data_type.h"
#include "ostra/core/result.h"
#include "ostra/io/url.h"

namespace ostra::kernelruntime {

class CacheKey {
 public:
  // The length goes in as well, so that "ab" + "c" differs from "a" + "bc".
  void Add(std::string_view text);
  // The contents of a file. Errors: as of ReadFileToMemory.
  Result<void> AddFile(const Url& file);
  // The processor of this machine: code made for it may not run on another one.
  void AddProcessor();

  // 32 hexadecimal digits.
  std::string ToText() const;

 private:
  UniqueHashStream _hash;
};

}  // namespace ostra::kernelruntime

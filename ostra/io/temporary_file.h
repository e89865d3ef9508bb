// A file that other programs can read, but that no name in a folder leads to.
#pragma once

#include <filesystem>
#include <string_view>

#include "ostra/core/result.h"
#include "ostra/io/descriptor.h"

namespace ostra {

// How a program reads its standard input when it wants a file's name. Folders that it looks into beside this one have
// nothing to find, which the current folder could have.
inline constexpr const char* kStandardInputFile = "/proc/self/fd/0";

// An unlinked file, gone without a trace when the last process that has it open ends, whatever ends it.
class OSTRA_API TemporaryFile {
 public:
  // With `text` in it, in the file system of `folder`. Error: illegal state when it cannot be written.
  static Result<TemporaryFile> Create(const std::filesystem::path& folder, std::string_view text);

  // At its beginning; belongs to this object.
  int GetDescriptor() const { return _file.Get(); }

 private:
  explicit TemporaryFile(Descriptor file) : _file(std::move(file)) {}

  Descriptor _file;
};

}  // namespace ostra

#include "apps/ostra/kernels/nameless_file.h"

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "ostra/core/format.h"

OSTRA_UNIT("nameless_file");

namespace ostra::tool {

namespace {

Bool WriteAll(int file, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = write(file, text.data(), text.size());
    if (count < 0 && errno != EINTR) return false;
    if (count > 0) text.remove_prefix(static_cast<std::size_t>(count));
  }
  return lseek(file, 0, SEEK_SET) == 0;
}

}  // namespace

Result<NamelessFile> NamelessFile::Create(const std::filesystem::path& folder, std::string_view text) {
  std::string name = (folder / "input_XXXXXX").native();
  NamelessFile file(mkostemp(name.data(), O_CLOEXEC));
  // Before there is anything in it to be read.
  if (file._file >= 0 && unlink(name.c_str()) == 0 && WriteAll(file._file, text)) return file;
  return OSTRA_ILLEGAL_STATE("A file in @ cannot be written: @.", folder.native(), std::strerror(errno));
}

NamelessFile::~NamelessFile() {
  if (_file >= 0) close(_file);
}

}  // namespace ostra::tool

#include "ostra/io/temporary_file.h"

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "ostra/core/format.h"

OSTRA_UNIT("temporary_file");

namespace ostra {

Result<TemporaryFile> TemporaryFile::Create(const std::filesystem::path& folder, std::string_view text) {
  std::string name = (folder / "input_XXXXXX").native();
  TemporaryFile file(Descriptor(mkostemp(name.data(), O_CLOEXEC)));
  const Block<const Byte> bytes(reinterpret_cast<const Byte*>(text.data()), static_cast<Int>(text.size()));
  // Its name goes before there is anything in it to be read.
  if (file._file.IsOpen() && unlink(name.c_str()) == 0 && WriteBytes(file._file.Get(), bytes) &&
      lseek(file._file.Get(), 0, SEEK_SET) == 0)
    return file;
  return OSTRA_ILLEGAL_STATE("A file in @ cannot be written: @.", folder.native(), std::strerror(errno));
}

}  // namespace ostra

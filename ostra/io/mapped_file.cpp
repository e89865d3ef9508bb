#include "ostra/io/mapped_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

namespace ostra {

std::optional<MappedFile> MappedFile::Open(const char* path) {
  const Descriptor file(open(path, O_RDONLY | O_CLOEXEC));
  struct stat state;
  if (!file.IsOpen() || fstat(file.Get(), &state) != 0 || !S_ISREG(state.st_mode)) return std::nullopt;
  const auto size = static_cast<std::size_t>(state.st_size);
  if (size == 0) return MappedFile({});
  void* const bytes = mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_POPULATE, file.Get(), 0);
  if (bytes == MAP_FAILED) return std::nullopt;
  return MappedFile({static_cast<const Byte*>(bytes), static_cast<Int>(size)});
}

MappedFile::~MappedFile() {
  if (_bytes.GetCount() > 0) munmap(const_cast<Byte*>(_bytes.GetFirst()), static_cast<std::size_t>(_bytes.GetCount()));
}

}  // namespace ostra

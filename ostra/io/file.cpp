#include "ostra/io/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <utility>

OSTRA_UNIT("file");

namespace ostra {

namespace {

// An open file that is closed at the end.
class Descriptor {
 public:
  explicit Descriptor(int number) : _number(number) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() { Close(); }
  int Get() const { return _number; }
  Bool IsOpen() const { return _number >= 0; }
  // False when the system could not write what it had kept back.
  Bool Close() {
    const int number = std::exchange(_number, -1);
    return number < 0 || close(number) == 0;
  }

 private:
  int _number;
};

Error MakeFileError(const char* action, const Url& url, int code) {
  char buffer[128];
  return OSTRA_ILLEGAL_STATE("@ cannot be @: @.", url, action, strerror_r(code, buffer, sizeof(buffer)));
}

// The path of `url` with a final zero.
Result<CString> GetSystemPath(const Url& url) {
  if (url.IsEmpty()) return OSTRA_ILLEGAL_ARGUMENT("A file is needed, but the url is empty.");
  if (!(url.GetScheme() == "file"))
    return OSTRA_ILLEGAL_ARGUMENT("@ has the scheme \"@\"; only files can be opened.", url, url.GetScheme());
  const String path = url.GetPath();
  if (path.GetView().find('\0') != std::string_view::npos)
    return OSTRA_ILLEGAL_ARGUMENT("The file name \"@\" has a zero byte in it.", url);
  return CString::Create(path);
}

// Reads until the end, or until `target` is full. Returns the number of bytes, -1 on failure (errno says why).
Int ReadBytes(int file, Byte* target, Int size) {
  Int done = 0;
  while (done < size) {
    const ssize_t count = read(file, target + done, static_cast<std::size_t>(size - done));
    if (count == 0) break;
    if (count < 0 && errno != EINTR) return -1;
    if (count > 0) done += count;
  }
  return done;
}

Bool WriteBytes(int file, Block<const Byte> bytes) {
  Int done = 0;
  while (done < bytes.GetCount()) {
    const ssize_t count = write(file, bytes.GetFirst() + done, static_cast<std::size_t>(bytes.GetCount() - done));
    if (count < 0 && errno != EINTR) return false;
    if (count > 0) done += count;
  }
  return true;
}

// A name that no other thread or process writes at the same time.
Result<CString> MakeTemporaryPath(const CString& path) {
  static std::atomic<UInt32> counter{0};
  const UInt32 number = counter.fetch_add(1, std::memory_order_relaxed);
  OSTRA_ASSIGN_OR_RETURN(const String text, Format("@.@.@.tmp", path, static_cast<Int>(getpid()), number));
  return CString::Create(text);
}

Result<void> WriteInPlace(const Url& url, const CString& path, Block<const Byte> bytes) {
  Descriptor file(open(path.GetCString(), O_WRONLY | O_CLOEXEC));
  if (!file.IsOpen() || !WriteBytes(file.Get(), bytes) || !file.Close()) return MakeFileError("written", url, errno);
  return OK;
}

Result<void> WriteBesideAndRename(const Url& url, const CString& path, Block<const Byte> bytes) {
  OSTRA_ASSIGN_OR_RETURN(CString temporary, MakeTemporaryPath(path));
  const auto create = [&] { return open(temporary.GetCString(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666); };
  int opened = create();
  // A process of the same number may have been killed while it wrote.
  while (opened < 0 && errno == EEXIST) {
    OSTRA_ASSIGN_OR_RETURN(temporary, MakeTemporaryPath(path));
    opened = create();
  }
  Descriptor file(opened);
  if (!file.IsOpen()) return MakeFileError("written", url, errno);
  if (WriteBytes(file.Get(), bytes) && file.Close() && rename(temporary.GetCString(), path.GetCString()) == 0)
    return OK;
  const int code = errno;
  unlink(temporary.GetCString());
  return MakeFileError("written", url, code);
}

}  // namespace

// Allocates nothing, so that a lack of memory cannot look like a lack of the file. A path that does not fit is longer
// than any that can be opened.
IODETECT IoDetect(const Url& url) {
  char path[PATH_MAX];
  const std::string_view text = url.GetPath();
  const Bool isPath = url.GetScheme() == "file" && !text.empty() && text.find('\0') == std::string_view::npos;
  if (!isPath || text.size() >= sizeof(path)) return IODETECT::NONE;
  path[text.copy(path, text.size())] = 0;
  struct stat state;
  if (stat(path, &state) != 0) return IODETECT::NONE;
  return S_ISDIR(state.st_mode) ? IODETECT::DIRECTORY : IODETECT::FILE;
}

Result<UInt64> GetModificationStamp(const Url& url) {
  OSTRA_ASSIGN_OR_RETURN(const CString path, GetSystemPath(url));
  struct stat state;
  if (stat(path.GetCString(), &state) != 0) return MakeFileError("looked at", url, errno);
  return static_cast<UInt64>(state.st_mtim.tv_sec) * 1000000000 + static_cast<UInt64>(state.st_mtim.tv_nsec);
}

Result<BaseArray<Byte>> ReadFileToMemory(const Url& url) {
  OSTRA_ASSIGN_OR_RETURN(const CString path, GetSystemPath(url));
  const Descriptor file(open(path.GetCString(), O_RDONLY | O_CLOEXEC));
  struct stat state;
  if (!file.IsOpen() || fstat(file.Get(), &state) != 0) return MakeFileError("read", url, errno);
  if (S_ISDIR(state.st_mode)) return MakeFileError("read", url, EISDIR);
  BaseArray<Byte> bytes;
  // One byte more than expected, so that the end is seen in the first round; pipes and growing files need more rounds.
  Int size = S_ISREG(state.st_mode) ? state.st_size + 1 : 65536;
  Int done = 0;
  while (true) {
    OSTRA_RETURN_IF_ERROR(bytes.Resize(size));
    const Int count = ReadBytes(file.Get(), bytes.GetFirst() + done, size - done);
    if (count < 0) return MakeFileError("read", url, errno);
    done += count;
    if (done < size) break;
    size *= 2;
  }
  OSTRA_RETURN_IF_ERROR(bytes.Resize(done));
  return bytes;
}

Result<void> WriteFileAtomically(const Url& url, Block<const Byte> bytes) {
  OSTRA_ASSIGN_OR_RETURN(const CString path, GetSystemPath(url));
  struct stat state;
  const Bool exists = stat(path.GetCString(), &state) == 0;
  if (exists && S_ISDIR(state.st_mode)) return MakeFileError("written", url, EISDIR);
  if (exists && !S_ISREG(state.st_mode)) return WriteInPlace(url, path, bytes);
  return WriteBesideAndRename(url, path, bytes);
}

}  // namespace ostra

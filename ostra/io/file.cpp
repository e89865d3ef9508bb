#include "ostra/io/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <utility>

#include "ostra/io/descriptor.h"
#include "ostra/io/unfinished_file.h"

OSTRA_UNIT("file");

namespace ostra {

namespace {

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

constexpr std::size_t kMaxNameSize = 255;  // bytes of one name in a folder, as all common file systems have it

// A name in the folder of `path` that no other thread or process writes at the same time. Long names are cut, so that
// every name that a file may have leaves room for it.
Result<CString> MakeTemporaryPath(const CString& path) {
  static std::atomic<UInt32> counter{0};
  const UInt32 number = counter.fetch_add(1, std::memory_order_relaxed);
  char suffix[48];
  const int suffixSize =
      std::snprintf(suffix, sizeof(suffix), ".%lld.%u.tmp", static_cast<long long>(getpid()), number);
  std::string_view whole = path.GetCString();
  const std::size_t nameSize = whole.size() - (whole.rfind('/') + 1);  // npos + 1 is 0
  const std::size_t maxNameSize = kMaxNameSize - static_cast<std::size_t>(suffixSize);
  if (nameSize > maxNameSize) whole.remove_suffix(nameSize - maxNameSize);
  OSTRA_ASSIGN_OR_RETURN(const String text, Format("@@", whole, std::string_view(suffix)));
  return CString::Create(text);
}

using FileParts = std::span<const Block<const Byte>>;

Bool WriteParts(int file, FileParts parts) {
  return std::all_of(parts.begin(), parts.end(), [file](const auto& part) { return WriteBytes(file, part); });
}

Result<void> WriteInPlace(const Url& url, const CString& path, FileParts parts) {
  Descriptor file(open(path.GetCString(), O_WRONLY | O_CLOEXEC));
  if (!file.IsOpen() || !WriteParts(file.Get(), parts) || !file.Close()) return MakeFileError("written", url, errno);
  return OK;
}

// What a new file takes over from the one that it replaces: who may read and write it.
void CopyPermissions(int file, const struct stat& former) {
  mode_t mode = former.st_mode & 07777;
  struct stat state;
  const Bool hasGroup = fstat(file, &state) == 0 &&
                        (state.st_gid == former.st_gid || fchown(file, static_cast<uid_t>(-1), former.st_gid) == 0);
  // Another group gets no more than everyone.
  if (!hasGroup) mode = (mode & ~mode_t(070)) | ((mode & 07) << 3);
  fchmod(file, mode);
}

// Gives the file of a descriptor, which has no name, the name `path`. Returns the error number.
int LinkInPlace(int file, const CString& path, const CString& temporary, Bool isNew) {
  char descriptor[48];
  std::snprintf(descriptor, sizeof(descriptor), "/proc/self/fd/%d", file);
  const auto link = [&](const CString& name) {
    return linkat(AT_FDCWD, descriptor, AT_FDCWD, name.GetCString(), AT_SYMLINK_FOLLOW) == 0 ? 0 : errno;
  };
  if (isNew) {
    const int code = link(path);
    if (code != EEXIST) return code;  // otherwise it has just been made, or is a link that leads nowhere
  }
  const UnfinishedFile unfinished(temporary.GetCString());
  if (const int code = link(temporary); code != 0) return code;
  if (rename(temporary.GetCString(), path.GetCString()) == 0) return 0;
  const int code = errno;
  unlink(temporary.GetCString());
  return code;
}

// Whether a file system has no files without a name, or there is no way to give them one.
Bool CannotBeNameless(int code) {
  return code == EOPNOTSUPP || code == EISDIR || code == ENOENT || code == EINVAL || code == EXDEV;
}

// Where it is possible the bytes are written to a file without a name: a process that is ended meanwhile leaves
// nothing. `former`: the file that is replaced, null for a new one. Returns the error number.
int WriteNameless(const CString& path, const CString& temporary, FileParts parts, const struct stat* former) {
  char folder[PATH_MAX];
  const std::string_view whole = path.GetCString();
  const std::size_t slash = whole.rfind('/');
  const std::string_view text = slash == std::string_view::npos ? "." : whole.substr(0, slash == 0 ? 1 : slash);
  if (text.size() >= sizeof(folder)) return ENAMETOOLONG;
  folder[text.copy(folder, text.size())] = 0;
  Descriptor file(open(folder, O_TMPFILE | O_WRONLY | O_CLOEXEC, 0666));
  if (!file.IsOpen() || !WriteParts(file.Get(), parts)) return errno;
  if (former) CopyPermissions(file.Get(), *former);
  return LinkInPlace(file.Get(), path, temporary, !former);
}

int WriteNamed(const CString& path, const CString& temporary, FileParts parts, const struct stat* former) {
  const UnfinishedFile unfinished(temporary.GetCString());
  Descriptor file(open(temporary.GetCString(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
  if (!file.IsOpen()) return errno;
  if (former) CopyPermissions(file.Get(), *former);
  if (WriteParts(file.Get(), parts) && file.Close() && rename(temporary.GetCString(), path.GetCString()) == 0) return 0;
  const int code = errno;
  unlink(temporary.GetCString());
  return code;
}

Result<void> WriteBesideAndRename(const Url& url, const CString& path, FileParts parts, const struct stat* former) {
  int code = EEXIST;
  // A process of the same number may have been killed while it wrote.
  while (code == EEXIST) {
    OSTRA_ASSIGN_OR_RETURN(const CString temporary, MakeTemporaryPath(path));
    code = WriteNameless(path, temporary, parts, former);
    if (CannotBeNameless(code)) code = WriteNamed(path, temporary, parts, former);
  }
  if (code != 0) return MakeFileError("written", url, code);
  return OK;
}

// Checks a file before it is replaced. Error: a folder, or read-only.
Result<void> CheckReplacement(const Url& url, const CString& path, const struct stat& state) {
  if (S_ISDIR(state.st_mode)) return MakeFileError("written", url, EISDIR);
  // A file without any write permission is refused for the superuser as well, although the system would allow it.
  if (S_ISREG(state.st_mode) &&
      ((state.st_mode & 0222) == 0 || faccessat(AT_FDCWD, path.GetCString(), W_OK, AT_EACCESS) != 0))
    return OSTRA_ILLEGAL_STATE("@ cannot be written: it is there already and read-only.", url);
  return OK;
}

// Pipes and devices, and the names of descriptors such as "/dev/stdout": what they lead to is open in other programs.
Bool IsWrittenInPlace(const CString& path, const struct stat& state) {
  const std::string_view text = path.GetCString();
  return !S_ISREG(state.st_mode) || text.starts_with("/dev/stdout") || text.starts_with("/dev/stderr") ||
         text.starts_with("/dev/fd/") || text.starts_with("/proc/");
}

Result<void> CheckReading(const Url& url, const struct stat& state, const ReadLimits& limits) {
  if (S_ISDIR(state.st_mode)) return MakeFileError("read", url, EISDIR);
  if (!S_ISREG(state.st_mode) && !limits.mayBePipe)
    return OSTRA_ILLEGAL_STATE("@ cannot be read: it is a @, and only regular files are read.", url,
                               S_ISFIFO(state.st_mode)   ? "pipe"
                               : S_ISSOCK(state.st_mode) ? "socket"
                                                         : "device");
  if (S_ISREG(state.st_mode) && state.st_size > limits.maxSize)
    return OSTRA_ILLEGAL_STATE("@ cannot be read: it has @ bytes, and at most @ are read.", url, Int(state.st_size),
                               limits.maxSize);
  return OK;
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

Result<BaseArray<Byte>> ReadFileToMemory(const Url& url, const ReadLimits& limits) {
  OSTRA_ASSIGN_OR_RETURN(const CString path, GetSystemPath(url));
  struct stat state;
  // Looked at before it is opened: opening a device may do something, and opening a pipe waits for its writer.
  if (stat(path.GetCString(), &state) != 0) return MakeFileError("read", url, errno);
  OSTRA_RETURN_IF_ERROR(CheckReading(url, state, limits));
  const Descriptor file(open(path.GetCString(), O_RDONLY | O_CLOEXEC | O_NOCTTY | (limits.mayBePipe ? 0 : O_NONBLOCK)));
  if (!file.IsOpen() || fstat(file.Get(), &state) != 0) return MakeFileError("read", url, errno);
  OSTRA_RETURN_IF_ERROR(CheckReading(url, state, limits));
  BaseArray<Byte> bytes;
  // One byte more than expected, so that the end is seen in the first round; pipes and growing files need more rounds.
  Int size = S_ISREG(state.st_mode) ? state.st_size + 1 : 65536;
  Int done = 0;
  while (true) {
    OSTRA_RETURN_IF_ERROR(bytes.Resize(size));
    const Int count = ReadBytes(file.Get(), bytes.GetFirst() + done, size - done);
    if (count < 0) return MakeFileError("read", url, errno);
    done += count;
    if (done > limits.maxSize)
      return OSTRA_ILLEGAL_STATE("@ cannot be read: it has more than the @ bytes that are read at most.", url,
                                 limits.maxSize);
    if (done < size) break;
    size *= 2;
  }
  OSTRA_RETURN_IF_ERROR(bytes.Resize(done));
  return bytes;
}

Result<void> CheckFileTarget(const Url& url) {
  OSTRA_ASSIGN_OR_RETURN(const CString path, GetSystemPath(url));
  struct stat state;
  const Bool exists = stat(path.GetCString(), &state) == 0;
  if (!exists && errno == ENAMETOOLONG) return MakeFileError("written", url, errno);
  if (exists) OSTRA_RETURN_IF_ERROR(CheckReplacement(url, path, state));
  if (exists && IsWrittenInPlace(path, state)) return OK;
  const Url folder = url.GetDirectory().IsEmpty() ? Url("."_s) : url.GetDirectory();
  if (IoDetect(folder) != IODETECT::DIRECTORY)
    return OSTRA_ILLEGAL_STATE("@ cannot be written: there is no folder @.", url, folder);
  OSTRA_ASSIGN_OR_RETURN(const CString folderPath, GetSystemPath(folder));
  if (faccessat(AT_FDCWD, folderPath.GetCString(), W_OK, AT_EACCESS) != 0)
    return OSTRA_ILLEGAL_STATE("@ cannot be written: the folder @ is not writable.", url, folder);
  return OK;
}

Result<void> WriteFileAtomically(const Url& url, Block<const Byte> bytes) {
  return WriteFileAtomically(url, {&bytes, 1});
}

Result<void> WriteFileAtomically(const Url& url, std::span<const Block<const Byte>> parts) {
  OSTRA_ASSIGN_OR_RETURN(const CString path, GetSystemPath(url));
  struct stat state;
  const Bool exists = stat(path.GetCString(), &state) == 0;
  if (exists) OSTRA_RETURN_IF_ERROR(CheckReplacement(url, path, state));
  if (exists && IsWrittenInPlace(path, state)) return WriteInPlace(url, path, parts);
  return WriteBesideAndRename(url, path, parts, exists ? &state : nullptr);
}

}  // namespace ostra

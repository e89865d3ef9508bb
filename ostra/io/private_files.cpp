#include "ostra/io/private_files.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>

#include "ostra/core/format.h"

OSTRA_UNIT("privatefiles");

namespace ostra {
namespace {

constexpr mode_t kOthersMayWrite = S_IWGRP | S_IWOTH;
constexpr std::string_view kTemporarySuffix = ".XXXXXX.tmp";

// Reasons of the operating system, without allocating.
class Reason {
 public:
  explicit Reason(int code) : _text(strerror_r(code, _buffer, sizeof(_buffer))) {}
  std::string_view GetView() const { return _text; }

 private:
  char _buffer[128];
  const char* _text;
};

Bool IsFolder(const char* path) {
  struct stat state;
  return stat(path, &state) == 0 && S_ISDIR(state.st_mode);
}

Bool IsOwnerTrusted(const struct stat& state) { return state.st_uid == geteuid() || state.st_uid == 0; }

// A path for the system, on the stack.
struct Path {
  char text[PATH_MAX];

  Bool Set(std::string_view path, std::string_view suffix = {}) {
    if (path.empty() || path.find('\0') != std::string_view::npos) return false;
    if (path.size() + suffix.size() >= sizeof(text)) return false;
    path.copy(text, path.size());
    suffix.copy(text + path.size(), suffix.size());
    text[path.size() + suffix.size()] = 0;
    return true;
  }
};

}  // namespace

Result<void> MakePrivateFolder(std::string_view folder) {
  Path path;
  if (!path.Set(folder)) return OSTRA_ILLEGAL_STATE("The folder \"@\" cannot be made: the name is invalid.", folder);
  if (IsFolder(path.text)) return OK;
  int code = 0;
  for (char* end = path.text + 1;; ++end) {
    if (*end != '/' && *end != 0) continue;
    const char separator = *end;
    *end = 0;
    if (!IsFolder(path.text) && mkdir(path.text, S_IRWXU) != 0) code = errno;
    *end = separator;
    if (separator == 0) break;
  }
  if (IsFolder(path.text)) return OK;
  return OSTRA_ILLEGAL_STATE("The folder @ cannot be made: @.", folder, Reason(code == 0 ? ENOTDIR : code));
}

Result<Descriptor> OpenTrustedFolder(std::string_view folder) {
  Path path;
  errno = ENAMETOOLONG;
  Descriptor opened(path.Set(folder) ? open(path.text, O_RDONLY | O_DIRECTORY | O_CLOEXEC) : -1);
  struct stat state;
  if (!opened.IsOpen() || fstat(opened.Get(), &state) != 0)
    return OSTRA_ILLEGAL_STATE("The folder @ cannot be read: @.", folder, Reason(errno));
  if (IsOwnerTrusted(state) && !(state.st_mode & kOthersMayWrite)) return opened;
  if (!IsOwnerTrusted(state))
    return OSTRA_ILLEGAL_STATE(
        "The folder @ is not used: another user (number @) owns it and could put files into it. Name a folder of your "
        "own.",
        folder, state.st_uid);
  return OSTRA_ILLEGAL_STATE(
      "The folder @ is not used: other users may write to it. Take the right away with \"chmod go-w\", or name "
      "another folder.",
      folder);
}

Result<void> CheckTrustedFile(std::string_view file) {
  Path path;
  struct stat state;
  if (!path.Set(file) || lstat(path.text, &state) != 0) return OK;
  if (!S_ISREG(state.st_mode))
    return OSTRA_ILLEGAL_STATE("@ is not used: it is a link, a folder or a device. Delete it.", file);
  if (!IsOwnerTrusted(state))
    return OSTRA_ILLEGAL_STATE("The file @ is not used: another user (number @) owns it. Delete it.", file,
                               state.st_uid);
  if (state.st_mode & kOthersMayWrite)
    return OSTRA_ILLEGAL_STATE("The file @ is not used: other users may write it. Delete it.", file);
  return OK;
}

Result<void> WritePrivateFile(std::string_view file, Block<const Byte> bytes, Bool isSynced) {
  Path target, temporary;
  if (!target.Set(file) || !temporary.Set(file, kTemporarySuffix))
    return OSTRA_ILLEGAL_STATE("@ cannot be written: @.", file, Reason(ENAMETOOLONG));
  Descriptor opened(mkostemps(temporary.text, 4, O_CLOEXEC));  // behind the X
  if (!opened.IsOpen()) return OSTRA_ILLEGAL_STATE("@ cannot be written: @.", file, Reason(errno));
  if (WriteBytes(opened.Get(), bytes) && (!isSynced || fdatasync(opened.Get()) == 0) && opened.Close() &&
      rename(temporary.text, target.text) == 0)
    return OK;
  const int code = errno;
  unlink(temporary.text);
  return OSTRA_ILLEGAL_STATE("@ cannot be written: @.", file, Reason(code));
}

Result<void> SyncPrivateFile(std::string_view file) {
  Path path;
  errno = ENAMETOOLONG;
  const Descriptor opened(path.Set(file) ? open(path.text, O_RDONLY | O_CLOEXEC) : -1);
  if (opened.IsOpen() && fchmod(opened.Get(), S_IRUSR | S_IWUSR) == 0 && fsync(opened.Get()) == 0) return OK;
  return OSTRA_ILLEGAL_STATE("@ cannot be written: @.", file, Reason(errno));
}

Result<String> MakeUniqueFolder(std::string_view prefix) {
  Path path;
  errno = ENAMETOOLONG;
  if (path.Set(prefix, "XXXXXX") && mkdtemp(path.text)) return String::Create(path.text);
  return OSTRA_ILLEGAL_STATE("@", Reason(errno));
}

}  // namespace ostra

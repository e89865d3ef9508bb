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

// A right of the group counts for nothing where the group is the superuser's, or the one that many systems make for
// each user, with the same number.
Bool MayOthersRenameEntries(const struct stat& state) {
  if (state.st_mode & S_ISVTX) return false;
  const Bool isGroupTrusted = state.st_gid == 0 || (state.st_gid == geteuid() && state.st_gid == getegid());
  return (state.st_mode & S_IWOTH) || ((state.st_mode & S_IWGRP) && !isGroupTrusted);
}

Result<void> CheckFolder(const char* path) {
  struct stat state;
  if (lstat(path, &state) != 0) return OSTRA_ILLEGAL_STATE("The folder @ cannot be read: @.", path, Reason(errno));
  if (!S_ISDIR(state.st_mode)) return OSTRA_ILLEGAL_STATE("@ is no folder.", path);
  if (!IsOwnerTrusted(state))
    return OSTRA_ILLEGAL_STATE(
        "The folder @ is not used: another user (number @) owns it and could put files into it. Name a folder of your "
        "own.",
        path, state.st_uid);
  if (state.st_mode & kOthersMayWrite)
    return OSTRA_ILLEGAL_STATE(
        "The folder @ is not used: other users may write to it. Take the right away with \"chmod go-w\", or name "
        "another folder.",
        path);
  return OK;
}

// `path` is absolute and without links; it is shortened to the root.
Result<void> CheckFoldersAbove(char* path, std::string_view folder) {
  while (path[1] != 0) {
    char* end = std::strrchr(path, '/');
    end[end == path ? 1 : 0] = 0;
    struct stat state;
    if (lstat(path, &state) != 0) return OSTRA_ILLEGAL_STATE("The folder @ cannot be read: @.", path, Reason(errno));
    if (!IsOwnerTrusted(state))
      return OSTRA_ILLEGAL_STATE(
          "The folder @ is not used: another user (number @) owns @ and could exchange what is in there. Name a folder "
          "elsewhere.",
          folder, state.st_uid, path);
    if (MayOthersRenameEntries(state))
      return OSTRA_ILLEGAL_STATE(
          "The folder @ is not used: other users may write to @ and could exchange what is in there. Take the right "
          "away with \"chmod go-w\", or name a folder elsewhere.",
          folder, path);
  }
  return OK;
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

// The error number of the first step that failed, 0 for success.
int WriteAndClose(int file, Block<const Byte> bytes, Bool isSynced) {
  int code = 0;
  if (!WriteBytes(file, bytes) || (isSynced && fdatasync(file) != 0)) code = errno;
  if (close(file) != 0 && code == 0) code = errno;
  return code;
}

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

Result<String> ResolveTrustedFolder(std::string_view folder) {
  Path path, resolved;
  errno = ENAMETOOLONG;
  if (!path.Set(folder) || !realpath(path.text, resolved.text))
    return OSTRA_ILLEGAL_STATE("The folder @ cannot be read: @.", folder, Reason(errno));
  OSTRA_RETURN_IF_ERROR(CheckFolder(resolved.text));
  OSTRA_ASSIGN_OR_RETURN(String result, String::Create(resolved.text));
  OSTRA_RETURN_IF_ERROR(CheckFoldersAbove(resolved.text, folder));
  return result;
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
  const int opened = mkostemps(temporary.text, 4, O_CLOEXEC);  // behind the X
  if (opened < 0) return OSTRA_ILLEGAL_STATE("@ cannot be written: @.", file, Reason(errno));
  int code = WriteAndClose(opened, bytes, isSynced);
  if (code == 0 && rename(temporary.text, target.text) != 0) code = errno;
  if (code == 0) return OK;
  unlink(temporary.text);
  return OSTRA_ILLEGAL_STATE("@ cannot be written: @.", file, Reason(code));
}

}  // namespace ostra

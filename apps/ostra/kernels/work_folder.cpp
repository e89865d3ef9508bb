#include "apps/ostra/kernels/work_folder.h"

#include <stdlib.h>

#include <cerrno>
#include <cstring>

#include "ostra/core/format.h"

OSTRA_UNIT("work_folder");

namespace ostra::tool {

namespace {

namespace fs = std::filesystem;

// Empty when it cannot be made; errno says why.
std::string MakeFolder(const fs::path& pattern) {
  std::string path = pattern.native();
  return mkdtemp(path.data()) ? path : std::string();
}

fs::path GetTemporaryFolder() {
  const char* chosen = std::getenv("TMPDIR");
  return chosen && *chosen == '/' ? chosen : "/tmp";
}

}  // namespace

Result<std::shared_ptr<const WorkFolder>> WorkFolder::Create(const CacheFolder& cache) {
  std::string reason = cache.reason, path;
  if (cache.folder) {
    path = MakeFolder(cache.folder->GetPath() / "work_XXXXXX");
    if (path.empty()) reason = "the folder " + cache.folder->GetName() + " cannot be written: " + std::strerror(errno);
  }
  const fs::path temporary = GetTemporaryFolder();
  if (path.empty()) path = MakeFolder(temporary / "ostra_XXXXXX");
  if (path.empty())
    return OSTRA_ILLEGAL_STATE("There is no folder to compile kernels in: @, and @ cannot be written: @.", reason,
                               temporary.native(), std::strerror(errno));
  auto folder = std::make_shared<WorkFolder>(std::move(path));
  folder->_reason = std::move(reason);
  folder->_cache = cache.folder;
  OSTRA_ASSIGN_OR_RETURN(folder->_folder, OpenFolder::Open(folder->_path));
  return std::shared_ptr<const WorkFolder>(std::move(folder));
}

WorkFolder::~WorkFolder() {
  std::error_code code;
  fs::remove_all(_path, code);
}

}  // namespace ostra::tool

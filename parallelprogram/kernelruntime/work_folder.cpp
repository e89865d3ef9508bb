#include "parallelprogram/kernelruntime/work_folder.h"

#include <cstdlib>
#include <optional>

#include "ostra/core/format.h"
#include "ostra/io/private_files.h"

OSTRA_UNIT("work_folder");

namespace ostra::kernelruntime {

namespace {

namespace fs = std::filesystem;

fs::path GetTemporaryFolder() {
  const char* chosen = std::getenv("TMPDIR");
  return chosen && *chosen == '/' ? chosen : "/tmp";
}

}  // namespace

Result<std::shared_ptr<const WorkFolder>> WorkFolder::Create(const CacheFolder& cache) {
  std::string reason = cache.reason;
  std::optional<Result<String>> made;
  if (cache.folder) {
    made = MakeUniqueFolder((cache.folder->GetPath() / "work_").native());
    if (!*made) {
      const std::string_view cause = made->GetError().GetMessage();
      reason = "the folder " + cache.folder->GetName() + " cannot be written: " + std::string(cause);
    }
  }
  const fs::path temporary = GetTemporaryFolder();
  if (!made || !*made) made = MakeUniqueFolder((temporary / "ostra_").native());
  if (!*made)
    return OSTRA_ILLEGAL_STATE("There is no folder to compile kernels in: @, and @ cannot be written: @.", reason,
                               temporary.native(), made->GetError());
  std::string path((*made)->GetView());
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

}  // namespace ostra::kernelruntime

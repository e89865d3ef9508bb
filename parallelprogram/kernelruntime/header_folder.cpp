#include "parallelprogram/kernelruntime/header_folder.h"

#include <filesystem>

#include "ostra/core/format.h"
#include "ostra/host.h"

OSTRA_UNIT("header_folder");

namespace ostra::kernelruntime {

namespace fs = std::filesystem;

Result<std::string> FindHeaderFolder() {
  OSTRA_ASSIGN_OR_RETURN(const String libraryFolder, Host::GetLibraryFolder());
  fs::path folder = libraryFolder.GetView();
  for (int level = 0; level < 3; ++level, folder = folder.parent_path()) {
    const fs::path headers = folder / "include";
    std::error_code code;
    if (fs::exists(headers / "parallelprogram/program/kernel_language.h", code)) return headers.native();
  }
  return OSTRA_ILLEGAL_STATE("The headers that kernels are compiled with are not found near @.", libraryFolder);
}

}  // namespace ostra::kernelruntime

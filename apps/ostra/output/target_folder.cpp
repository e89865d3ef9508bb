#include "apps/ostra/output/target_folder.h"

#include <unistd.h>

#include <filesystem>
#include <string>

#include "ostra/core/format.h"
#include "ostra/io/file.h"

OSTRA_UNIT("target_folder");

namespace ostra::tool {

Result<void> CheckTargetFolder(const Url& file) {
  std::error_code code;
  // Devices and pipes are opened as they are, and nothing is made beside them.
  if (std::filesystem::is_other(std::string(file.GetPath().GetView()), code)) return OK;
  Url folder = file.GetDirectory();
  if (folder.IsEmpty()) folder = Url("."_s);
  if (IoDetect(folder) != IODETECT::DIRECTORY)
    return OSTRA_ILLEGAL_STATE("@ cannot be written: there is no folder @.", file, folder);
  OSTRA_ASSIGN_OR_RETURN(const CString path, CString::Create(folder.GetPath()));
  if (access(path.GetCString(), W_OK) != 0)
    return OSTRA_ILLEGAL_STATE("@ cannot be written: the folder @ is not writable.", file, folder);
  return OK;
}

}  // namespace ostra::tool

#include "parallelprogram/kernelruntime/cache_folder.h"

#include "ostra/core/format.h"
#include "ostra/io/content_store.h"
#include "ostra/io/private_files.h"

OSTRA_UNIT("cache_folder");

namespace ostra::kernelruntime {

Result<CacheFolder> OpenCacheFolder(const std::string& chosen, std::string_view setting) {
  std::string folder = chosen;
  if (folder.empty()) {
    OSTRA_ASSIGN_OR_RETURN(const String found, GetUserCacheFolder());
    folder = found.GetView();
  }
  if (folder.empty()) return CacheFolder{nullptr, "neither HOME nor XDG_CACHE_HOME names a folder for it"};
  if (auto made = MakePrivateFolder(folder); !made) {
    if (chosen.empty()) return CacheFolder{nullptr, std::string(made.GetError().GetMessage().GetView())};
    return OSTRA_ILLEGAL_STATE("@ The folder for compiled kernels cannot be written; name another one with @.",
                               made.GetError(), setting);
  }
  auto opened = OpenFolder::Open(folder);
  if (!opened)
    return OSTRA_ILLEGAL_STATE(
        "@ Compiled kernels are native code and run with the rights of this user; @ names another folder for them.",
        opened.GetError(), setting);
  return CacheFolder{std::move(*opened), {}};
}

}  // namespace ostra::kernelruntime

// Where compiled kernels are kept.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "ostra/io/open_folder.h"

namespace ostra::kernelruntime {

struct CacheFolder {
  std::shared_ptr<const OpenFolder> folder;  // null: there is none
  std::string reason;                        // why there is none
};

// The folder `chosen`, or, when it is empty, the user's cache folder. What is missing is made for the owner alone.
// Kernels are made without the user's cache folder, too, so that it is not an error when it cannot be made. Errors:
// illegal state when `chosen` cannot be made, or when others than the user and the superuser may write to the folder;
// they name `setting`, with which the caller's user chooses another folder.
Result<CacheFolder> OpenCacheFolder(const std::string& chosen, std::string_view setting);

}  // namespace ostra::kernelruntime

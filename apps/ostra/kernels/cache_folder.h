// Where compiled kernels are kept.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "ostra/core/result.h"
#include "ostra/io/descriptor.h"

namespace ostra::tool {

// An open folder, closed at the end. Its path leads to the same folder even if others exchange it, or one above it.
class OpenFolder {
 public:
  // Errors: those of OpenTrustedFolder (ostra/io/private_files.h).
  static Result<std::shared_ptr<const OpenFolder>> Open(const std::string& name);

  // For this process and those that it starts, while this object lives.
  const std::filesystem::path& GetPath() const { return _path; }
  // As the user knows it; for messages.
  const std::string& GetName() const { return _name; }

 private:
  OpenFolder(std::string name, Descriptor descriptor);

  const std::string _name;
  const Descriptor _descriptor;
  std::filesystem::path _path;
};

struct CacheFolder {
  std::shared_ptr<const OpenFolder> folder;  // null: there is none
  std::string reason;                        // why there is none
};

// The folder `chosen`, or, when it is empty, the user's cache folder. What is missing is made for the owner alone. The
// tool works without the user's cache folder, so that it is not an error when it cannot be made. Errors: illegal state
// when `chosen` cannot be made, or when others than the user and the superuser may write to the folder.
Result<CacheFolder> OpenCacheFolder(const std::string& chosen);

}  // namespace ostra::tool

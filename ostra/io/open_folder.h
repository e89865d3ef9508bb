// A folder that is held open, so that its contents are found whatever happens to its name.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "ostra/core/result.h"
#include "ostra/io/descriptor.h"

namespace ostra {

// An open folder, closed at the end. Its path leads to the same folder even if others exchange it, or one above it.
// Thread-safe. Throws std::bad_alloc.
class OSTRA_API OpenFolder {
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

}  // namespace ostra

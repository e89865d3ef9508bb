#include "ostra/io/open_folder.h"

#include <unistd.h>

#include "ostra/io/private_files.h"

namespace ostra {

Result<std::shared_ptr<const OpenFolder>> OpenFolder::Open(const std::string& name) {
  OSTRA_ASSIGN_OR_RETURN(Descriptor descriptor, OpenTrustedFolder(name));
  return std::shared_ptr<const OpenFolder>(new OpenFolder(name, std::move(descriptor)));
}

OpenFolder::OpenFolder(std::string name, Descriptor descriptor)
    : _name(std::move(name)), _descriptor(std::move(descriptor)) {
  _path = "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(_descriptor.Get());
  // Where the system does not show its processes, the name has to do.
  if (access(_path.c_str(), F_OK) != 0) _path = std::filesystem::absolute(_name);
}

}  // namespace ostra

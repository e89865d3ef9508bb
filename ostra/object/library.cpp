#include <dlfcn.h>
#include <unistd.h>

#include "ostra/core/data_type.h"
#include "ostra/core/format.h"
#include "ostra/object/loaded_module.h"
#include "ostra/object/shared_object.h"

OSTRA_UNIT("moduleloader");

namespace ostra {
namespace {

const char* GetLoadError() {
  const char* text = ::dlerror();
  return text ? text : "unknown reason";
}

// Lets modules find the host and the libraries below it, which a program that has loaded the host as a plug-in of its
// own, such as an interpreter, keeps to itself.
void ShareHost() {
  Dl_info information;
  if (::dladdr(reinterpret_cast<const void*>(&ShareHost), &information) && information.dli_fname)
    ::dlopen(information.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_GLOBAL);
}

}  // namespace

const void* FindSharedObject(const void* address) {
  Dl_info information;
  return ::dladdr(address, &information) ? information.dli_fbase : nullptr;
}

Result<Library> Library::Open(std::string_view path) {
  // A name without a directory would be searched for in the system's library folders.
  const std::string_view folder = path.find('/') == std::string_view::npos ? "./" : "";
  Library library;
  OSTRA_ASSIGN_OR_RETURN(library._path, String::Concatenate(folder, path));
  OSTRA_ASSIGN_OR_RETURN(CString file, CString::Create(library._path));
  if (::access(file.GetCString(), F_OK) != 0) return OSTRA_ILLEGAL_ARGUMENT("There is no module file \"@\".", path);
  [[maybe_unused]] static const Bool isShared = (ShareHost(), true);
  library._handle = ::dlopen(file.GetCString(), RTLD_NOW | RTLD_LOCAL);
  if (!library._handle)
    return OSTRA_ILLEGAL_ARGUMENT("The module file \"@\" cannot be loaded: @", path, GetLoadError());
  return library;
}

Library::~Library() {
  if (!_handle) return;
  if (_wasStarted && ServesDataTypes()) return;
  ::dlclose(_handle);
}

// Types that were described first in this module, and that others may use since, need its code: it then stays in
// memory. Types that the module has erased do not count. A file that was opened once more and never started decides
// nothing: the types of the module that runs from it are no reason to keep this handle.
Bool Library::ServesDataTypes() const {
  const void* base = FindSharedObject(::dlsym(_handle, "g_ostra"));
  if (!base) return false;
  return DataType::AnyOperation([base](const void* operation) { return FindSharedObject(operation) == base; });
}

Result<ModuleDescriptor&> Library::FindDescriptor() const {
  auto* descriptor = static_cast<ModuleDescriptor*>(::dlsym(_handle, "g_ostra"));
  if (!descriptor)
    return OSTRA_ILLEGAL_ARGUMENT("The file \"@\" is not a module: it has no descriptor g_ostra.", _path);
  if (descriptor->magic != ModuleDescriptor::MAGIC)
    return OSTRA_ILLEGAL_ARGUMENT("The file \"@\" is not a module: its g_ostra is not a module descriptor.", _path);
  if (descriptor->apiVersion != ModuleDescriptor::API_VERSION) {
    return OSTRA_ILLEGAL_ARGUMENT("The module file \"@\" is made for module interface @; this host has @.", _path,
                                  descriptor->apiVersion, ModuleDescriptor::API_VERSION);
  }
  return *descriptor;
}

}  // namespace ostra

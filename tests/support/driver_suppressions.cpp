// What the leak sanitizer must not say about drivers and layers. Linked by test programs that use a device.
//
// Every line names the library and has a reason; nothing of ours is left out. The thread sanitizer reports nothing
// about the driver. Without the address sanitizer the file is empty.
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define __SANITIZE_ADDRESS__ 1
#endif
#endif

#if defined(__SANITIZE_ADDRESS__)
#include <dlfcn.h>
#include <link.h>

#include <string_view>

namespace {

bool IsOfTheSystem(void* library) {
  link_map* entry = nullptr;
  if (dlinfo(library, RTLD_DI_LINKMAP, &entry) != 0) return false;
  const std::string_view path = entry->l_name;
  return path.starts_with("/usr/") || path.starts_with("/lib");
}

}  // namespace

// Drivers and layers stay until the process ends: what the variables of a library that is gone led to is lost, and a
// library that is gone has no name to be suppressed by.
extern "C" [[gnu::visibility("default")]] int dlclose(void* library) noexcept {
  if (IsOfTheSystem(library)) return 0;
  using Close = int(void*);
  static Close* const close = reinterpret_cast<Close*>(dlsym(RTLD_NEXT, "dlclose"));
  return close(library);
}

// Asked for by the leak sanitizer.
extern "C" [[gnu::visibility("default")]] const char* __lsan_default_suppressions() {
  // The validation layer keeps what it knows about devices until the process ends. The software driver loses compiled
  // variants of pipelines that were destroyed; the layer, which knows every object that we make, is silent about them.
  return "leak:libVkLayer_khronos_validation.so\n"
         "leak:libvulkan_lvp.so\n"
         "leak:libLLVM\n";
}
#endif

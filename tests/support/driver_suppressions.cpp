// What sanitizers report about drivers and layers and not about us. Linked by test programs that use a device.
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

namespace {

// The loader unloads layers with the last instance, and a library that is gone has no name to be found by. Null where
// the layer is not installed: it is not kept then.
[[maybe_unused]] const void* const g_layer =
    dlopen("libVkLayer_khronos_validation.so", RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);

}  // namespace

// Asked for by the leak sanitizer.
extern "C" [[gnu::visibility("default")]] const char* __lsan_default_suppressions() {
  // The validation layer keeps what it knows about devices until the process ends.
  return "leak:libVkLayer_khronos_validation.so\n";
}
#endif

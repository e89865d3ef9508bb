// The code of volk, which finds the Vulkan functions in the loader at run time.
#define VOLK_IMPLEMENTATION
#include <volk.h>

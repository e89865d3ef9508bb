// Where the source of a kernel lies.
#pragma once

#include "ostra/io/url.h"

namespace ostra {

struct KernelLocation {
  Url file;
  String templateArgument;  // takes the place of TYPE in the source; empty for most kernels
};

// The file of a kernel. A location of the "relative" scheme is looked for in the folder "shaders" of `resourcePath`:
// first a variant for the GPU, NAME_gpu with the suffix and without, then NAME without suffix; when none of them is
// there it is NAME with its suffix. A name that ends in "_T_", as in "blur_float_T_.krn", is that of the template
// "blur.krn" with the argument "float". Every other location is taken as it is.
// Error: out of memory.
Result<KernelLocation> LocateKernel(const Url& resourcePath, const Url& file);

}  // namespace ostra

// What `ostra run --help` says.
#pragma once

#include "ostra/image/picture_format.h"

namespace ostra::tool {

inline constexpr const char* kRunSummary = "Run a kernel file on data from files";

inline constexpr const char* kRunDetails =
    R"(Without --size there is one invocation per pixel of the pictures, else per element of arrays and textures. A kernel that
asks for a y (InGlobalInvocationID.y, GROUPSIZE(16, 16, 1)) gets them in rows, any other in one line. Where this could
leave a part out, --size is asked for; docs/dispatch-size.md has the whole rule. Buffers that are only written start as
zeros and have one element per invocation. The uniforms width and height are those of the picture, or of what has rows,
unless they are set.

A template is a kernel with TYPE in it: --template-argument float puts float there, and so does the name NAME_float_T_.krn
for the file NAME.krn.

Files: )" OSTRA_PICTURE_SUFFIXES R"( (pictures, elements of 4 x float32), .npy, .csv, .raw;
zeros:SIZE and ones:SIZE make elements.

Textures: what the kernel declares as a texture is read as one. Pictures give the channels and numbers that it declares
(0 to 1, or 0 to 255 for U8), .npy files their axes with the channels last. --in given several times makes layers, on
the CPU only, or the slices of a volume. --texture NAME:KEY=VALUE,... says how it is read:
  wrap=repeat|clamp|border       beyond the edges; by axis: repeat/clamp (clamp)
  border=R/G/B/A                 the value there with wrap=border (0); 0 on every GPU
  coordinates=normalized|texels  what the kernel samples with (normalized: 0 to 1); on the CPU only
  srgb=true|false                texels are decoded from the sRGB curve (false); on the CPU only
  size=WxHxD, layers=N           of files that do not say it (.raw, .csv), or to read others differently
  channels=LETTERS               which of a picture's r, g, b and a are taken (the first ones)

Noises: a kernel with ADDNOISECALL takes --set noiseMode_0=MODE, a number or a name such as gaseous (perlin), and --set
noiseSeed_0=SEED (0), and so on for noise number 1, 2, ...

Backends: gpu runs the same file on the GPU. The first dispatch there includes what the driver compiles; --repeat shows the
time without. both runs it on the CPU and on the GPU, writes what the GPU has computed, and says how far they differ.
OSTRA_VULKAN_DEVICE in the environment chooses among several GPUs; see 'ostra info --help'.

On the CPU 4 to 16 invocations run at a time where the kernel has a wide form. --explain says how many, or which line stands
in the way.

--profile says how long the parts of the run and the dispatches took, on the GPU by the device's clock; docs/profiling.md
explains it. --profile=FILE writes a trace for trace viewers as well.

PRINT("x = %v", x); in a kernel shows values, with the line and the invocation; ASSERT(x > 0); ends the run unless it
holds. --checked looks at indices, divisors and loops. All of it works on the CPU and the GPU; see docs/debugging.md.

--backend both --first-difference takes the first element that differs, and shows what the invocation that stored it
computed on both sides, line by line; --first-difference=BOUND takes no notice of smaller distances.

--debug compiles the kernel without optimisation and with debug information, and runs it on one thread:
gdb -x share/ostra/gdb/ostra.py --args ostra run --debug KERNEL.krn ... steps through its lines; see docs/debugging.md.

Examples:
  ostra run net.example.blur.krn --in image=photo.png --out result=blurred.png --set radius=3
  ostra run net.example.warp.krn --in image=photo.png --texture image:wrap=repeat,srgb=true --out result=out.png
  ostra run net.example.life.krn --in now=start.npy --out next=end.npy --swap now,next --iterations 100

Exit status: 0 done, 1 failed, 2 wrong usage.
)";

}  // namespace ostra::tool

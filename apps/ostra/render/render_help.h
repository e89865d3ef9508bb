// What `ostra render --help` says.
#pragma once

namespace ostra::tool {

inline constexpr const char* kRenderSummary = "Draw a scene with graphics programs from stage files into a picture";

inline constexpr const char* kRenderDetails =
    R"(A scene is a JSON file: kernels that run first, then passes that are drawn one after the other into colour and depth
targets; the last one draws the picture. Each draw names its stage files (.vert, .frag, and .tsc, .tse to divide patches),
its vertices (a shape, numbers, files, or the buffer of a kernel), the values of its uniforms (numbers, or cameras and other
matrices as they are made), its textures (pictures, or what an earlier pass has drawn) and its state. Names of files count
from the folder of the scene. The page scene-files.md lists every key; it is in docs/ of the sources, in share/doc/ostra once
installed.

--set replaces a value that stands under "values" in the scene. OSTRA_VULKAN_DEVICE in the environment chooses among several
GPUs; see 'ostra info --help'.

Example:
  ostra render scene.json --out picture.png --size 1280x720
  ostra render turntable.json --out 017.png --set degrees=17

Exit status: 0 done, 1 failed, 2 wrong usage.
)";

}  // namespace ostra::tool

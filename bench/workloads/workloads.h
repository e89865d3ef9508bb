// The workloads. Each checks its results, prints its figures and returns false, with the reason on standard error,
// when something is wrong.
#pragma once

#include "bench/measure.h"

namespace bench {

bool RunSaxpy(const Options& options);
// The same data sixteen times, so that it may be where it was.
bool RunSaxpyAgain(const Options& options);
bool RunBlur5(const Options& options);
bool RunMandelbrot(const Options& options);
bool RunNBody(const Options& options);
bool RunDispatch(const Options& options);
bool RunHeavy(const Options& options);
// All tex2d_ and tex3d_ workloads.
bool RunTextures(const Options& options);
// 256 MiB to the device and back, beside transfers written by hand.
bool RunUpload(const Options& options);
bool RunStore(const Options& options);
bool RunReadBack(const Options& options);
// Empty work, from recording to its end.
bool RunGpuSubmit(const Options& options);
bool RunReplay(const Options& options);
// Two buffers that change places behind each of many dispatches.
bool RunPingPong(const Options& options);
// Kernel files to programs of the device, with empty and with full caches.
bool RunShaderCompile(const Options& options);
// Generated kernels of up to 1 MB: time and memory of the compiler.
bool RunLargeProgram(const Options& options);
// The tool: from a changed kernel file to its result on the CPU.
bool RunKernelCompile(const Options& options);
// Draws with values of their own, in one pass.
bool RunDraws(const Options& options);
// Stage files to programs that have drawn, with empty and with full caches.
bool RunProgramBuild(const Options& options);
// A tessellated terrain.
bool RunTerrain(const Options& options);
// An encoded container beside libcrypto's own calls.
bool RunDecode(const Options& options);
// exp, pow, sin and others, for one number and for several lanes.
bool RunElementary(const Options& options);
// A kernel file with three headers through the shader parser.
bool RunTranslate(const Options& options);
// The language server with a kernel file of a thousand lines.
bool RunEditor(const Options& options);

}  // namespace bench

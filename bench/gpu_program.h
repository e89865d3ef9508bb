// The GPU program and the raw reference as contestants of a workload.
//
//   GpuWork work("net.ostra.kernels.saxpy.krn", "y");
//   if (work.Start(options)) {
//     work.AddBuffer<float>("x", count, GetX);
//     work.AddBuffer<float>("y", count, GetY);
//     work.SetUniform("a", 0.5f);
//     work.AddPeers(contest, count, 1, [](const void* y) { return IsRight(y); });
//   }
#pragma once

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "bench/measure.h"
#include "bench/program.h"
#include "bench/vulkan/raw_vulkan.h"

namespace bench {

// The name of the device that is measured; empty, with the reason on standard error, when there is none.
std::string FindGpu(const Options& options);

// The folder of this program, without a slash at its end.
std::string GetProgramFolder();

// A GPU program after Init, with the kernel; kernels lie in the folder "shaders" beside this program.
ostra::ParallelProgramRef MakeGpuProgram(const char* kernel);
std::string GetKernelPath(const char* kernel);

// The bytes of a program's buffer, copied from the device.
std::vector<std::uint8_t> ReadBuffer(ostra::ParallelProgramInterface& program, const std::string& name);

// A kernel with its buffers and values, for both contestants.
class GpuWork {
 public:
  GpuWork(const char* kernel, const char* result) : _kernel(kernel), _result(result) {}

  template <class T, class Fill>
  void AddBuffer(const char* name, ostra::Int count, Fill&& fill) {
    ostra::BaseArray<T> elements;
    Need(elements.Resize(count));
    for (ostra::Int i = 0; i < count; ++i) elements[i] = fill(i);
    Need(_program->StoreUniformBufferData(Name(name), elements));
    Need(_program->SetBufferToActiveKernelSameId(Name(name)));
    const auto buffer = std::make_shared<RawBuffer>(_device, sizeof(T) * count, RawMemory::Device);
    buffer->Write(elements.GetFirst());
    _raw->SetBuffer(name, buffer);
    if (name == _result) _rawResult = buffer;
  }
  // A texture that is filtered, of 1 or 4 channels of floats. Its texels are copied.
  void AddTexture(const char* name, ostra::TextureBindData data);
  template <class T>
  void SetUniform(const char* name, T value) {
    Need(_program->SetUniform(Name(name), value));
    _raw->SetUniform(name, &value, sizeof(T));
  }

  // Starts both; before anything is added. False when there is no device.
  bool Start(const Options& options);

  // A peer "vulkan-timeline" waits as the GPU program does, on a timeline semaphore, where the reference has a fence.
  void AddTimelinePeer(Contest& contest, std::uint32_t x, std::function<bool(const void*)> isRight, int dispatches,
                       int repeats);
  // One run is `dispatches` dispatches, recorded, submitted and awaited; `repeats` times that.
  void AddPeers(Contest& contest, std::uint32_t x, std::uint32_t y, std::function<bool(const void*)> isRight,
                int dispatches = 1, int repeats = 1);

  // One run is `swaps` dispatches behind each of which two buffers change places, all in one submission.
  void AddSwappingPeers(Contest& contest, std::uint32_t x, const char* first, const char* second,
                        std::function<bool(const void*)> isRight, int swaps);

  // The same recorded once and replayed `repeats` times a run, each time with the value of `uniform` set anew,
  // submitted and awaited. By hand that is a secondary command buffer.
  void AddReplayingPeers(Contest& contest, std::uint32_t x, const char* first, const char* second, const char* uniform,
                         std::function<bool(const void*)> isRight, int swaps, int repeats);

 private:
  void AddRawPeer(Contest& contest, const char* peer, std::uint32_t x, std::uint32_t y,
                  std::function<bool(const void*)> isRight, int dispatches, int repeats, bool usesTimeline);
  static ostra::InternedId Name(const char* name) { return Need(ostra::InternedId::Create(name)); }

  const char* _kernel;
  std::string _result;
  ostra::ParallelProgramRef _program;
  RawDeviceRef _device;
  std::shared_ptr<RawKernel> _raw;
  RawBufferRef _rawResult;
};

}  // namespace bench

// A CPU program as the workloads use it: failures end the workload with the error's message.
#pragma once

#include <stdexcept>
#include <string>

#include "ostra/core/data.h"
#include "parallelprogram/program/parallel_program.h"
#include "parallelprogram/textures/sampling_data.h"

namespace bench {

// Carries an error of the host out of a workload.
struct Failure : std::runtime_error {
  explicit Failure(const ostra::Error& error) : std::runtime_error(std::string(error.GetMessage().GetView())) {}
};

template <class T>
T Need(ostra::Result<T> result) {
  if (!result) throw Failure(result.GetError());
  if constexpr (!std::is_void_v<T>) return std::move(result).GetValue();
}

// A program with one kernel. Buffers and uniforms have the names of the kernel's parameters.
class Program {
 public:
  explicit Program(const char* kernelFile);

  template <class T>
  void SetUniform(const char* name, T value) {
    Need(_program->SetUniform(Name(name), value));
  }
  // A buffer of `count` elements, linked to the parameter of its name; `fill(index)` gives its contents.
  template <class T, class Fill>
  T* AddBuffer(const char* name, ostra::Int count, Fill&& fill) {
    ostra::BaseArray<T> elements;
    Need(elements.Resize(count));
    for (ostra::Int i = 0; i < count; ++i) elements[i] = fill(i);
    Need(_program->StoreUniformBufferData(Name(name), std::move(elements)));
    Need(_program->SetBufferToActiveKernelSameId(Name(name)));
    return static_cast<T*>(GetBuffer(name));
  }
  // A texture, linked to the parameter of its name. Its texels are copied.
  void AddTexture(const char* name, ostra::TextureBindData data) {
    Need(_program->StoreTextureBindData(Name(name), data, false));
    Need(_program->SetTextureToActiveKernelSameId(Name(name)));
  }
  // A sampler that the program did not make; it has to outlive the program.
  void AddSampler(const char* name, ostra::TextureSamplerDataHelper* sampler) {
    Need(_program->SetKernelTextureLink(Name(name), Need(ostra::Data::Create(sampler))));
  }
  // Hands everything to the kernel; before the first Dispatch.
  void Prepare() { Need(_program->UpdateUniforms()); }
  bool Dispatch(ostra::UInt32 x, ostra::UInt32 y = 1) { return _program->DispatchKernel(x, y, 1, false).IsOk(); }

 private:
  static ostra::InternedId Name(const char* name) { return Need(ostra::InternedId::Create(name)); }
  void* GetBuffer(const char* name);

  ostra::ParallelProgramRef _program;
};

}  // namespace bench

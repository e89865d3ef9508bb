// ProgramRunner: one kernel on one program, from its inputs to its results.
//
//   ProgramRunner runner(kGpuProgramClass, kernels, "net.ostra.kernels.saxpy.krn");
//   runner.SetValue("a", 2.0f);
//   runner.SetBuffer<Float32>("y", {1, 2, 3});
//   runner.Run({3, 1, 1});
//   runner.Read<Float32>("y");
//   if (!runner.GetFailure().empty()) ...
//
// After the first failure nothing more is done.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "conformance/scenario_target.h"
#include "ostra/io/url.h"
#include "parallelprogram/program/parallel_program.h"

namespace ostra::conformance {

// A program after Init, on a context of its own, that finds kernels in `kernels`.
Result<ParallelProgramRef> MakeProgram(const Id& programClass, const Url& kernels);

// The name of a kernel file of a KernelFolder as programs take it.
Result<Url> MakeKernelUrl(std::string_view kernel);

class ProgramRunner final : public ScenarioTarget {
 public:
  ProgramRunner(const Id& programClass, const Url& kernels, std::string_view kernel);

  void SetCounter(const char* name, UInt32 value) override;
  void SetNoise(const Id& classId, Int32 seed) override;
  void SetTypedValue(const char* name, const DataType& type, const void* value) override;
  void SetTypedBuffer(const char* name, const BufferElements& elements) override;
  void SetTexture(const char* name, TextureBindData& description);

  // Waits for the end.
  void Run(const Vec3<UInt32>& extent);

  std::vector<Byte> ReadBytes(const std::string& name);
  template <class T>
  std::vector<T> Read(const std::string& name) {
    const std::vector<Byte> bytes = ReadBytes(name);
    std::vector<T> elements(bytes.size() / sizeof(T));
    if (!elements.empty()) MemCopy(elements.data(), bytes.data(), static_cast<Int>(bytes.size()));
    return elements;
  }
  UInt32 ReadCounter(const std::string& name);

  // The buffers and counters that were set.
  const std::map<std::string, DataType>& GetBuffers() const { return _buffers; }
  const std::vector<std::string>& GetCounters() const { return _counters; }

  // What went wrong; empty when nothing did.
  const std::string& GetFailure() const { return _failure; }

 private:
  template <class Step>
  void Do(Step&& step);

  ParallelProgramRef _program;
  std::map<std::string, DataType> _buffers;
  std::vector<std::string> _counters;
  std::string _failure;
};

// The bytes of a value that holds an array. Error: illegal argument for another value.
Result<std::vector<Byte>> GetArrayBytes(const Data& data);

}  // namespace ostra::conformance

// ClientRun: what a client's scenario works with on a program of either class, and what it has found wrong.
//
//   void StoredElementsAreReadBack(ClientRun& run) {
//     run.Store<Float32>("a"_iid, {1, 2});
//     CONFORMANCE_HOLDS(run, run.Read<Float32>("a"_iid) == Floats{1, 2});
//   }
//
// The macros end the function when what they ask for is not so.
#pragma once

#include <string>
#include <vector>

#include "conformance/program_runner.h"
#include "parallelprogram/textures/sampling_data.h"

namespace ostra::conformance {

using Floats = std::vector<Float32>;

class ClientRun {
 public:
  // A program of the class, after Init.
  ClientRun(const Id& programClass, const Url& kernels);

  Bool IsGpu() const { return _isGpu; }
  ParallelProgramInterface* operator->() { return _program.GetPointer(); }
  const Url& GetKernels() const { return _kernels; }

  // Notes what did not hold, with the line. Return `holds`.
  Bool Check(Bool holds, const char* text, const char* file, int line);
  template <class R>
  Bool CheckOk(const R& result, const char* text, const char* file, int line) {
    return result || Note(std::string(text) + ": " + std::string(result.GetError().GetMessage().GetView()), file, line);
  }
  // An empty message stands for any.
  template <class R>
  Bool CheckError(const R& result, const Id& kind, std::string_view message, const char* text, const char* file,
                  int line) {
    if (result) return Note(std::string(text) + " succeeds", file, line);
    return CheckErrorIs(result.GetError(), kind, message, text, file, line);
  }
  const std::vector<std::string>& GetFailures() const { return _failures; }

  // Steps of many scenarios; what fails is noted.
  void AddKernel(const InternedId& id, std::string_view kernel);
  template <class T>
  void Store(const InternedId& id, const std::vector<T>& values) {
    CheckOk(_program->StoreUniformBufferData(id, MakeArray(values)), "StoreUniformBufferData", __FILE__, __LINE__);
  }
  template <class T>
  std::vector<T> Read(const InternedId& id) {
    return GetElements<T>(_program->GetGlobalBufferData(id));
  }
  template <class T>
  std::vector<T> GetElements(const Result<Data>& data) {
    const std::vector<Byte> bytes = GetBytes(data);
    std::vector<T> elements(bytes.size() / sizeof(T));
    if (!elements.empty()) MemCopy(elements.data(), bytes.data(), static_cast<Int>(bytes.size()));
    return elements;
  }
  // The record of a texture that was read back. Null for other data, which is noted as a failure.
  const SamplingData* GetTexture(const Result<Data>& data);
  Floats GetTexels(const Result<Data>& data);

  template <class T>
  static BaseArray<T> MakeArray(const std::vector<T>& values) {
    BaseArray<T> array;
    if (!array.Resize(static_cast<Int>(values.size()))) throw std::bad_alloc();
    for (std::size_t i = 0; i < values.size(); ++i) array[static_cast<Int>(i)] = values[i];
    return array;
  }

 private:
  Bool Note(std::string text, const char* file, int line);
  Bool CheckErrorIs(const Error& error, const Id& kind, std::string_view message, const char* text, const char* file,
                    int line);
  std::vector<Byte> GetBytes(const Result<Data>& data);

  const Bool _isGpu;
  const Url& _kernels;
  ParallelProgramRef _program;
  std::vector<std::string> _failures;
};

// A scenario, and what it is called in a table.
struct ClientScenario {
  const char* name;  // a sentence without blanks
  void (*run)(ClientRun&);
};

// What went wrong when the scenario ran on a new program of the class; empty when nothing did.
std::vector<std::string> RunClient(void (*scenario)(ClientRun&), const Id& programClass, const Url& kernels);

// The texels as a texture of four channels, whole or clamped at the edges.
TextureBindData DescribeTexels(const Floats& texels, UInt32 width, UInt32 height);
Floats MakeTexels(UInt32 width, UInt32 height);

// Everything, as a corner of a region.
inline constexpr Int32 kAll = 1 << 30;

}  // namespace ostra::conformance

#define CONFORMANCE_HOLDS(run, ...)                                            \
  do {                                                                         \
    if (!(run).Check((__VA_ARGS__), #__VA_ARGS__, __FILE__, __LINE__)) return; \
  } while (false)

#define CONFORMANCE_OK(run, ...)                                                 \
  do {                                                                           \
    if (!(run).CheckOk((__VA_ARGS__), #__VA_ARGS__, __FILE__, __LINE__)) return; \
  } while (false)

// `message` "" stands for any.
#define CONFORMANCE_FAILS(run, kind, message, ...)                                                 \
  do {                                                                                             \
    if (!(run).CheckError((__VA_ARGS__), kind, message, #__VA_ARGS__, __FILE__, __LINE__)) return; \
  } while (false)

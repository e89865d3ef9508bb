// ProgramStore: the compiled programs of a device. A text that is running somewhere is not compiled again; the results
// of the compiler and of the driver are kept on disk, so that a later start compiles nothing.
#pragma once

#include <chrono>

#include "ostra/core/hash_map.h"
#include "ostra/core/owned.h"
#include "ostra/drawport_vulkan/driver_cache.h"
#include "ostra/drawport_vulkan/pipeline.h"

namespace ostra::vulkan {

// Counts of what was really done; for tests and reports.
struct ProgramStatistics {
  Int compiled = 0;  // texts that the compiler worked on
  Int loaded = 0;    // SPIR-V found on disk
  Int shared = 0;    // programs that were running already
};

// A stage on its way to the compiler.
struct StageText {
  DrawportStage stage = DrawportStage::Compute;
  const AssembledShader* shader = nullptr;
};

// The key of the words that `compiler` makes of a stage's text. Another compiler, or another version of it, makes
// others.
ContentKey MakeSpirvKey(std::string_view compiler, const Id& language, DrawportStage stage, std::string_view text);

class ProgramStore {
 public:
  // OSTRA_GPU_CACHE names the folder of the disk caches; "off" keeps nothing. Otherwise it is the folder "gpu" of the
  // user's cache folder. A folder that cannot be used is a warning, not an error. Error: out of memory.
  static Result<Owned<ProgramStore>> Create(Device& device);

  explicit ProgramStore(Device& device) : _device(device), _driverCache(device) {}
  ProgramStore(const ProgramStore&) = delete;
  ~ProgramStore();

  // The pipeline of the assembled texts of all stages with their bindings. `name` stands in messages about a text as a
  // whole, and in debuggers. Errors: illegal argument with the messages of the compiler; those of Pipeline::Create.
  // Thread-safe.
  Result<PipelineRef> GetPipeline(const Id& language, Block<const StageText> stages,
                                  Block<const PipelineBinding> declared, const String& name);
  // The driver has compiled something since `begin`. What it keeps is saved when that has become much more than
  // saving takes: a process that ends badly has little to compile again. Thread-safe.
  void NoteCompiled(std::chrono::steady_clock::time_point begin);
  // Called by a pipeline that goes.
  void Forget(const Pipeline& pipeline);

  ProgramStatistics GetStatistics() const;

 private:
  Result<void> Init();
  Result<BaseArray<UInt32>> GetSpirv(const Id& language, const StageText& text, const String& name);
  // SPIR-V that the device can run, and what it says of itself.
  Result<PipelineStage> CompileStage(const Id& language, const StageText& text, const String& name);
  PipelineRef FindRunning(const ContentKey& key);

  Device& _device;
  ContentStore _store;
  String _compiler;
  DriverCache _driverCache;

  mutable std::mutex _mutex;
  HashMap<ContentKey, Pipeline*> _running;  // not counted
  ProgramStatistics _statistics;
  Bool _hasNewPipelines = false;             // since the driver's cache was saved
  std::mutex _saveMutex;                     // held while the driver's cache is saved
  std::chrono::nanoseconds _unsavedTime{0};  // of the driver's compiler since then
  std::chrono::nanoseconds _saveTime{0};     // that the last time took
};

}  // namespace ostra::vulkan

#include "ostra/drawport_vulkan/program_store.h"

#include <cstdlib>

#include "ostra/core/diagnostics.h"
#include "ostra/monitor/monitor.h"
#include "ostra/shadercompiler/shader_compiler.h"
#include "ostra/shadercompiler/version.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

constexpr Int kStoreLimit = Int(256) << 20;

std::string_view GetBytes(const void* first, std::size_t size) { return {static_cast<const char*>(first), size}; }

Result<String> FindStoreFolder() {
  const char* chosen = std::getenv("OSTRA_GPU_CACHE");
  if (chosen && std::string_view(chosen) == "off") return String();
  if (chosen && *chosen) return String::Create(chosen);
  OSTRA_ASSIGN_OR_RETURN(const String folder, GetUserCacheFolder());
  if (folder.IsEmpty()) return String();
  return String::Concatenate(folder, "/gpu");
}

}  // namespace

Result<ProgramStore*> ProgramStore::Create(Device& device) {
  ProgramStore* store = NewObj<ProgramStore>(device);
  if (!store) return OSTRA_OUT_OF_MEMORY();
  Result<void> started = store->Init();
  if (started) return store;
  DeleteObj(store);
  return started.TakeError();
}

ProgramStore::~ProgramStore() {
  SaveDriverCache();
  if (_driverCache) vkDestroyPipelineCache(_device.GetHandle(), _driverCache, nullptr);
}

Result<void> ProgramStore::Init() {
  OSTRA_ASSIGN_OR_RETURN(const String folder, FindStoreFolder());
  auto store = ContentStore::Open(folder, kStoreLimit);
  if (store)
    _store = std::move(*store);
  else if (store.GetError().GetKind() == kOutOfMemoryError)
    return store.TakeError();
  else
    WarningOutput("Compiled GPU programs are not kept: @", store.GetError());

  const VkPhysicalDeviceProperties& properties = _device.GetProperties();
  _driverKey.Add(std::string_view("pipelines"));
  _driverKey.Add(GetBytes(properties.pipelineCacheUUID, sizeof(properties.pipelineCacheUUID)));
  _driverKey.Add(std::string_view(properties.deviceName));
  for (const UInt32 number : {properties.vendorID, properties.deviceID, properties.driverVersion})
    _driverKey.Add(static_cast<UInt64>(number));
  OSTRA_ASSIGN_OR_RETURN(const String version, GetShaderCompilerVersion());
  _compilerKey.Add(std::string_view("spirv"));
  _compilerKey.Add(version.GetView());

  // The driver looks at the data and leaves alone what is not its own.
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<Byte> data, _store.Load(_driverKey));
  VkPipelineCacheCreateInfo info = {VK_STRUCTURE_TYPE_PIPELINE_CACHE_CREATE_INFO};
  info.initialDataSize = static_cast<std::size_t>(data.GetCount());
  info.pInitialData = data.GetFirst();
  return OSTRA_VULKAN(vkCreatePipelineCache(_device.GetHandle(), &info, nullptr, &_driverCache));
}

void ProgramStore::SaveDriverCache() {
  if (!_hasNewPipelines || _device.IsLost()) return;
  std::size_t size = 0;
  if (vkGetPipelineCacheData(_device.GetHandle(), _driverCache, &size, nullptr) != VK_SUCCESS || size == 0) return;
  BaseArray<Byte> data;
  if (!data.Resize(static_cast<Int>(size))) return;
  if (vkGetPipelineCacheData(_device.GetHandle(), _driverCache, &size, data.GetFirst()) != VK_SUCCESS) return;
  _store.Save(_driverKey, Block<const Byte>(data.GetFirst(), static_cast<Int>(size)));
}

PipelineRef ProgramStore::FindRunning(const ContentKey& key) {
  const std::scoped_lock lock(_mutex);
  Pipeline* const* known = _running.Find(key);
  // One whose last holder just let go is past help.
  if (!known || !(*known)->TryAddRef()) return {};
  ++_statistics.shared;
  return PipelineRef::Adopt(*known);
}

void ProgramStore::Forget(const Pipeline& pipeline) {
  const std::scoped_lock lock(_mutex);
  Pipeline* const* known = _running.Find(pipeline.GetKey());
  if (known && *known == &pipeline) _running.Erase(pipeline.GetKey());
}

ProgramStatistics ProgramStore::GetStatistics() const {
  const std::scoped_lock lock(_mutex);
  return _statistics;
}

Result<BaseArray<UInt32>> ProgramStore::GetSpirv(const Id& language, const StageText& text, const String& name) {
  ContentKey key = _compilerKey;
  key.Add(language.GetView());
  key.Add(static_cast<UInt64>(text.stage));
  key.Add(text.shader->text.GetView());
  BaseArray<UInt32> words;
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<Byte> kept, _store.Load(key));
  if (kept.IsPopulated() && kept.GetCount() % static_cast<Int>(sizeof(UInt32)) == 0) {
    OSTRA_RETURN_IF_ERROR(words.Resize(kept.GetCount() / static_cast<Int>(sizeof(UInt32))));
    MemCopy(words.GetFirst(), kept.GetFirst(), kept.GetCount());
    const std::scoped_lock lock(_mutex);
    ++_statistics.loaded;
    return words;
  }
  const MonitorScope scope("compile shader");
  OSTRA_ASSIGN_OR_RETURN(CompiledShader compiled, CompileShader(language, text.stage, *text.shader));
  {
    const std::scoped_lock lock(_mutex);
    ++_statistics.compiled;
  }
  if (!compiled.IsCompiled()) return MakeCompileError(*text.shader, compiled, name);
  words = std::move(compiled.words);
  _store.Save(key, Block<const Byte>(reinterpret_cast<const Byte*>(words.GetFirst()),
                                     words.GetCount() * static_cast<Int>(sizeof(UInt32))));
  return words;
}

Result<PipelineRef> ProgramStore::GetPipeline(const Id& language, Block<const StageText> stages,
                                              Block<const PipelineBinding> declared, const String& name) {
  ContentKey key = _compilerKey;
  key.Add(language.GetView());
  for (Int i = 0; i < stages.GetCount(); ++i) {
    key.Add(static_cast<UInt64>(stages[i].stage));
    key.Add(stages[i].shader->text.GetView());
  }
  for (Int i = 0; i < declared.GetCount(); ++i) {
    key.Add(static_cast<UInt64>(declared[i].number));
    key.Add(static_cast<UInt64>(declared[i].type));
  }
  if (PipelineRef running = FindRunning(key)) return running;

  BaseArray<PipelineStage> compiled;
  BaseArray<PipelineBinding> used;
  for (Int i = 0; i < stages.GetCount(); ++i) {
    PipelineStage stage;
    stage.stage = stages[i].stage;
    OSTRA_ASSIGN_OR_RETURN(stage.words, GetSpirv(language, stages[i], name));
    const Block<const UInt32> words(stage.words.GetFirst(), stage.words.GetCount());
    if (RunsForSamples(words) && !_device.GetGraphics().hasSampleShading)
      return OSTRA_ILLEGAL_STATE("The GPU device cannot run a stage for each sample, which InSampleID asks for.");
    stage.writesDepth = WritesDepth(words);
    OSTRA_ASSIGN_OR_RETURN(stage.inputs, FindLocations(words, true));
    OSTRA_ASSIGN_OR_RETURN(stage.outputs, FindLocations(words, false));
    OSTRA_ASSIGN_OR_RETURN(const BaseArray<UInt32> numbers, FindBindings(words));
    for (const UInt32 number : numbers) {
      for (Int k = 0; k < declared.GetCount(); ++k) {
        if (declared[k].number != number) continue;
        if (used.IsPopulated() && used[used.GetCount() - 1].number == number) break;
        OSTRA_RETURN_IF_ERROR(used.Append(PipelineBinding{number, declared[k].type, GetStageFlag(stage.stage)}));
        break;
      }
    }
    OSTRA_RETURN_IF_ERROR(compiled.Append(std::move(stage)));
  }
  OSTRA_ASSIGN_OR_RETURN(
      PipelineRef pipeline,
      Pipeline::Create(_device, key, std::move(compiled),
                       Block<const PipelineBinding>(used.GetFirst(), used.GetCount()), _driverCache));
  if (const auto label = CString::Create(name)) pipeline->SetName(*label);
  const std::scoped_lock lock(_mutex);
  _hasNewPipelines = true;
  OSTRA_ASSIGN_OR_RETURN(const auto entry, _running.Insert(key, pipeline.GetPointer()));
  // Two threads may have made the same one: the later stands in the table.
  *entry.value = pipeline.GetPointer();
  return pipeline;
}

}  // namespace ostra::vulkan

#include "ostra/drawport_vulkan/program_store.h"

#include <algorithm>
#include <cstdlib>

#include "ostra/core/diagnostics.h"
#include "ostra/drawport_vulkan/program_limit.h"
#include "ostra/drawport_vulkan/spirv.h"
#include "ostra/monitor/monitor.h"
#include "ostra/shadercompiler/shader_compiler.h"
#include "ostra/shadercompiler/version.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

constexpr Int kStoreLimit = Int(256) << 20;
// What the driver keeps is saved when its compiler has worked for at least so long, and so many times as long as saving
// takes.
constexpr std::chrono::nanoseconds kLeastUnsaved = std::chrono::milliseconds(20);
constexpr int kUnsavedPerSave = 20;

Result<String> FindStoreFolder() {
  const char* chosen = std::getenv("OSTRA_GPU_CACHE");
  if (chosen && std::string_view(chosen) == "off") return String();
  if (chosen && *chosen) return String::Create(chosen);
  OSTRA_ASSIGN_OR_RETURN(const String folder, GetUserCacheFolder());
  if (folder.IsEmpty()) return String();
  return String::Concatenate(folder, "/gpu");
}

// Adds the declared bindings that a stage uses.
Result<void> AddBindings(const PipelineStage& stage, Block<const PipelineBinding> declared,
                         BaseArray<PipelineBinding>& used) {
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<UInt32> numbers,
                         FindBindings(Block<const UInt32>(stage.words.GetFirst(), stage.words.GetCount())));
  for (const UInt32 number : numbers) {
    for (Int k = 0; k < declared.GetCount(); ++k) {
      if (declared[k].number != number) continue;
      if (used.IsPopulated() && used.GetLast().number == number) break;
      OSTRA_RETURN_IF_ERROR(used.Append(PipelineBinding{number, declared[k].type, GetStageFlag(stage.stage)}));
      break;
    }
  }
  return OK;
}

}  // namespace

ContentKey MakeSpirvKey(std::string_view compiler, const Id& language, DrawportStage stage, std::string_view text) {
  ContentKey key;
  key.Add(std::string_view("spirv"));
  key.Add(compiler);
  key.Add(language.GetView());
  key.Add(static_cast<UInt64>(stage));
  key.Add(text);
  return key;
}

Result<Owned<ProgramStore>> ProgramStore::Create(Device& device) {
  Owned<ProgramStore> store = MakeOwned<ProgramStore>(device);
  if (!store) return OSTRA_OUT_OF_MEMORY();
  OSTRA_RETURN_IF_ERROR(store->Init());
  return store;
}

ProgramStore::~ProgramStore() {
  if (_hasNewPipelines) _driverCache.Save(_store);
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

  OSTRA_ASSIGN_OR_RETURN(_compiler, GetShaderCompilerVersion());
  return _driverCache.Load(_store);
}

PipelineRef ProgramStore::FindRunning(const ContentKey& key) {
  const std::scoped_lock lock(_mutex);
  Pipeline* const* known = _running.Find(key);
  // One whose last holder just let go is past help.
  if (!known || !(*known)->TryAddRef()) return {};
  ++_statistics.shared;
  return PipelineRef::Adopt(*known);
}

void ProgramStore::NoteCompiled(std::chrono::steady_clock::time_point begin) {
  const auto end = std::chrono::steady_clock::now();
  // While another thread saves, the time is only counted.
  const std::unique_lock saving(_saveMutex, std::try_to_lock);
  {
    const std::scoped_lock lock(_mutex);
    _hasNewPipelines = true;
    _unsavedTime += end - begin;
    if (!saving || _unsavedTime < std::max(kLeastUnsaved, kUnsavedPerSave * _saveTime)) return;
    _unsavedTime = {};
    _hasNewPipelines = false;
  }
  _driverCache.Save(_store);
  const std::scoped_lock lock(_mutex);
  _saveTime = std::chrono::steady_clock::now() - end;
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
  const ContentKey key = MakeSpirvKey(_compiler, language, text.stage, text.shader->text);
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

Result<PipelineStage> ProgramStore::CompileStage(const Id& language, const StageText& text, const String& name) {
  PipelineStage stage;
  stage.stage = text.stage;
  OSTRA_ASSIGN_OR_RETURN(stage.words, GetSpirv(language, text, name));
  const Block<const UInt32> words(stage.words.GetFirst(), stage.words.GetCount());
  if (RunsForSamples(words) && !_device.GetGraphics().hasSampleShading)
    return OSTRA_ILLEGAL_STATE("The GPU device cannot run a stage for each sample, which InSampleID asks for.");
  OSTRA_RETURN_IF_ERROR(CheckShader(_device.GetShaderFeatures(), GetStageFlag(stage.stage), words, name));
  OSTRA_RETURN_IF_ERROR(CheckProgramSize(words, name));
  stage.writesDepth = WritesDepth(words);
  OSTRA_ASSIGN_OR_RETURN(stage.inputs, FindLocations(words, true));
  OSTRA_ASSIGN_OR_RETURN(stage.outputs, FindLocations(words, false));
  return stage;
}

Result<PipelineRef> ProgramStore::GetPipeline(const Id& language, Block<const StageText> stages,
                                              Block<const PipelineBinding> declared, const String& name) {
  ContentKey key;
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
    OSTRA_ASSIGN_OR_RETURN(PipelineStage stage, CompileStage(language, stages[i], name));
    OSTRA_RETURN_IF_ERROR(AddBindings(stage, declared, used));
    OSTRA_RETURN_IF_ERROR(compiled.Append(std::move(stage)));
  }
  const auto begin = std::chrono::steady_clock::now();
  OSTRA_ASSIGN_OR_RETURN(
      PipelineRef pipeline,
      Pipeline::Create(_device, key, std::move(compiled),
                       Block<const PipelineBinding>(used.GetFirst(), used.GetCount()), _driverCache.GetHandle()));
  if (const auto label = CString::Create(name)) pipeline->SetName(*label);
  {
    const std::scoped_lock lock(_mutex);
    OSTRA_ASSIGN_OR_RETURN(const auto entry, _running.Insert(key, pipeline.GetPointer()));
    // Two threads may have made the same one: the later stands in the table.
    *entry.value = pipeline.GetPointer();
  }
  NoteCompiled(begin);  // may save, which other users of the program do not wait for
  return pipeline;
}

}  // namespace ostra::vulkan

// Programs of the shader loader: the table, the active one, and reloading.
#include "ostra/core/format.h"
#include "parallelprogram/base/configuration_variables.h"
#include "parallelprogram/device/cache_keys.h"
#include "parallelprogram/shaderloader/general_shader_loader_impl.h"

OSTRA_UNIT("general_shader_loader_impl");

namespace ostra {

Result<Bool> GeneralShaderLoaderImpl::AddShaders(const InternedId& kernelId, const BaseArray<Url>& files, UInt64,
                                                 const DrawportDrawPass* drawpass,
                                                 const DataDictionary& drawPassParameters, Bool) {
  OSTRA_ASSIGN_OR_RETURN(const PrepareStages prepare,
                         PrepareStages::Create([&](GraphicsProgram& program) -> Result<void> {
                           OSTRA_RETURN_IF_ERROR(AddStages(program, files));
                           return LocateStages(program, _resourcePath);
                         }));
  OSTRA_RETURN_IF_ERROR(AddProgram(kernelId, prepare, drawpass, drawPassParameters));
  return true;
}

Result<void> GeneralShaderLoaderImpl::AddProgram(const InternedId& programId, const PrepareStages& prepare,
                                                 const DrawportDrawPass* drawPass,
                                                 const DataDictionary& drawPassParameters) {
  GraphicsProgram* made = NewObj<GraphicsProgram>();
  if (!made) return OSTRA_OUT_OF_MEMORY();
  const GraphicsProgramRef program = GraphicsProgramRef::Adopt(made);
  program->id = programId;
  program->drawPassParameters = drawPassParameters;
  OSTRA_ASSIGN_OR_RETURN(const Bool isNew, _programs.Insert(programId, program));
  if (!isNew) return OSTRA_ILLEGAL_ARGUMENT("Shaders have already been added under the given kernelId.");

  const GraphicsProgramRef previous = _activeProgram;
  const auto add = [&]() -> Result<void> {
    OSTRA_RETURN_IF_ERROR(prepare(*program));
    OSTRA_RETURN_IF_ERROR(IdentifyProgram(*program));
    MakeActive(program);
    OSTRA_RETURN_IF_ERROR(UpdateActiveProgram(program->nameHash, drawPass));
    return UpdateActiveStateSet(program->nameHash, drawPassParameters);
  };
  Result<void> added = add();
  if (!added) {
    _programs.Erase(programId);
    MakeActive(previous);
  }
  return added;
}

Result<void> GeneralShaderLoaderImpl::RemoveProgram(const InternedId& programId) {
  _programs.Erase(programId);
  if (_activeProgram && _activeProgramId == programId) MakeActive(nullptr);
  return OK;
}

// The copy is made of the files that the source was found in, and is drawn with the default state, whatever the source
// is drawn with.
Result<void> GeneralShaderLoaderImpl::CopyShader(const InternedId& sourceProgramId, const InternedId& newProgramId,
                                                 UInt64, const DrawportDrawPass* drawpass, Bool) {
  if (sourceProgramId == newProgramId) return OK;
  GraphicsProgramRef source;
  if (!_programs.Find(sourceProgramId, source)) return OSTRA_ILLEGAL_ARGUMENT("source kernel could not be found");
  OSTRA_ASSIGN_OR_RETURN(const PrepareStages prepare,
                         PrepareStages::Create([&](GraphicsProgram& program) { return CopyStages(program, *source); }));
  return AddProgram(newProgramId, prepare, drawpass, DataDictionary());
}

// Programs are built by the calls that ask for them: none is ever on its way.
void GeneralShaderLoaderImpl::WaitForProgramCompile() {}

Bool GeneralShaderLoaderImpl::HasProgram(const InternedId& programId) {
  GraphicsProgramRef program;
  return _programs.Find(programId, program);
}

Int32 GeneralShaderLoaderImpl::GetProgramCount(const String& name) {
  if (name.IsEmpty()) return 0;
  Int32 count = 0;
  _programs.ForEach([&](const InternedId&, const GraphicsProgramRef& program) { count += program->name == name; });
  return count;
}

void GeneralShaderLoaderImpl::SetActiveProgram(const InternedId& programId) {
  GraphicsProgramRef program;
  if (_programs.Find(programId, program)) MakeActive(program);
}

InternedId GeneralShaderLoaderImpl::GetActiveProgramId() const { return _activeProgramId; }

// The stamps are kept before the program is rebuilt: a file that does not compile is reported once, and looked at again
// when it has changed again. What was built before stays in use until then.
Result<void> GeneralShaderLoaderImpl::CheckActiveProgramForUpdatedShaders(const DrawportDrawPass* drawPass) {
  if (!g_checkActiveProgramForUpdatedShaders || !_activeProgram) return OK;
  GraphicsProgram& program = *_activeProgram;
  BaseArray<UInt64> stamps;
  Bool hasChanged = false;
  for (const ShaderStage& stage : program.stages) {
    OSTRA_ASSIGN_OR_RETURN(const UInt64 stamp, MakeSourcesStamp(stage.file, stage.files));
    hasChanged = hasChanged || stamp != stage.stamp;
    OSTRA_RETURN_IF_ERROR(stamps.Append(stamp));
  }
  if (!hasChanged) return OK;
  for (Int i = 0; i < stamps.GetCount(); ++i) program.stages[i].stamp = stamps[i];
  OSTRA_RETURN_IF_ERROR(UpdateActiveProgram(program.nameHash, drawPass));
  OSTRA_RETURN_IF_ERROR(UpdateUniforms(drawPass));
  // A reloaded program is drawn with the default state, under a key of its own.
  return UpdateActiveStateSet(program.hash, DataDictionary());
}

Result<GraphicsProgram&> GeneralShaderLoaderImpl::GetActiveProgram() const {
  if (!_activeProgram) return OSTRA_ILLEGAL_STATE("no active kernel set");
  return *_activeProgram;
}

Result<ShaderStage&> GeneralShaderLoaderImpl::GetActiveStage(Int32 shaderIndex) const {
  OSTRA_ASSIGN_OR_RETURN(GraphicsProgram & program, GetActiveProgram());
  const Int count = program.stages.GetCount();
  if (shaderIndex < 0 || shaderIndex >= count)
    return OSTRA_ILLEGAL_ARGUMENT("Shader index @ is outside the @ files of the program \"@\".", shaderIndex, count,
                                  program.id);
  return program.stages[shaderIndex];
}

Result<BaseArray<GraphicsProgramRef>> GeneralShaderLoaderImpl::GetPrograms() const { return _programs.GetValues(); }

Result<void> GeneralShaderLoaderImpl::ChangeAllStages(DataDictionary ParameterLinks::*table, const ChangeTable& change,
                                                      DataDictionary& globals, const InternedId& attr) {
  struct ChangedTable {
    DataDictionary* target;
    DataDictionary value;
  };
  BaseArray<ChangedTable> changed;
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<GraphicsProgramRef> programs, GetPrograms());
  for (const GraphicsProgramRef& program : programs) {
    for (ShaderStage& stage : program->stages) {
      ChangedTable entry{&(stage.*table), stage.*table};
      OSTRA_RETURN_IF_ERROR(change(entry.value));
      OSTRA_RETURN_IF_ERROR(changed.Append(std::move(entry)));
    }
  }
  OSTRA_RETURN_IF_ERROR(globals.EraseData(attr));
  for (ChangedTable& entry : changed) *entry.target = std::move(entry.value);
  return OK;
}

void GeneralShaderLoaderImpl::MakeActive(const GraphicsProgramRef& program) {
  _activeProgram = program;
  _activeProgramId = program ? program->id : InternedId();
}

}  // namespace ostra

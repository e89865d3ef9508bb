#include "parallelprogram/shaderloader/graphics_program.h"

#include "ostra/core/format.h"
#include "ostra/io/file.h"
#include "parallelprogram/device/cache_keys.h"
#include "parallelprogram/device/kernel_location.h"

OSTRA_UNIT("general_shader_loader_impl");

namespace ostra {
namespace {

struct FileKind {
  std::string_view ending;
  DrawportStage stage;
};

constexpr FileKind kFileKinds[] = {{".vert", DrawportStage::Vertex},
                                   {".frag", DrawportStage::Fragment},
                                   {".tsc", DrawportStage::TessellationControl},
                                   {".tse", DrawportStage::TessellationEvaluation}};

Result<DrawportStage> GetStageOfName(const String& name) {
  for (const FileKind& kind : kFileKinds)
    if (name.EndsWith(kind.ending)) return kind.stage;
  return OSTRA_ILLEGAL_ARGUMENT("Invalid shader type received. (None of .vert/.frag/.tsc/.tse)");
}

Error MakeNoLocationError() {
  return OSTRA_ILLEGAL_STATE("shader location needs to be set for initialization of kernel");
}

Result<void> CheckStagesDiffer(const GraphicsProgram& program) {
  const BaseArray<ShaderStage>& stages = program.stages;
  for (Int i = 0; i < stages.GetCount(); ++i) {
    for (Int k = 0; k < i; ++k) {
      if (stages[i].stage == stages[k].stage)
        return OSTRA_ILLEGAL_ARGUMENT("\"@\" and \"@\" are files of the same stage.", stages[k].source.GetName(),
                                      stages[i].source.GetName());
    }
  }
  return OK;
}

}  // namespace

void GraphicsProgram::ReleaseValues() {
  if (factory && valueSet) factory->ReleaseParameterValueSet(*valueSet);
  valueSet = nullptr;
}

DrawportStage GraphicsProgram::GetNextStage(DrawportStage stage) const {
  DrawportStage next = stage;
  for (const ShaderStage& other : stages)
    if (other.stage > stage && (next == stage || other.stage < next)) next = other.stage;
  return next;
}

Result<void> AddStages(GraphicsProgram& program, const BaseArray<Url>& files) {
  if (files.IsEmpty()) return MakeNoLocationError();
  for (const Url& file : files) {
    if (file.IsEmpty()) return MakeNoLocationError();
    ShaderStage added;
    OSTRA_ASSIGN_OR_RETURN(added.stage, GetStageOfName(file.GetName()));
    added.source = file;
    Url bare = file;
    bare.ClearSuffix();
    added.name = bare.GetName();
    OSTRA_RETURN_IF_ERROR(program.stages.Append(std::move(added)));
  }
  return CheckStagesDiffer(program);
}

Result<void> LocateStages(GraphicsProgram& program, const Url& resourcePath) {
  for (ShaderStage& stage : program.stages) {
    OSTRA_ASSIGN_OR_RETURN(const KernelLocation location, LocateKernel(resourcePath, stage.source));
    stage.file = location.file;
    stage.templateArgument = location.templateArgument;
  }
  return OK;
}

Result<void> CopyStages(GraphicsProgram& program, const GraphicsProgram& source) {
  for (const ShaderStage& stage : source.stages) {
    ShaderStage added;
    added.stage = stage.stage;
    added.source = stage.source;
    added.file = stage.file;
    added.templateArgument = stage.templateArgument;
    added.name = stage.name;
    OSTRA_RETURN_IF_ERROR(program.stages.Append(std::move(added)));
  }
  return OK;
}

Result<void> IdentifyProgram(GraphicsProgram& program) {
  program.name = program.stages[0].name;
  program.nameHash = program.name.GetHashCode();
  program.hash = AppendToKey(MixKey(program.nameHash), program.id.GetHashCode());
  for (ShaderStage& stage : program.stages) {
    OSTRA_ASSIGN_OR_RETURN(stage.stamp, GetModificationStamp(stage.file));
    stage.parserKey = MakeParserKey(stage.file.GetHashCode(), program.id.GetHashCode(), stage.stamp);
  }
  return OK;
}

Result<Int32> GetPassNumber(const DataDictionary& drawPassParameters, InternedId name) {
  const Data* value = drawPassParameters.FindData(name);
  return value ? value->ConvertTo<Int32>() : Result<Int32>(0);
}

const InternedId& GetDepthTextureName() {
  static const InternedId name = "depthTexture"_iid;
  return name;
}

const InternedId& GetColorTextureName() {
  static const InternedId name = "colorTexture"_iid;
  return name;
}

}  // namespace ostra

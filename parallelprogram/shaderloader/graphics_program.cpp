#include "parallelprogram/shaderloader/graphics_program.h"

#include "ostra/core/format.h"
#include "ostra/io/file.h"
#include "parallelprogram/gpu/kernel_location.h"

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

}  // namespace

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
    for (const ShaderStage& known : program.stages) {
      if (known.stage == added.stage)
        return OSTRA_ILLEGAL_ARGUMENT("\"@\" and \"@\" are files of the same stage.", known.source.GetName(),
                                      file.GetName());
    }
    added.source = file;
    Url bare = file;
    bare.ClearSuffix();
    added.name = bare.GetName();
    OSTRA_RETURN_IF_ERROR(program.stages.Append(std::move(added)));
  }
  return OK;
}

Result<void> LocateStages(GraphicsProgram& program, const Url& resourcePath) {
  for (ShaderStage& stage : program.stages) {
    OSTRA_ASSIGN_OR_RETURN(const KernelLocation location, LocateKernel(resourcePath, stage.source));
    stage.file = location.file;
    stage.templateArgument = location.templateArgument;
    OSTRA_ASSIGN_OR_RETURN(stage.stamp, GetModificationStamp(stage.file));
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

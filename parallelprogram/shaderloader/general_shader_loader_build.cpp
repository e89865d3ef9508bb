// How the shader loader builds programs: keys, descriptions for the GPU layer, vertex attributes.
#include "ostra/core/format.h"
#include "ostra/drawport/shader_cache_access.h"
#include "parallelprogram/device/cache_keys.h"
#include "parallelprogram/shaderloader/general_shader_loader_impl.h"

OSTRA_UNIT("general_shader_loader_impl");

namespace ostra {
namespace {

// What a program is made of: programs of other files may have the same name and stamps with the same sum.
UInt64 HashSources(const GraphicsProgram& program, Int32 sampleCount) {
  UInt64 hash = static_cast<UInt64>(sampleCount);
  for (const ShaderStage& stage : program.stages) {
    hash = AppendToKey(hash, MixKey(static_cast<UInt64>(stage.stage)));
    hash = AppendToKey(hash, MixKey(stage.file.GetHashCode()));
    hash = AppendToKey(hash, MixKey(stage.templateArgument.GetHashCode()));
    hash = AppendToKey(hash, MixKey(stage.stamp));
  }
  return hash;
}

UInt64 SumStamps(const BaseArray<ParsedKernel>& parsed) {
  UInt64 sum = 0;
  for (const ParsedKernel& stage : parsed) sum += stage.stamp;
  return sum;
}

const ParsedKernel* FindParsedVertexStage(const GraphicsProgram& program, const BaseArray<ParsedKernel>& parsed) {
  for (Int i = 0; i < program.stages.GetCount(); ++i)
    if (program.stages[i].stage == DrawportStage::Vertex) return &parsed[i];
  return nullptr;
}

Result<DrawportVertexAttributeLayoutItemRef> MakeLayout(const GpuContextData& data, const ParsedKernel* vertexStage) {
  OSTRA_ASSIGN_OR_RETURN(const DrawportVertexAttributeLayoutDescribe describe,
                         DrawportVertexAttributeLayoutDescribe::Create(
                             [&](DrawportVertexAttributeLayoutDescription& layout) -> Result<void> {
                               return vertexStage ? DescribeAttributes(layout, *vertexStage->parser)
                                                  : layout.InitVertexAttributes(0);
                             }));
  return data.cache->GetVertexAttributeLayout(describe);
}

}  // namespace

Result<BaseArray<ParsedKernel>> GeneralShaderLoaderImpl::ParseStages(GraphicsProgram& program,
                                                                     Int32 sampleCount) const {
  BaseArray<ParsedKernel> parsed;
  for (ShaderStage& stage : program.stages) {
    KernelSource source;
    source.file = stage.file;
    source.templateArgument = stage.templateArgument;
    source.sampleCount = sampleCount;
    source.language = _data.drawport->GetShadingLanguage();
    source.key = stage.parserKey;
    SourcesRead failed;
    auto result = GetStageParsers().Parse(source, GetStageParserLock(), &failed);
    if (!result) {
      if (!failed.files.IsEmpty()) {
        stage.files = std::move(failed.files);
        stage.stamp = failed.stamp;
      }
      return result.TakeError();
    }
    OSTRA_RETURN_IF_ERROR(stage.files.CopyFrom(result->parser->GetFiles()));
    stage.stamp = result->stamp;
    OSTRA_RETURN_IF_ERROR(parsed.Append(std::move(*result)));
  }
  return parsed;
}

// The handler stays with the description, which other programs may share and which may outlive this loader.
Result<void> GeneralShaderLoaderImpl::DescribeProgram(DrawportProgramDescription& description,
                                                      const GraphicsProgram& program,
                                                      const BaseArray<ParsedKernel>& parsed, Int32 sampleCount) {
  const InternedId id = program.id;
  OSTRA_ASSIGN_OR_RETURN(const DrawportParameterBinder binder,
                         DrawportParameterBinder::Create(
                             [handle = _handle, id](DrawportProgramFactory& factory, DrawportParameterValueSet& values,
                                                    Block<const DrawportParameter> parameters) -> Result<void> {
                               if (!handle->loader) return OSTRA_ILLEGAL_STATE("kernel not found");
                               return handle->loader->BindProgram(id, {factory, values}, parameters);
                             }));
  OSTRA_RETURN_IF_ERROR(description.SetParameterInitializationHandler(binder, _identity));
  OSTRA_RETURN_IF_ERROR(DescribeStages(description, program, parsed, sampleCount));
  return description.SetDebugLabel(id.GetView());
}

// The set asks again each time it is made valid: what the program is drawn from changes without a build. The set is the
// program's own and goes before it.
Result<void> GeneralShaderLoaderImpl::MakeAttributeSet(const GraphicsProgram& program,
                                                       const DrawportVertexAttributeLayoutItemRef& layout,
                                                       DrawportVertexAttributeSetItemRef& slot) const {
  OSTRA_ASSIGN_OR_RETURN(
      const DrawportVertexAttributeSetDescribe describe,
      DrawportVertexAttributeSetDescribe::Create([&program, attributes = &layout->GetLayout()](
                                                     DrawportVertexAttributeSetDescription& set) -> Result<void> {
        const DataBufferEntry& entry = program.vertexBuffer;
        for (const DrawportVertexAttribute& attribute : attributes->GetAttributes()) {
          const InternedId name = attribute.name == "uv"_iid ? "texUv"_iid : attribute.name;
          OSTRA_RETURN_IF_ERROR(set.Assign(name, static_cast<DrawportVertexBuffer*>(entry._data), entry._deviceBuffer));
        }
        return OK;
      }));
  return _data.cache->GetVertexAttributeSet(layout, describe, slot, *_data.context);
}

namespace {

struct BuiltProgram {
  DrawportVertexAttributeLayoutItemRef layoutItem;
  DrawportVertexAttributeSetItemRef attributeSetItem;
  DrawportProgramFactoryItemRef factoryItem;
  DrawportVertexAttributeSet* attributeSet;
  DrawportProgramFactory* factory;
  DrawportParameterValueSet* valueSet;
};

void Replace(GraphicsProgram& program, const BuiltProgram& built) {
  if (program.factory != built.factory) program.ReleaseValues();
  program.layoutItem = built.layoutItem;
  program.attributeSetItem = built.attributeSetItem;
  program.factoryItem = built.factoryItem;
  program.attributeSet = built.attributeSet;
  program.factory = built.factory;
  program.valueSet = built.valueSet;
  program.isOfOtherDrawport = false;
}

}  // namespace

// What was built before stays in use until everything new is there.
Result<void> GeneralShaderLoaderImpl::UpdateActiveProgram(UInt64 hashCode, const DrawportDrawPass* drawPass) {
  OSTRA_ASSIGN_OR_RETURN(GraphicsProgram & program, GetActiveProgram());
  OSTRA_RETURN_IF_ERROR(CheckHasContext(_data));
  if (!_handle) return OSTRA_OUT_OF_MEMORY();
  DrawportContextInterface& context = *_data.context;
  OSTRA_ASSIGN_OR_RETURN(const Int32 sampleCount, GetPassNumber(program.drawPassParameters, "multiSampling"_iid));
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<ParsedKernel> parsed, ParseStages(program, sampleCount));

  DrawportCacheKey key = MakeDrawportCacheKey(_data.drawport, DrawportCacheKeyKind::ProgramFactory, drawPass);
  key.Append(AppendToKey(MixKey(hashCode), MixKey(SumStamps(parsed))));
  key.Append(HashSources(program, sampleCount));
  OSTRA_ASSIGN_OR_RETURN(const DrawportProgramBuilder builder,
                         DrawportProgramBuilder::Create([&](DrawportProgramDescription& description) {
                           return DescribeProgram(description, program, parsed, sampleCount);
                         }));
  DrawportProgramFactoryItemRef factoryItem = program.factoryItem;
  OSTRA_RETURN_IF_ERROR(_data.cache->GetProgramFactory(key, builder, factoryItem, context));

  OSTRA_ASSIGN_OR_RETURN(const DrawportVertexAttributeLayoutItemRef layoutItem,
                         MakeLayout(_data, FindParsedVertexStage(program, parsed)));
  DrawportVertexAttributeSetItemRef setItem = program.attributeSetItem;
  OSTRA_RETURN_IF_ERROR(MakeAttributeSet(program, layoutItem, setItem));
  OSTRA_ASSIGN_OR_RETURN(DrawportVertexAttributeSet * attributeSet, setItem->MakeValid(context));
  const DrawportFramebufferTargetSet* targets = drawPass ? drawPass->GetDefaultFramebufferTargetSet() : nullptr;
  OSTRA_RETURN_IF_ERROR(
      DrawportShaderCacheAccess::AddProgramFactoryCacheItemToShaderCache(context, *factoryItem, attributeSet, targets));
  OSTRA_ASSIGN_OR_RETURN(DrawportProgramFactory * factory, factoryItem->MakeValid(context, attributeSet, targets));
  DrawportParameterValueSet* valueSet = nullptr;
  if (factory) {
    OSTRA_ASSIGN_OR_RETURN(valueSet, factory->GetParameterValueSet(context, _identity, program.hash));
  }

  Replace(program, {layoutItem, setItem, factoryItem, attributeSet, factory, valueSet});
  return OK;
}

}  // namespace ostra

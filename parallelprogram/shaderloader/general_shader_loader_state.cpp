// The render state of the shader loader's programs.
#include "parallelprogram/device/cache_keys.h"
#include "parallelprogram/shaderloader/general_shader_loader_impl.h"

OSTRA_UNIT("general_shader_loader_impl");

namespace ostra {
namespace {

struct StateNumbers {
  Int32 depthTest = 0;
  Int32 cullMode = 0;
  Int32 frontFace = 0;
  Bool useAlphaBlending = true;

  static Result<StateNumbers> Read(const DataDictionary& drawPassParameters) {
    StateNumbers numbers;
    OSTRA_ASSIGN_OR_RETURN(numbers.depthTest, GetPassNumber(drawPassParameters, "depthTest"_iid));
    OSTRA_ASSIGN_OR_RETURN(numbers.cullMode, GetPassNumber(drawPassParameters, "cullMode"_iid));
    OSTRA_ASSIGN_OR_RETURN(numbers.frontFace, GetPassNumber(drawPassParameters, "frontFace"_iid));
    if (const Data* blending = drawPassParameters.FindData("useAlphaBlending"_iid)) {
      OSTRA_ASSIGN_OR_RETURN(numbers.useAlphaBlending, blending->Get<Bool>());
    }
    return numbers;
  }

  // Programs of one name may be drawn with other states.
  UInt64 GetHashCode() const {
    UInt64 hash = useAlphaBlending ? 1 : 0;
    for (const Int32 number : {depthTest, cullMode, frontFace})
      hash = AppendToKey(hash, MixKey(static_cast<UInt64>(number)));
    return hash;
  }

  Result<void> Describe(DrawportStateDescription& state) const {
    OSTRA_RETURN_IF_ERROR(state.InitializeWithDefaults());
    OSTRA_RETURN_IF_ERROR(state.SetDepthTestMode(depthTest));
    OSTRA_RETURN_IF_ERROR(state.SetCullFace(cullMode));
    OSTRA_RETURN_IF_ERROR(state.SetFrontFace(frontFace));
    if (!useAlphaBlending) return OK;
    OSTRA_RETURN_IF_ERROR(state.SetBlendFunction(DrawportBlendFactor::SourceAlpha,
                                                 DrawportBlendFactor::OneMinusSourceAlpha, DrawportBlendFactor::One,
                                                 DrawportBlendFactor::One));
    return state.SetAlphaBlendingMode(1);
  }
};

}  // namespace

// Each context has state objects of its own.
Result<void> GeneralShaderLoaderImpl::UpdateActiveStateSet(UInt64 hashCode, const DataDictionary& drawPassParameters) {
  OSTRA_ASSIGN_OR_RETURN(GraphicsProgram & program, GetActiveProgram());
  OSTRA_RETURN_IF_ERROR(CheckHasContext(_data));
  OSTRA_ASSIGN_OR_RETURN(const StateNumbers numbers, StateNumbers::Read(drawPassParameters));
  DrawportCacheKey key = MakeDrawportCacheKey(_data.drawport, DrawportCacheKeyKind::StateObject);
  const auto contextIdentity = reinterpret_cast<UInt64>(_data.context.GetPointer());
  key.Append(AppendToKey(MixKey(hashCode), MixKey(contextIdentity)));
  key.Append(numbers.GetHashCode());
  OSTRA_ASSIGN_OR_RETURN(
      const DrawportStateDescribe describe,
      DrawportStateDescribe::Create([&](DrawportStateDescription& state) { return numbers.Describe(state); }));
  OSTRA_ASSIGN_OR_RETURN(program.stateObject, _data.cache->GetStateObject(key, describe, program.stateObjectItem));
  return OK;
}

}  // namespace ostra

#include "ostra/render/render_noise.h"

#include "ostra/core/format.h"
#include "ostra/object/host_classes.h"
#include "ostra/render/host_classes.h"
#include "ostra/render/noise_functions.h"

OSTRA_UNIT("rendernoise");

namespace ostra {
namespace {

class RenderNoise final : public Component<RenderNoise, RenderNoiseInterface> {
 public:
  static constexpr const char* kComponentName = "RenderNoise";

  explicit RenderNoise(const NoiseEntry& entry, Int number) : _function(entry.function), _number(number) {}

  Result<void> Init(Int32 seed, Int32 depth, const Id& classId) override {
    if (depth < 1 || depth > kMaxNoiseDepth)
      return OSTRA_ILLEGAL_ARGUMENT("The depth @ of a noise must be between 1 and @.", depth, kMaxNoiseDepth);
    if (classId != GetClass().GetId())
      return OSTRA_ILLEGAL_ARGUMENT("A noise of the class \"@\" cannot become a \"@\".", GetClass().GetId(), classId);
    if (_isInitialized) return OSTRA_ILLEGAL_STATE("The noise \"@\" was initialized already.", classId);
    _key = MakeNoiseKey(seed);
    _depth = depth;
    _isInitialized = true;
    return OK;
  }

  Float32 Noise(Float32 x, Float32 time) const override { return _function(_key, _depth, x, 0, 0, time); }
  Float32 Noise(const Vec2<Float32>& p, Float32 time) const override {
    return _function(_key, _depth, p.x, p.y, 0, time);
  }
  Float32 Noise(const Vec3<Float32>& p, Float32 time) const override {
    return _function(_key, _depth, p.x, p.y, p.z, time);
  }
  Float32 Noise(const Vec4<Float32>& p, Float32 time) const override {
    return _function(_key, _depth, p.x, p.y, p.z, p.w + time);
  }
  Bool NoiseLanes(Int level, Float32* values, const Float32* positions) const override {
    const NoiseLanesFunction function = GetNoiseLanes(_number, level);
    if (!function) return false;
    function(values, _key, _depth, positions);
    return true;
  }

 private:
  const NoiseFunction _function;
  const Int _number;  // among the entries
  UInt32 _key = MakeNoiseKey(0);
  Int32 _depth = kNoiseDepth;
  Bool _isInitialized = false;
};

ObjectInterface* CreateNoise(const Class& noiseClass) {
  Int number = -1;
  for (const NoiseEntry& entry : GetNoiseEntries()) {
    ++number;
    if (entry.id != noiseClass.GetId()) continue;
    RenderNoise* noise = NewObj<RenderNoise>(entry, number);
    if (noise) noise->SetClass(noiseClass);
    return noise;
  }
  return nullptr;
}

}  // namespace

Result<void> RegisterNoises() {
  static_cast<void>(GetDataType<RenderNoiseRef>());
  static_cast<void>(GetDataType<Block<RenderNoiseRef>>());
  OSTRA_ASSIGN_OR_RETURN(ClassRegistry & registry, FindOrDeclareRegistry(kRenderNoiseRegistry));
  for (const NoiseEntry& entry : GetNoiseEntries()) {
    OSTRA_ASSIGN_OR_RETURN(ClassRef noiseClass, Class::Create(entry.id, &CreateNoise));
    OSTRA_RETURN_IF_ERROR(InsertOnce(registry, noiseClass));
  }
  return OK;
}

}  // namespace ostra

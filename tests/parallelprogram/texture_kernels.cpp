#include "tests/parallelprogram/texture_kernels.h"

#include <string>

#include "ostra/core/format.h"
#include "ostra/object/class.h"
#include "parallelprogram/program/kernel_base.h"

OSTRA_UNIT("texture_kernels");

namespace ostra::test {
namespace {

class AnySampler final : public KernelBase<AnySampler> {
 public:
  static constexpr const char* kComponentName = "net.ostra.test.anysampler";
  Result<void> Init() override {
    _workGroupSize = {1, 1, 1};
    return AddParameter("any", SeenSampler());
  }
  Result<void> Kernel(const Vec3<UInt32>&, const Vec3<UInt32>&, const Vec3<UInt32>&) override { return OK; }
};

class ThreeSamplersKernel final : public KernelBase<ThreeSamplersKernel> {
 public:
  static constexpr const char* kComponentName = kThreeSamplers;
  Result<void> Init() override {
    _workGroupSize = {1, 1, 1};
    OSTRA_RETURN_IF_ERROR(AddParameter("one", SeenSamplers()[0]));
    OSTRA_RETURN_IF_ERROR(AddParameter("two", SeenSamplers()[1]));
    return AddParameter("three", SeenSamplers()[2]);
  }
  Result<void> Kernel(const Vec3<UInt32>&, const Vec3<UInt32>&, const Vec3<UInt32>&) override { return OK; }
};

class CopyTexture final : public KernelBase<CopyTexture> {
 public:
  static constexpr const char* kComponentName = "net.ostra.test.copytexture";
  Result<void> Init() override {
    _workGroupSize = {16, 1, 1};
    OSTRA_RETURN_IF_ERROR(AddParameter("image", _image));
    return AddParameter("result", _result);
  }
  Result<void> Kernel(const Vec3<UInt32>& global, const Vec3<UInt32>&, const Vec3<UInt32>&) override {
    const Int32 index = static_cast<Int32>(global.x);
    const Int32 width = _image->GetSize().x;
    const Vec2<Int32> at(index % width, index / width);
    const Vec4<Float32> texel = _image->Fetch(at);
    const Vec2<Float32> centre(static_cast<Float32>(at.x) + 0.5f, static_cast<Float32>(at.y) + 0.5f);
    if (_image->Sample(centre) != texel) return OSTRA_ILLEGAL_STATE("Texel @ is read in two ways.", index);
    _result[index] = texel;
    return OK;
  }

 private:
  const TextureSamplerObj_2D_RGBA_F32_LINEAR* _image = nullptr;
  Block<Vec4<Float32>> _result;
};

template <class T>
Result<void> RegisterOne(ClassRegistry& registry) {
  OSTRA_ASSIGN_OR_RETURN(Id id, Id::Create(T::kComponentName));
  OSTRA_ASSIGN_OR_RETURN(const ClassRef kernelClass, Class::Create<T>(id));
  return registry.Insert(kernelClass);
}

Result<void> RegisterAll() {
  OSTRA_ASSIGN_OR_RETURN(ClassRegistry & registry, ClassRegistry::Find(kKernelClassRegistry));
  OSTRA_RETURN_IF_ERROR(RegisterOne<AnySampler>(registry));
  OSTRA_RETURN_IF_ERROR(RegisterOne<ThreeSamplersKernel>(registry));
  return RegisterOne<CopyTexture>(registry);
}

}  // namespace

const TextureSamplerDataHelper*& SeenSampler() {
  static const TextureSamplerDataHelper* seen = nullptr;
  return seen;
}

ThreeSamplers& SeenSamplers() {
  static ThreeSamplers seen{};
  return seen;
}

Url GetTextureKernelFile(const char* name) {
  auto file = Url::Create(std::string("kernels/") + name);
  return std::move(file).GetValue();
}

Result<void> RegisterTextureKernels() {
  static const Result<void> result = RegisterAll();
  return result;
}

}  // namespace ostra::test

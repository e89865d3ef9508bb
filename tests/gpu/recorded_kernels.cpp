#include "tests/gpu/recorded_kernels.h"

#include "ostra/object/class.h"
#include "parallelprogram/program/kernel_base.h"
#include "parallelprogram/program/kernel_declaration_interface.h"
#include "parallelprogram/textures/sampler_types.h"

OSTRA_UNIT("recorded_kernels");

namespace ostra::test {
namespace {

// A class that says what it declares, as those of kernel files do.
template <class Derived>
class DeclaredKernel : public KernelBase<Derived, KernelDeclarationInterface> {
 public:
  const BaseArray<KernelDeclaration>& GetDeclarations() const override { return _declarations; }

 protected:
  template <class T>
  Result<void> Declare(InternedId name, T& member) {
    OSTRA_RETURN_IF_ERROR(_declarations.Append(KernelDeclaration{.name = name, .type = GetDataType<T>()}));
    return this->AddParameter(name.GetView(), member);
  }

 private:
  BaseArray<KernelDeclaration> _declarations;
};

class AdvanceKernel final : public DeclaredKernel<AdvanceKernel> {
 public:
  static constexpr const char* kComponentName = "net.ostra.test.advance.krn";

  Result<void> Init() override {
    _workGroupSize = {4, 1, 1};
    OSTRA_RETURN_IF_ERROR(Declare("step"_iid, _step));
    OSTRA_RETURN_IF_ERROR(Declare("source"_iid, _source));
    return Declare("target"_iid, _target);
  }
  Result<void> Kernel(const Vec3<UInt32>& global, const Vec3<UInt32>&, const Vec3<UInt32>&) override {
    if (global.x < 4) _target[global.x] = _source[global.x] + _step * (global.x + 1);
    return OK;
  }

 private:
  UInt32 _step = 0;
  Block<UInt32> _source, _target;
};

class TallyKernel final : public DeclaredKernel<TallyKernel> {
 public:
  static constexpr const char* kComponentName = "net.ostra.test.tally.krn";

  Result<void> Init() override {
    _workGroupSize = {1, 1, 1};
    return Declare("hits"_iid, _hits);
  }
  Result<void> Kernel(const Vec3<UInt32>&, const Vec3<UInt32>&, const Vec3<UInt32>&) override {
    _hits->Add(1);
    return OK;
  }

 private:
  AtomicUInt32* _hits = nullptr;
};

class PeekKernel final : public DeclaredKernel<PeekKernel> {
 public:
  static constexpr const char* kComponentName = "net.ostra.test.peek.krn";

  Result<void> Init() override {
    _workGroupSize = {1, 1, 1};
    OSTRA_RETURN_IF_ERROR(Declare("image"_iid, _image));
    return Declare("seen"_iid, _seen);
  }
  Result<void> Kernel(const Vec3<UInt32>&, const Vec3<UInt32>&, const Vec3<UInt32>&) override {
    _seen[0] += _image->Fetch(Vec2<Int32>(1, 1));
    return OK;
  }

 private:
  const TextureSamplerObj_2D_R_F32_POINT* _image = nullptr;
  Block<Float32> _seen;
};

}  // namespace

Result<void> RegisterRecordedKernels() {
  OSTRA_RETURN_IF_ERROR(ClassRegistry::Declare(kKernelClassRegistry));
  OSTRA_ASSIGN_OR_RETURN(ClassRegistry & registry, ClassRegistry::Find(kKernelClassRegistry));
  OSTRA_ASSIGN_OR_RETURN(const ClassRef advance, Class::Create<AdvanceKernel>(kAdvance));
  OSTRA_RETURN_IF_ERROR(registry.Insert(advance));
  OSTRA_ASSIGN_OR_RETURN(const ClassRef tally, Class::Create<TallyKernel>(kTally));
  OSTRA_RETURN_IF_ERROR(registry.Insert(tally));
  OSTRA_ASSIGN_OR_RETURN(const ClassRef peek, Class::Create<PeekKernel>(kPeek));
  return registry.Insert(peek);
}

void EraseRecordedKernels() {
  auto registry = ClassRegistry::Find(kKernelClassRegistry);
  if (!registry) return;
  for (const Id& name : {kAdvance, kTally, kPeek}) registry->Erase(name);
  ClassRegistry::Withdraw(kKernelClassRegistry);
}

}  // namespace ostra::test

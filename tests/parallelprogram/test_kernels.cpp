#include "tests/parallelprogram/test_kernels.h"

#include <stdexcept>

#include "ostra/object/class.h"
#include "tests/parallelprogram/scale_kernel.h"

OSTRA_UNIT("test_kernels");

namespace ostra::test {

std::atomic<Int> g_liveKernels{0};
std::atomic<Bool> g_isInitFailing{false};
std::atomic<Int> g_initCalls{0};
TypedValues TypedValues::seen;

// A value that cannot be copied.
struct Stubborn {
  String notPlain;
  Result<void> CopyFrom(const Stubborn&) { return OSTRA_ILLEGAL_STATE("A stubborn value is not copied."); }
};

}  // namespace ostra::test

OSTRA_DATATYPE(ostra::test::Stubborn, "net.ostra.test.datatype.stubborn", "Stubborn");

namespace ostra::test {
namespace {

template <template <class> class Form>
class RecorderKernel final : public Form<RecorderKernel<Form>> {
 public:
  static constexpr const char* kComponentName = kRecorder;

  Result<void> Init() override {
    this->_workGroupSize = {1, 1, 1};
    OSTRA_RETURN_IF_ERROR(this->AddParameter("records", _records));
    OSTRA_RETURN_IF_ERROR(this->AddParameter("calls", _calls));
    OSTRA_RETURN_IF_ERROR(this->AddParameter("failBegin", _failBegin));
    OSTRA_RETURN_IF_ERROR(this->AddParameter("failEnd", _failEnd));
    OSTRA_RETURN_IF_ERROR(this->AddParameter("threshold", this->_singleThreadedThreshold));
    OSTRA_RETURN_IF_ERROR(this->AddParameter("granularity", this->_granularity));
    return this->AddParameter("workGroupSize", this->_workGroupSize);
  }

  Result<void> Kernel(const Vec3<UInt32>& global, const Vec3<UInt32>& local, const Vec3<UInt32>& group) override {
    const Int place = _calls->Add(1);
    if (place < _records.GetCount()) {
      _records[place] = {.global = global, .local = local, .group = group, .thread = GetThreadNumber()};
    }
    if (global.x >= _failBegin && global.x < _failEnd) return OSTRA_ILLEGAL_STATE("Invocation @ failed.", global.x);
    return OK;
  }

 private:
  Block<InvocationRecord> _records;
  AtomicUInt32* _calls = nullptr;
  Int64 _failBegin = 0;
  Int64 _failEnd = 0;
};

template <template <class> class Form>
class CountKernel final : public Form<CountKernel<Form>> {
 public:
  static constexpr const char* kComponentName = kCount;

  Result<void> Init() override {
    this->_workGroupSize = {8, 1, 1};
    return this->AddParameter("total", _total);
  }

  Result<void> Kernel(const Vec3<UInt32>&, const Vec3<UInt32>&, const Vec3<UInt32>&) override {
    _total->Add(1);
    return OK;
  }

 private:
  AtomicUInt32* _total = nullptr;
};

template <template <class> class Form>
class TypedKernel final : public Form<TypedKernel<Form>> {
 public:
  static constexpr const char* kComponentName = kTyped;

  Result<void> Init() override {
    this->_workGroupSize = {1, 1, 1};
    OSTRA_RETURN_IF_ERROR(this->AddParameter("boolean", _values.boolean));
    OSTRA_RETURN_IF_ERROR(this->AddParameter("int32", _values.int32));
    OSTRA_RETURN_IF_ERROR(this->AddParameter("uint32", _values.uint32));
    OSTRA_RETURN_IF_ERROR(this->AddParameter("int64", _values.int64));
    OSTRA_RETURN_IF_ERROR(this->AddParameter("float32", _values.float32));
    OSTRA_RETURN_IF_ERROR(this->AddParameter("float64", _values.float64));
    OSTRA_RETURN_IF_ERROR(this->AddParameter("half", _values.half));
    OSTRA_RETURN_IF_ERROR(this->AddParameter("vec2", _values.vec2));
    OSTRA_RETURN_IF_ERROR(this->AddParameter("vec3", _values.vec3));
    OSTRA_RETURN_IF_ERROR(this->AddParameter("vec4", _values.vec4));
    OSTRA_RETURN_IF_ERROR(this->AddParameter("matrix", _values.matrix));
    OSTRA_RETURN_IF_ERROR(this->AddParameter("text", _values.text));
    OSTRA_RETURN_IF_ERROR(this->AddParameter("name", _values.name));
    OSTRA_RETURN_IF_ERROR(this->AddParameter("counter", _values.counter));
    return this->AddParameter("pointer", _values.pointer);
  }

  Result<void> Kernel(const Vec3<UInt32>&, const Vec3<UInt32>&, const Vec3<UInt32>&) override {
    TypedValues::seen = _values;
    return OK;
  }

 private:
  TypedValues _values;
};

template <template <class> class Form>
class NoWorkGroupKernel final : public Form<NoWorkGroupKernel<Form>> {
 public:
  static constexpr const char* kComponentName = kNoWorkGroup;
  Result<void> Init() override { return OK; }
  Result<void> Kernel(const Vec3<UInt32>&, const Vec3<UInt32>&, const Vec3<UInt32>&) override { return OK; }
};

template <template <class> class Form>
class ThrowingKernel final : public Form<ThrowingKernel<Form>> {
 public:
  static constexpr const char* kComponentName = kThrowing;
  Result<void> Init() override {
    this->_workGroupSize = {1, 1, 1};
    OSTRA_RETURN_IF_ERROR(this->AddParameter("total", _total));
    return this->AddParameter("throwAt", _throwAt);
  }
  Result<void> Kernel(const Vec3<UInt32>& global, const Vec3<UInt32>&, const Vec3<UInt32>&) override {
    if (_total) _total->Add(1);
    if (global.x == _throwAt) throw std::runtime_error("Invocation " + std::to_string(global.x) + " has thrown.");
    return OK;
  }

 private:
  AtomicUInt32* _total = nullptr;
  Int64 _throwAt = -1;
};

template <template <class> class Form>
class FailingInitKernel final : public Form<FailingInitKernel<Form>> {
 public:
  static constexpr const char* kComponentName = kFailingInit;
  Result<void> Init() override {
    ++g_initCalls;
    this->_workGroupSize = {1, 1, 1};
    if (g_isInitFailing) return OSTRA_ILLEGAL_STATE("This kernel does not start.");
    return OK;
  }
  Result<void> Kernel(const Vec3<UInt32>&, const Vec3<UInt32>&, const Vec3<UInt32>&) override { return OK; }
};

template <template <class> class Form>
class FailingSetKernel final : public Form<FailingSetKernel<Form>> {
 public:
  static constexpr const char* kComponentName = kFailingSet;
  Result<void> Init() override {
    this->_workGroupSize = {1, 1, 1};
    OSTRA_RETURN_IF_ERROR(this->AddParameter("total", _total));
    return this->AddParameter("values", _values);
  }
  Result<void> Kernel(const Vec3<UInt32>&, const Vec3<UInt32>&, const Vec3<UInt32>&) override {
    if (_total) _total->Add(1);
    return OK;
  }

 private:
  Stubborn _values;
  AtomicUInt32* _total = nullptr;
};

class OtherInterface : public ObjectInterface {
 public:
  static constexpr Id kInterfaceId = "net.ostra.test.interface.other"_id;
};

class NotKernel final : public Component<NotKernel, OtherInterface> {
 public:
  static constexpr const char* kComponentName = kNotKernel;
};

Result<String> GetClassName(const char* name, KernelForm form) {
  return Format("@.@", name, form == KernelForm::Range ? "range" : "call");
}

template <template <template <class> class> class KernelClass>
Result<void> RegisterBothForms(ClassRegistry& registry, const char* name) {
  OSTRA_ASSIGN_OR_RETURN(const String callName, GetClassName(name, KernelForm::Call));
  OSTRA_ASSIGN_OR_RETURN(const ClassRef callClass, Class::Create<KernelClass<CallForm>>(Id(callName)));
  OSTRA_RETURN_IF_ERROR(registry.Insert(callClass));
  OSTRA_ASSIGN_OR_RETURN(const String rangeName, GetClassName(name, KernelForm::Range));
  OSTRA_ASSIGN_OR_RETURN(const ClassRef rangeClass, Class::Create<KernelClass<RangeForm>>(Id(rangeName)));
  return registry.Insert(rangeClass);
}

Result<void> RegisterBrokenClasses(ClassRegistry& registry) {
  for (const KernelForm form : {KernelForm::Call, KernelForm::Range}) {
    OSTRA_ASSIGN_OR_RETURN(const String noObject, GetClassName(kNoObject, form));
    const Class::CreateFunction createNothing = [](const Class&) -> ObjectInterface* { return nullptr; };
    OSTRA_ASSIGN_OR_RETURN(const ClassRef noObjectClass, Class::Create(Id(noObject), createNothing));
    OSTRA_RETURN_IF_ERROR(registry.Insert(noObjectClass));
    OSTRA_ASSIGN_OR_RETURN(const String notKernel, GetClassName(kNotKernel, form));
    OSTRA_ASSIGN_OR_RETURN(const ClassRef notKernelClass, Class::Create<NotKernel>(Id(notKernel)));
    OSTRA_RETURN_IF_ERROR(registry.Insert(notKernelClass));
  }
  return OK;
}

}  // namespace

Url GetKernelFile(const char* name, KernelForm form) {
  auto className = GetClassName(name, form);
  auto file =
      className ? Url::Create("kernels/" + std::string(className->GetView())) : Result<Url>(className.TakeError());
  return std::move(file).GetValue();
}

Result<void> RegisterTestKernels() {
  OSTRA_ASSIGN_OR_RETURN(ClassRegistry & registry, ClassRegistry::Find(kKernelClassRegistry));
  OSTRA_RETURN_IF_ERROR(RegisterBothForms<RecorderKernel>(registry, kRecorder));
  OSTRA_RETURN_IF_ERROR(RegisterBothForms<ScaleKernel>(registry, kScale));
  OSTRA_RETURN_IF_ERROR(RegisterBothForms<CountKernel>(registry, kCount));
  OSTRA_RETURN_IF_ERROR(RegisterBothForms<TypedKernel>(registry, kTyped));
  OSTRA_RETURN_IF_ERROR(RegisterBothForms<NoWorkGroupKernel>(registry, kNoWorkGroup));
  OSTRA_RETURN_IF_ERROR(RegisterBothForms<ThrowingKernel>(registry, kThrowing));
  OSTRA_RETURN_IF_ERROR(RegisterBothForms<FailingInitKernel>(registry, kFailingInit));
  OSTRA_RETURN_IF_ERROR(RegisterBothForms<FailingSetKernel>(registry, kFailingSet));
  return RegisterBrokenClasses(registry);
}

}  // namespace ostra::test

// KernelBase: how values reach the members of kernel objects, and what a kernel object offers besides.
#include "tests/parallelprogram/program_fixture.h"
#include "tests/support/diagnostic_recorder.h"

namespace ostra::test {
namespace {

// A kernel whose parameters are looked at directly.
class ProbeKernel final : public KernelBase<ProbeKernel> {
 public:
  static constexpr const char* kComponentName = "net.ostra.test.probe";
  Result<void> Init() override {
    OSTRA_RETURN_IF_ERROR(AddParameter("number", number));
    OSTRA_RETURN_IF_ERROR(AddParameter("text", text));
    OSTRA_RETURN_IF_ERROR(AddParameter("block", block));
    return AddParameter("pointer", pointer);
  }
  Result<void> Kernel(const Vec3<UInt32>&, const Vec3<UInt32>&, const Vec3<UInt32>&) override { return OK; }
  Result<void> AddTwice() { return AddParameter("number", text); }

  Int32 number = -1;
  String text;
  Block<Float32> block;
  Float32* pointer = nullptr;
};

class KernelBaseTest : public testing::Test {
 protected:
  void SetUp() override {
    auto created = Class::Create<ProbeKernel>("net.ostra.test.probe"_id);
    ASSERT_THAT(created, IsOk());
    _class = *created;
    auto kernelObject = _class->CreateObject<KernelInterface>();
    ASSERT_THAT(kernelObject, IsOk());
    object = *kernelObject;
    kernel = static_cast<ProbeKernel*>(object.GetPointer());
  }
  ClassRef _class;
  KernelRef object;
  ProbeKernel* kernel = nullptr;
};

TEST_F(KernelBaseTest, ANewKernelHasNoParametersAndTheDefaultTuning) {
  EXPECT_EQ(object->GetKernelParameterMap().GetCount(), 0);
  EXPECT_EQ(object->GetKernelWorkGroupSize(), Vec3<UInt32>(0, 0, 0));
  EXPECT_EQ(object->GetGranularity(), 16);
  EXPECT_EQ(object->GetSingleThreadedThreshold(), 0);
}

TEST_F(KernelBaseTest, ParametersAreListedWithTypeAndAddress) {
  ASSERT_THAT(object->Init(), IsOk());
  const KernelParameterMap& parameters = object->GetKernelParameterMap();
  EXPECT_EQ(parameters.GetCount(), 4);
  const KernelParameter* number = parameters.Find("number");
  ASSERT_TRUE(number);
  EXPECT_EQ(number->type, GetDataType<Int32>());
  EXPECT_EQ(number->address, &kernel->number);
  const KernelParameter* block = parameters.Find("block");
  ASSERT_TRUE(block);
  EXPECT_EQ(block->type, GetDataType<Block<Float32>>());
  const KernelParameter* pointer = parameters.Find("pointer");
  ASSERT_TRUE(pointer);
  EXPECT_TRUE(pointer->type.IsPointer());
  EXPECT_EQ(parameters.Find("Number"), nullptr);
}

TEST_F(KernelBaseTest, ValuesAreCopiedIntoTheMember) {
  ASSERT_THAT(object->Init(), IsOk());
  const Int32 number = 7;
  ASSERT_THAT(object->Set("number", &number), IsOk());
  EXPECT_EQ(kernel->number, 7);
  auto text = String::Create("a text");
  ASSERT_THAT(text, IsOk());
  ASSERT_THAT(object->Set("text", &*text), IsOk());
  *text = String();
  EXPECT_EQ(kernel->text, "a text");
  Float32 values[] = {1, 2};
  const Block<Float32> block(values, 2);
  ASSERT_THAT(object->Set("block", &block), IsOk());
  EXPECT_EQ(kernel->block.GetFirst(), values);
  EXPECT_EQ(kernel->block.GetCount(), 2);
  EXPECT_EQ(kernel->block.GetStride(), 4);
}

TEST_F(KernelBaseTest, APointerParameterReceivesTheAddressItself) {
  ASSERT_THAT(object->Init(), IsOk());
  Float32 value = 3;
  ASSERT_THAT(object->Set("pointer", &value), IsOk());
  EXPECT_EQ(kernel->pointer, &value);
  ASSERT_THAT(object->Set("pointer", nullptr), IsOk());
  EXPECT_EQ(kernel->pointer, nullptr);
}

TEST_F(KernelBaseTest, UnknownNamesAreIgnored) {
  const Int32 number = 7;
  EXPECT_THAT(object->Set("number", &number), IsOk());  // before Init
  ASSERT_THAT(object->Init(), IsOk());
  for (const char* name : {"", "Number", "NUMBER", "numbe", "numbers", "number "}) {
    auto key = CString::Create(name);
    ASSERT_THAT(key, IsOk());
    EXPECT_THAT(object->Set(*key, &number), IsOk()) << name;
    EXPECT_THAT(object->Set(*key, nullptr), IsOk()) << name;
  }
  EXPECT_EQ(kernel->number, -1);
}

TEST_F(KernelBaseTest, ANameThatIsUsedTwiceIsRefused) {
  ASSERT_THAT(object->Init(), IsOk());
  const auto twice = kernel->AddTwice();
  ASSERT_THAT(twice,
              IsErrorWith(kIllegalArgumentError, "The kernel \"net.ostra.test.probe\" has two parameters \"number\"."));
  EXPECT_EQ(twice.GetError().GetUnit(), "kernelbase_impl");
  EXPECT_EQ(object->GetKernelParameterMap().GetCount(), 4);
  const Int32 number = 7;
  ASSERT_THAT(object->Set("number", &number), IsOk());
  EXPECT_EQ(kernel->number, 7);
}

TEST_F(KernelBaseTest, AKernelObjectCannotBeCopied) {
  constexpr const char* kMessage = "Component net.ostra.test.probe has members, but CopyFrom is not implemented!";
  auto other = _class->CreateObject<KernelInterface>();
  ASSERT_THAT(other, IsOk());
  const DiagnosticRecorder recorder;
  EXPECT_THAT((*other)->CopyFrom(*object), IsErrorWith(kNotImplementedError, kMessage));
  EXPECT_THAT(recorder.GetLines(), testing::Contains(std::string(kMessage)));
}

TEST_F(KernelBaseTest, RunningOutOfMemoryInInitIsAnErrorAndLeaksNothing) {
  {
    // The first kernel makes the types of its parameters known, which stay.
    auto first = _class->CreateObject<KernelInterface>();
    ASSERT_THAT((*first)->Init(), IsOk());
  }
  for (Int n = 1;; ++n) {
    ASSERT_LT(n, 1000);
    const Int live = AllocationFaults::GetLiveCount();
    AllocationFaults::FailNth(n);
    auto made = _class->CreateObject<KernelInterface>();
    Result<void> result = made ? (*made)->Init() : Result<void>(made.GetError());
    const Bool hasFired = AllocationFaults::HasFired();
    AllocationFaults::Disable();
    made = Error::MakeOutOfMemory("kernel_base_test", 0);
    if (!hasFired) {
      EXPECT_THAT(result, IsOk());
      break;
    }
    EXPECT_THAT(result, IsErrorOfKind(kOutOfMemoryError));
    result = OK;
    ASSERT_EQ(AllocationFaults::GetLiveCount(), live);
  }
}

TEST(KernelFormsTest, OnlyKernelsWithRangesHaveTheRangeInterface) {
  auto registry = ClassRegistry::Find(kKernelClassRegistry);
  ASSERT_THAT(registry, IsOk());
  for (const KernelForm form : {KernelForm::Call, KernelForm::Range}) {
    auto id = Id::Create(GetKernelFile(kScale, form).GetName());
    ASSERT_THAT(id, IsOk());
    auto kernelClass = registry->FindEntryValue(*id);
    ASSERT_THAT(kernelClass, IsOk());
    auto kernel = (*kernelClass)->CreateObject<KernelInterface>();
    ASSERT_THAT(kernel, IsOk());
    EXPECT_EQ(FindInterface<KernelRangeInterface>(**kernel) != nullptr, form == KernelForm::Range);
  }
}

}  // namespace
}  // namespace ostra::test

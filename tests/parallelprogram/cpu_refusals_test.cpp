// What the CPU program refuses to keep memory whole, and where its errors say that they come from.
#include "parallelprogram/textures/texture_bind_data.h"
#include "tests/parallelprogram/program_fixture.h"

namespace ostra::test {
namespace {

class RefusalsTest : public ProgramTest {
 protected:
  void SetUp() override {
    ProgramTest::SetUp();
    StoreBuffer<Int32>("numbers"_iid, {1, 2, 3, 4, 5, 6, 7, 8});
    StoreBuffer<String>("texts"_iid, {"a"_s, "b"_s});
  }
  void ExpectUnchanged() {
    EXPECT_EQ(ReadBuffer<Int32>("numbers"_iid), (std::vector<Int32>{1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_EQ(ReadBuffer<String>("texts"_iid), (std::vector<String>{"a"_s, "b"_s}));
  }
};

TEST_F(RefusalsTest, UpdatesOfAnotherTypeWhereOneIsNotPlain) {
  EXPECT_THAT(
      program->UpdateUniformBufferData("numbers"_iid, 0, MakeArray<String>({"x"_s})),
      IsErrorWith(kIllegalArgumentError, "Values of type \"string\" cannot be written into a buffer of \"int32\"."));
  EXPECT_THAT(
      program->UpdateUniformBufferData("texts"_iid, 0, MakeArray<Int32>({9})),
      IsErrorWith(kIllegalArgumentError, "Values of type \"int32\" cannot be written into a buffer of \"string\"."));
  ExpectUnchanged();
}

TEST_F(RefusalsTest, BytesOfValuesThatAreNotPlain) {
  const auto copy = [this](InternedId source, InternedId target, Int count) {
    return program->CopyBufferDataBytes(source, target, count, 0, 0);
  };
  EXPECT_THAT(copy("texts"_iid, "numbers"_iid, 8),
              IsErrorWith(kIllegalArgumentError, "Bytes of \"string\" cannot be copied into a buffer of \"int32\"."));
  EXPECT_THAT(copy("numbers"_iid, "texts"_iid, 1),
              IsErrorWith(kIllegalArgumentError, "Bytes of \"int32\" cannot be copied into a buffer of \"string\"."));
  EXPECT_THAT(copy("texts"_iid, "texts"_iid, 1),
              IsErrorWith(kIllegalArgumentError, "Bytes of \"string\" cannot be copied into a buffer of \"string\"."));
  EXPECT_THAT(copy("texts"_iid, "numbers"_iid, 1000),
              IsErrorWith(kIllegalArgumentError, "count and offset out of range for source buffer"));
  ExpectUnchanged();
}

TEST_F(RefusalsTest, NoBytesOfValuesThatAreNotPlainAreNoneToRefuse) {
  for (const Int count : {Int{0}, Int{-1}, Int{-100}}) {
    EXPECT_THAT(program->CopyBufferDataBytes("texts"_iid, "texts"_iid, count, 0, 0), IsOk());
    EXPECT_THAT(program->CopyBufferDataBytes("texts"_iid, "numbers"_iid, count, 0, 0), IsOk());
    EXPECT_THAT(program->CopyBufferDataBytes("numbers"_iid, "texts"_iid, count, 0, 0), IsOk());
  }
  ExpectUnchanged();
}

TEST_F(RefusalsTest, TypedStoresUnderAnotherTypeThatDoesNotFitOrOwnsSomething) {
  const auto store = [this](DataType type, GenericBaseArray&& values) {
    return program->StoreUniformBufferData("numbers"_iid, type, std::move(values));
  };
  EXPECT_THAT(store(GetDataType<Float64>(), GenericBaseArray(MakeArray<Int32>({1, 2}))),
              IsErrorWith(kIllegalArgumentError, "Values of type \"int32\" cannot be stored as \"float64\"."));
  EXPECT_THAT(store(GetDataType<String>(), GenericBaseArray(MakeArray<Int64>({1, 2}))),
              IsErrorWith(kIllegalArgumentError, "Values of type \"int\" cannot be stored as \"string\"."));
  EXPECT_THAT(store(GetDataType<Int64>(), GenericBaseArray(MakeArray<String>({"x"_s}))),
              IsErrorWith(kIllegalArgumentError, "Values of type \"string\" cannot be stored as \"int\"."));
  EXPECT_THAT(store(DataType(), GenericBaseArray(MakeArray<Int32>({1}))),
              IsErrorWith(kIllegalArgumentError, "Values of type \"int32\" cannot be stored as \"nothing\"."));
  ExpectUnchanged();
}

TEST_F(RefusalsTest, BuffersOfNoType) {
  const auto refused = IsErrorWith(kIllegalArgumentError, "DataType not specified or 0 size");
  EXPECT_THAT(program->CreateUniformBuffer("numbers"_iid, DataType(), 3), refused);
  EXPECT_THAT(program->CreateUniformBuffer("numbers"_iid, DataType(), 0), refused);
  EXPECT_THAT(program->CreateUniformBuffer("new"_iid, DataType(), 3), refused);
  ASSERT_EQ(GetDataType<Generic>().GetSize(), 0);
  EXPECT_THAT(program->CreateUniformBuffer("numbers"_iid, GetDataType<Generic>(), 3), refused);
  EXPECT_THAT(program->CreateUniformBuffer("new"_iid, GetDataType<Generic>(), 3), refused);
  EXPECT_THAT(program->GetGlobalBufferLink("new"_iid), IsErrorOfKind(kIllegalArgumentError));
  ExpectUnchanged();
}

// An array of elements that have no size.
class SizelessArray final : public ArrayInterface {
 public:
  DataType GetElementType() const override { return GetDataType<Generic>(); }
  Int GetCount() const override { return 1; }
  Block<Generic> GetBlock(Int) const override { return Block<Generic>(reinterpret_cast<Generic*>(&_place), 1); }
  Result<void> Resize(Int, ResizeFlags) override { return OK; }
  Result<StrongRef<ArrayInterface>> Clone() const override { return StrongRef<ArrayInterface>(); }

 private:
  mutable Byte _place = 0;
};

TEST_F(RefusalsTest, ElementsWithoutASize) {
  const auto refused = IsErrorWith(kIllegalArgumentError, "data is not an base array or block");
  Array<Generic> array(StrongRef<ArrayInterface>::Adopt(NewObj<SizelessArray>()));
  EXPECT_THAT(program->StoreUniformBufferData("numbers"_iid, array), refused);
  EXPECT_THAT(program->StoreUniformBufferData("numbers"_iid, &array), refused);
  EXPECT_THAT(program->UpdateUniformBufferData("numbers"_iid, 0, array), refused);
  ExpectUnchanged();
}

TEST_F(RefusalsTest, RangesOfANegativeNumberOfElements) {
  EXPECT_THAT(program->GetGlobalBufferData("numbers"_iid, 0, -2),
              IsErrorWith(kIllegalArgumentError, "Requested data range is out of bounds"));
  ExpectUnchanged();
}

TEST_F(RefusalsTest, UniformsWithoutAValue) {
  AddKernel("k"_iid, kTyped);
  ASSERT_THAT(program->SetUniform("int32"_iid, Int32(5)), IsOk());
  const auto refused = IsErrorWith(kIllegalArgumentError, "The uniform \"int32\" was given no value.");
  EXPECT_THAT(program->SetUniform("int32"_iid, Data()), refused);
  EXPECT_THAT(program->SetUniform("int32"_iid, ForwardingDataPtr()), refused);
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  ASSERT_THAT(program->DispatchKernel(1, 1, 1, false), IsOk());
  EXPECT_EQ(TypedValues::seen.int32, 5);
}

// Errors of every group of methods name the one unit of the program.
TEST_F(RefusalsTest, EveryGroupOfMethodsRaisesErrorsOfOneUnit) {
  AddKernel("k"_iid, kScale);
  const auto isOfTheUnit = [](const auto& result) {
    return !result.IsOk() && result.GetError().GetUnit() == "parallelprogram_cpu_impl";
  };
  EXPECT_TRUE(isOfTheUnit(program->AddKernel("k"_iid, GetKernelFile(kScale, KernelForm::Call), true)));
  EXPECT_TRUE(isOfTheUnit(program->SwapBuffers("x"_iid, "y"_iid)));
  EXPECT_TRUE(isOfTheUnit(program->GetGlobalBufferData("x"_iid)));
  EXPECT_TRUE(isOfTheUnit(program->StoreUniformBufferData("x"_iid, Int32(3))));
  EXPECT_TRUE(isOfTheUnit(program->GetAtomicCounter("x"_iid)));
  EXPECT_TRUE(isOfTheUnit(program->SwapTextures("x"_iid, "y"_iid)));
  EXPECT_TRUE(isOfTheUnit(program->DispatchIndirectKernel("x"_iid, 0, false)));
  TextureBindData bindData{};
  bindData._dimensions = {4, 1, 1};
  bindData._numChannels = 2;
  bindData._format = TextureFormat::U8;
  EXPECT_TRUE(isOfTheUnit(program->StoreTextureBindData("x"_iid, bindData, false)));
}

}  // namespace
}  // namespace ostra::test

// Reading buffers of the CPU program and copying between them.
#include "tests/parallelprogram/program_fixture.h"

#include <limits>

namespace ostra::test {
namespace {

constexpr const char* kOutOfBounds = "Requested data range is out of bounds";
constexpr const char* kSourceMissing = "source buffer could not be found";
constexpr const char* kTargetMissing = "target buffer could not be found";
constexpr const char* kSourceRange = "count and offset out of range for source buffer";
constexpr const char* kTargetRange = "count and offset out of range for target buffer";
constexpr Int kMax = std::numeric_limits<Int>::max();
constexpr Int kLeast = std::numeric_limits<Int>::min();

using ReadBufferTest = ProgramTest;

TEST_F(ReadBufferTest, UnknownBuffersAreReported) {
  const auto unknown = IsErrorWith(kIllegalArgumentError, "buffer identifier not found");
  EXPECT_THAT(program->GetGlobalBufferData("unknown"_iid), unknown);
  EXPECT_THAT(program->GetGlobalBufferData("unknown"_iid, 0, -1), unknown);
  EXPECT_THAT(program->GetGlobalBufferData("unknown"_iid, 5, 5), unknown);
}

TEST_F(ReadBufferTest, TheResultIsAnArrayOfTheElementType) {
  StoreBuffer<Float32>("a"_iid, {1, 2});
  const auto whole = program->GetGlobalBufferData("a"_iid);
  const auto part = program->GetGlobalBufferData("a"_iid, 0, 1);
  ASSERT_THAT(whole, IsOk());
  ASSERT_THAT(part, IsOk());
  EXPECT_EQ(whole->GetType(), GetDataType<Array<Float32>>());
  EXPECT_EQ(part->GetType(), GetDataType<Array<Float32>>());
}

TEST_F(ReadBufferTest, ARangeIsANewArray) {
  StoreBuffer<Int32>("a"_iid, {1, 2, 3, 4});
  const auto part = program->GetGlobalBufferData("a"_iid, 1, 2);
  ASSERT_THAT(program->UpdateUniformBufferData("a"_iid, 1, MakeArray<Int32>({9})), IsOk());
  EXPECT_EQ(GetElements<Int32>(part), (std::vector<Int32>{2, 3}));
}

TEST_F(ReadBufferTest, EvenARangeOfAllElementsIsANewArray) {
  StoreBuffer<Int32>("a"_iid, {1, 2});
  const auto all = program->GetGlobalBufferData("a"_iid, 0, 2);
  ASSERT_THAT(program->UpdateUniformBufferData("a"_iid, 0, MakeArray<Int32>({9})), IsOk());
  EXPECT_EQ(GetElements<Int32>(all), (std::vector<Int32>{1, 2}));
}

TEST_F(ReadBufferTest, CountMinusOneIsTheWholeSharedBufferWhateverTheOffset) {
  StoreBuffer<Int32>("a"_iid, {1, 2});
  for (const Int offset : {Int{0}, Int{1}, Int{100}, Int{-7}, kMax}) {
    const auto whole = program->GetGlobalBufferData("a"_iid, offset, -1);
    ASSERT_THAT(program->UpdateUniformBufferData("a"_iid, 0, MakeArray<Int32>({static_cast<Int32>(offset % 1000)})),
                IsOk());
    EXPECT_EQ(GetElements<Int32>(whole), (std::vector<Int32>{static_cast<Int32>(offset % 1000), 2}));
  }
}

TEST_F(ReadBufferTest, RangesMayReachTheEndButNotBeyond) {
  StoreBuffer<Int32>("a"_iid, {1, 2, 3, 4});
  EXPECT_EQ(GetElements<Int32>(program->GetGlobalBufferData("a"_iid, 2, 2)), (std::vector<Int32>{3, 4}));
  EXPECT_TRUE(GetElements<Int32>(program->GetGlobalBufferData("a"_iid, 4, 0)).empty());
  const auto outside = IsErrorWith(kIllegalArgumentError, kOutOfBounds);
  EXPECT_THAT(program->GetGlobalBufferData("a"_iid, 2, 3), outside);
  EXPECT_THAT(program->GetGlobalBufferData("a"_iid, 0, 5), outside);
  EXPECT_THAT(program->GetGlobalBufferData("a"_iid, 5, 0), outside);
}

TEST_F(ReadBufferTest, RangesOutsideMemoryAreRefused) {
  StoreBuffer<Int32>("a"_iid, {1, 2, 3, 4});
  const auto outside = IsErrorWith(kIllegalArgumentError, kOutOfBounds);
  EXPECT_THAT(program->GetGlobalBufferData("a"_iid, -1, 2), outside);
  EXPECT_THAT(program->GetGlobalBufferData("a"_iid, kLeast, 2), outside);
  EXPECT_THAT(program->GetGlobalBufferData("a"_iid, 0, -2), outside);
  EXPECT_THAT(program->GetGlobalBufferData("a"_iid, 2, kLeast), outside);
  EXPECT_THAT(program->GetGlobalBufferData("a"_iid, kMax, 2), outside);
  EXPECT_THAT(program->GetGlobalBufferData("a"_iid, 2, kMax), outside);
  EXPECT_THAT(program->GetGlobalBufferData("a"_iid, kMax, kMax), outside);
}

TEST_F(ReadBufferTest, KernelBuffersAreReadThroughTheirLinks) {
  StoreBuffer<Int32>("a"_iid, {1, 2});
  AddKernel("k"_iid, kScale);
  ASSERT_THAT(program->SetBufferToActiveKernel("a"_iid, "values"_iid), IsOk());
  const auto data = program->GetKernelBufferData("values"_iid);
  ASSERT_THAT(program->UpdateUniformBufferData("a"_iid, 0, MakeArray<Int32>({9})), IsOk());
  EXPECT_EQ(GetElements<Int32>(data), (std::vector<Int32>{9, 2}));
  EXPECT_THAT(program->GetKernelBufferData("a"_iid), IsErrorWith(kIllegalArgumentError, "buffer identifier not found"));
}

class CopyBufferTest : public ProgramTest {
 public:
  void SetUp() override {
    ProgramTest::SetUp();
    StoreBuffer<Int32>("source"_iid, {1, 2, 3, 4});
    StoreBuffer<Int32>("target"_iid, {0, 0, 0});
    StoreBuffer<Float32>("floats"_iid, {1, 2, 3, 4});
  }
  Result<void> Copy(Int count, Int sourceOffset, Int targetOffset) {
    return program->CopyBufferData("source"_iid, "target"_iid, count, sourceOffset, targetOffset);
  }
  Result<void> CopyBytes(Int count, Int sourceOffset, Int targetOffset) {
    return program->CopyBufferDataBytes("source"_iid, "target"_iid, count, sourceOffset, targetOffset);
  }
  void ExpectTargetUnchanged() { EXPECT_EQ(ReadBuffer<Int32>("target"_iid), (std::vector<Int32>{0, 0, 0})); }
};

TEST_F(CopyBufferTest, CopiesElements) {
  ASSERT_THAT(Copy(2, 2, 1), IsOk());
  EXPECT_EQ(ReadBuffer<Int32>("target"_iid), (std::vector<Int32>{0, 3, 4}));
  EXPECT_EQ(ReadBuffer<Int32>("source"_iid), (std::vector<Int32>{1, 2, 3, 4}));
}

TEST_F(CopyBufferTest, CopiesWithinOneBuffer) {
  ASSERT_THAT(program->CopyBufferData("source"_iid, "source"_iid, 2, 0, 2), IsOk());
  EXPECT_EQ(ReadBuffer<Int32>("source"_iid), (std::vector<Int32>{1, 2, 1, 2}));
}

TEST_F(CopyBufferTest, NothingMayBeCopiedAnywhereInside) {
  EXPECT_THAT(Copy(0, 4, 3), IsOk());
  EXPECT_THAT(CopyBytes(0, 16, 12), IsOk());
  ExpectTargetUnchanged();
}

TEST_F(CopyBufferTest, ANegativeCountCopiesNothing) {
  EXPECT_THAT(Copy(-1, 0, 0), IsOk());
  EXPECT_THAT(Copy(-2, 3, 3), IsOk());
  EXPECT_THAT(CopyBytes(-1, 0, 0), IsOk());
  EXPECT_THAT(Copy(kLeast, 0, 0), IsOk());
  EXPECT_THAT(CopyBytes(kLeast, 0, 0), IsOk());
  EXPECT_THAT(Copy(-1, 9, 0), IsErrorWith(kIllegalArgumentError, kSourceRange));
  EXPECT_THAT(Copy(-1, 0, 9), IsErrorWith(kIllegalArgumentError, kTargetRange));
  ExpectTargetUnchanged();
}

TEST_F(CopyBufferTest, WritesInPlace) {
  const auto view = program->GetGlobalBufferData("target"_iid);
  ASSERT_THAT(Copy(1, 0, 0), IsOk());
  ASSERT_THAT(CopyBytes(4, 4, 4), IsOk());
  EXPECT_EQ(GetElements<Int32>(view), (std::vector<Int32>{1, 2, 0}));
}

TEST_F(CopyBufferTest, ReportsTheMissingBufferTheSourceFirst) {
  EXPECT_THAT(program->CopyBufferData("x"_iid, "y"_iid, 9, 9, 9), IsErrorWith(kIllegalArgumentError, kSourceMissing));
  EXPECT_THAT(program->CopyBufferData("source"_iid, "y"_iid, 9, 9, 9),
              IsErrorWith(kIllegalArgumentError, kTargetMissing));
  EXPECT_THAT(program->CopyBufferDataBytes("x"_iid, "y"_iid, 99, 9, 9),
              IsErrorWith(kIllegalArgumentError, kSourceMissing));
  EXPECT_THAT(program->CopyBufferDataBytes("source"_iid, "y"_iid, 99, 9, 9),
              IsErrorWith(kIllegalArgumentError, kTargetMissing));
}

TEST_F(CopyBufferTest, ReportsTheExceededRangeTheSourceFirst) {
  EXPECT_THAT(Copy(5, 0, 0), IsErrorWith(kIllegalArgumentError, kSourceRange));
  EXPECT_THAT(Copy(1, 4, 0), IsErrorWith(kIllegalArgumentError, kSourceRange));
  EXPECT_THAT(Copy(4, 0, 0), IsErrorWith(kIllegalArgumentError, kTargetRange));
  EXPECT_THAT(Copy(1, 0, 3), IsErrorWith(kIllegalArgumentError, kTargetRange));
  EXPECT_THAT(CopyBytes(17, 0, 0), IsErrorWith(kIllegalArgumentError, kSourceRange));
  EXPECT_THAT(CopyBytes(1, 16, 0), IsErrorWith(kIllegalArgumentError, kSourceRange));
  EXPECT_THAT(CopyBytes(13, 0, 0), IsErrorWith(kIllegalArgumentError, kTargetRange));
  EXPECT_THAT(CopyBytes(1, 0, 12), IsErrorWith(kIllegalArgumentError, kTargetRange));
  ExpectTargetUnchanged();
}

TEST_F(CopyBufferTest, RefusesRangesOutsideMemory) {
  for (auto copy : {&CopyBufferTest::Copy, &CopyBufferTest::CopyBytes}) {
    EXPECT_THAT((this->*copy)(1, -1, 0), IsErrorWith(kIllegalArgumentError, kSourceRange));
    EXPECT_THAT((this->*copy)(1, kLeast, 0), IsErrorWith(kIllegalArgumentError, kSourceRange));
    EXPECT_THAT((this->*copy)(1, kMax, 0), IsErrorWith(kIllegalArgumentError, kSourceRange));
    EXPECT_THAT((this->*copy)(kMax, 1, 0), IsErrorWith(kIllegalArgumentError, kSourceRange));
    EXPECT_THAT((this->*copy)(1, 0, -1), IsErrorWith(kIllegalArgumentError, kTargetRange));
    EXPECT_THAT((this->*copy)(1, 0, kLeast), IsErrorWith(kIllegalArgumentError, kTargetRange));
    EXPECT_THAT((this->*copy)(1, 0, kMax), IsErrorWith(kIllegalArgumentError, kTargetRange));
  }
  ExpectTargetUnchanged();
}

TEST_F(CopyBufferTest, ComparesTypesAfterRanges) {
  EXPECT_THAT(program->CopyBufferData("floats"_iid, "target"_iid, 3, 0, 0),
              IsErrorWith(kIllegalArgumentError, "Buffers have mismatching data types"));
  EXPECT_THAT(program->CopyBufferData("floats"_iid, "target"_iid, 5, 0, 0),
              IsErrorWith(kIllegalArgumentError, kSourceRange));
  EXPECT_THAT(program->CopyBufferData("floats"_iid, "target"_iid, 4, 0, 0),
              IsErrorWith(kIllegalArgumentError, kTargetRange));
  EXPECT_THAT(program->CopyBufferData("floats"_iid, "target"_iid, 0, 0, 0),
              IsErrorWith(kIllegalArgumentError, "Buffers have mismatching data types"));
  ExpectTargetUnchanged();
}

TEST_F(CopyBufferTest, CopiesBytesBetweenBuffersOfAnyTypes) {
  StoreBuffer<Byte>("bytes"_iid, std::vector<Byte>(16, 0xEE));
  ASSERT_THAT(program->CopyBufferDataBytes("floats"_iid, "bytes"_iid, 6, 0, 3), IsOk());
  const std::vector<Byte> expected{0xEE, 0xEE, 0xEE, 0, 0, 0x80, 0x3F, 0, 0, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE};
  EXPECT_EQ(ReadBuffer<Byte>("bytes"_iid), expected);
}

TEST_F(CopyBufferTest, CopiesExactlySixBytesOfFloatsIntoIntegers) {
  ASSERT_THAT(program->StoreUniformBufferData("ones"_iid, MakeArray<Int32>({-1, -1, -1})), IsOk());
  ASSERT_THAT(program->CopyBufferDataBytes("floats"_iid, "ones"_iid, 6, 0, 0), IsOk());
  EXPECT_EQ(ReadBuffer<Int32>("ones"_iid), (std::vector<Int32>{0x3F800000, -65536, -1}));
}

TEST_F(CopyBufferTest, EmptyBuffersAreCopiedAsNothing) {
  ASSERT_THAT(program->CreateUniformBuffer("empty"_iid, GetDataType<Int32>(), 0), IsOk());
  EXPECT_THAT(program->CopyBufferData("empty"_iid, "target"_iid, 0, 0, 0), IsOk());
  EXPECT_THAT(program->CopyBufferData("target"_iid, "empty"_iid, 0, 0, 0), IsOk());
  EXPECT_THAT(program->CopyBufferData("empty"_iid, "target"_iid, 1, 0, 0),
              IsErrorWith(kIllegalArgumentError, kSourceRange));
  ExpectTargetUnchanged();
}

}  // namespace
}  // namespace ostra::test

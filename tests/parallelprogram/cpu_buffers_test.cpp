// Buffers of the CPU program: creating, resizing, storing and updating.
#include <limits>

#include "tests/parallelprogram/array_sources.h"
#include "tests/parallelprogram/program_fixture.h"

namespace ostra::test {
namespace {

constexpr const char* kEmptyNotAllowed =
    "Empty buffers are not allowed to be added. Please resize to the required size before storing.";
constexpr const char* kNoSource = "data is not an base array or block";
constexpr const char* kPieces = "only arrays with one continuous memory block are supported";
constexpr const char* kUpdateNotFound = "buffer for update could not be found";
constexpr const char* kUpdateTooLarge = "Data update does not fit into existing buffer";
constexpr Int kHugeCount = Int{1} << 61;

using BuffersTest = ProgramTest;

TEST_F(BuffersTest, ACreatedBufferHoldsZeros) {
  ASSERT_THAT(program->CreateUniformBuffer("a"_iid, GetDataType<Float32>(), 5), IsOk());
  EXPECT_EQ(ReadBuffer<Float32>("a"_iid), std::vector<Float32>(5, 0.0f));
  ASSERT_THAT(program->CreateUniformBuffer("b"_iid, GetDataType<Vec4<Int32>>(), 2), IsOk());
  EXPECT_EQ(ReadBuffer<Vec4<Int32>>("b"_iid), std::vector<Vec4<Int32>>(2, Vec4<Int32>(0)));
}

TEST_F(BuffersTest, CreatingUnderAUsedNameReplacesTheBuffer) {
  StoreBuffer<Int32>("a"_iid, {1, 2, 3});
  ASSERT_THAT(program->CreateUniformBuffer("a"_iid, GetDataType<Float32>(), 2), IsOk());
  EXPECT_EQ(ReadBuffer<Float32>("a"_iid), std::vector<Float32>(2, 0.0f));
}

TEST_F(BuffersTest, AnEmptyBufferCanBeCreatedButTakesNoUpdate) {
  ASSERT_THAT(program->CreateUniformBuffer("a"_iid, GetDataType<Float32>(), 0), IsOk());
  EXPECT_TRUE(ReadBuffer<Float32>("a"_iid).empty());
  EXPECT_THAT(program->UpdateUniformBufferData("a"_iid, 0, MakeArray<Float32>({1})),
              IsErrorWith(kIllegalArgumentError, kUpdateTooLarge));
}

TEST_F(BuffersTest, AnEmptyBufferCanBeResized) {
  ASSERT_THAT(program->CreateUniformBuffer("a"_iid, GetDataType<Int32>(), 0), IsOk());
  ASSERT_THAT(program->ResizeUniformBuffer("a"_iid, 2, false), IsOk());
  EXPECT_EQ(ReadBuffer<Int32>("a"_iid), (std::vector<Int32>{0, 0}));
}

TEST_F(BuffersTest, ABufferThatCannotBeCreatedLeavesTheOldOne) {
  StoreBuffer<Int32>("a"_iid, {1});
  EXPECT_THAT(program->CreateUniformBuffer("a"_iid, GetDataType<Int32>(), -1), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(program->CreateUniformBuffer("a"_iid, GetDataType<Int32>(), kHugeCount),
              IsErrorOfKind(kOutOfMemoryError));
  EXPECT_THAT(program->CreateUniformBuffer("a"_iid, DataType(), 1), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_EQ(ReadBuffer<Int32>("a"_iid), std::vector<Int32>{1});
}

TEST_F(BuffersTest, ResizingKeepsTheFirstElementsAndAddsZeros) {
  StoreBuffer<Int32>("a"_iid, {1, 2, 3});
  ASSERT_THAT(program->ResizeUniformBuffer("a"_iid, 5, false), IsOk());
  EXPECT_EQ(ReadBuffer<Int32>("a"_iid), (std::vector<Int32>{1, 2, 3, 0, 0}));
  ASSERT_THAT(program->ResizeUniformBuffer("a"_iid, 2, true), IsOk());
  EXPECT_EQ(ReadBuffer<Int32>("a"_iid), (std::vector<Int32>{1, 2}));
  ASSERT_THAT(program->ResizeUniformBuffer("a"_iid, 4, true), IsOk());
  EXPECT_EQ(ReadBuffer<Int32>("a"_iid), (std::vector<Int32>{1, 2, 0, 0}));
}

TEST_F(BuffersTest, ResizingRefusesUnknownBuffersBeforeItLooksAtTheCount) {
  EXPECT_THAT(program->ResizeUniformBuffer("unknown"_iid, 0, false),
              IsErrorWith(kIllegalArgumentError, "buffer for resize could not be found"));
  EXPECT_THAT(program->ResizeUniformBuffer("unknown"_iid, 3, true),
              IsErrorWith(kIllegalArgumentError, "buffer for resize could not be found"));
}

TEST_F(BuffersTest, ResizingToNothingIsRefused) {
  StoreBuffer<Int32>("a"_iid, {1, 2});
  for (const Int count : {Int{0}, Int{-1}, std::numeric_limits<Int>::min()}) {
    EXPECT_THAT(program->ResizeUniformBuffer("a"_iid, count, false),
                IsErrorWith(kIllegalArgumentError, "Buffer cannot be resized to 0 size."));
  }
  EXPECT_EQ(ReadBuffer<Int32>("a"_iid), (std::vector<Int32>{1, 2}));
}

TEST_F(BuffersTest, ResizingBeyondMemoryLeavesTheBuffer) {
  StoreBuffer<Int32>("a"_iid, {1, 2});
  const auto view = program->GetGlobalBufferData("a"_iid);
  EXPECT_THAT(program->ResizeUniformBuffer("a"_iid, kHugeCount, false), IsErrorOfKind(kOutOfMemoryError));
  EXPECT_EQ(ReadBuffer<Int32>("a"_iid), (std::vector<Int32>{1, 2}));
}

TEST_F(BuffersTest, LinksFollowAResize) {
  StoreBuffer<Float32>("values"_iid, {1, 2});
  AddKernel("k"_iid, kScale);
  ASSERT_THAT(program->SetBufferToActiveKernelSameId("values"_iid), IsOk());
  const auto view = program->GetGlobalBufferData("values"_iid);
  ASSERT_THAT(program->ResizeUniformBuffer("values"_iid, 3, false), IsOk());
  EXPECT_EQ(ReadKernelBuffer<Float32>("values"_iid), (std::vector<Float32>{1, 2, 0}));
  EXPECT_EQ(GetElements<Float32>(view), (std::vector<Float32>{1, 2}));
}

TEST_F(BuffersTest, AReadBufferSharesMemoryUntilAResize) {
  StoreBuffer<Int32>("a"_iid, {1, 2, 3});
  StoreBuffer<Int32>("b"_iid, {7});
  const auto view = program->GetGlobalBufferData("a"_iid);
  ASSERT_THAT(program->UpdateUniformBufferData("a"_iid, 0, MakeArray<Int32>({10})), IsOk());
  ASSERT_THAT(program->CopyBufferData("b"_iid, "a"_iid, 1, 0, 2), IsOk());
  EXPECT_EQ(GetElements<Int32>(view), (std::vector<Int32>{10, 2, 7}));
  ASSERT_THAT(program->ResizeUniformBuffer("a"_iid, 3, false), IsOk());
  ASSERT_THAT(program->UpdateUniformBufferData("a"_iid, 0, MakeArray<Int32>({99})), IsOk());
  EXPECT_EQ(GetElements<Int32>(view), (std::vector<Int32>{10, 2, 7}));
  EXPECT_EQ(ReadBuffer<Int32>("a"_iid), (std::vector<Int32>{99, 2, 7}));
}

TEST_F(BuffersTest, AReadBufferShowsWhatKernelsWrite) {
  StoreBuffer<Float32>("values"_iid, {1, 2});
  AddKernel("k"_iid, kScale);
  ASSERT_THAT(program->SetBufferToActiveKernelSameId("values"_iid), IsOk());
  ASSERT_THAT(program->SetUniform("factor"_iid, Float32(5)), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  const auto global = program->GetGlobalBufferData("values"_iid);
  const auto kernel = program->GetKernelBufferData("values"_iid);
  ASSERT_THAT(program->DispatchKernel(2, 1, 1, false), IsOk());
  EXPECT_EQ(GetElements<Float32>(global), (std::vector<Float32>{5, 10}));
  EXPECT_EQ(GetElements<Float32>(kernel), (std::vector<Float32>{5, 10}));
}

TEST_F(BuffersTest, DeletingForgetsTheNameOnly) {
  StoreBuffer<Int32>("a"_iid, {1});
  const auto view = program->GetGlobalBufferData("a"_iid);
  ASSERT_THAT(program->DeleteUniformBuffer("a"_iid), IsOk());
  EXPECT_THAT(program->GetGlobalBufferData("a"_iid), IsErrorWith(kIllegalArgumentError, "buffer identifier not found"));
  EXPECT_EQ(GetElements<Int32>(view), std::vector<Int32>{1});
  EXPECT_THAT(program->DeleteUniformBuffer("a"_iid), IsOk());
  EXPECT_THAT(program->DeleteUniformBuffer("never"_iid), IsOk());
}

// The values that a buffer is stored from and updated with.
using BufferSourcesTest = ProgramTest;

TEST_F(BufferSourcesTest, AMovedBaseArray) {
  BaseArray<Float32> values = MakeArray<Float32>({1, 2, 3});
  ASSERT_THAT(program->StoreUniformBufferData("a"_iid, std::move(values)), IsOk());
  EXPECT_EQ(ReadBuffer<Float32>("a"_iid), (std::vector<Float32>{1, 2, 3}));
}

TEST_F(BufferSourcesTest, ANamedBaseArrayKeepsItsElements) {
  BaseArray<Float32> values = MakeArray<Float32>({1, 2, 3});
  ASSERT_THAT(program->StoreUniformBufferData("a"_iid, values), IsOk());
  EXPECT_EQ(ReadBuffer<Float32>("a"_iid), (std::vector<Float32>{1, 2, 3}));
  ASSERT_THAT(program->UpdateUniformBufferData("a"_iid, 0, MakeArray<Float32>({9})), IsOk());
  ASSERT_EQ(values.GetCount(), 3);
  EXPECT_EQ(values[0], 1);
}

TEST_F(BufferSourcesTest, AGenericBaseArray) {
  GenericBaseArray values(MakeArray<Int32>({4, 5}));
  ASSERT_THAT(program->StoreUniformBufferData("a"_iid, std::move(values)), IsOk());
  EXPECT_EQ(ReadBuffer<Int32>("a"_iid), (std::vector<Int32>{4, 5}));
}

TEST_F(BufferSourcesTest, ABaseArrayInsideAData) {
  const auto data = Data::Create(MakeArray<Int32>({4, 5}));
  ASSERT_THAT(data, IsOk());
  ASSERT_THAT(program->StoreUniformBufferData("a"_iid, *data), IsOk());
  ASSERT_THAT(program->UpdateUniformBufferData("a"_iid, 0, MakeArray<Int32>({9})), IsOk());
  EXPECT_EQ(ReadBuffer<Int32>("a"_iid), (std::vector<Int32>{9, 5}));
  const auto* inside = data->GetIf<BaseArray<Int32>>();
  ASSERT_TRUE(inside);
  ASSERT_EQ(inside->GetCount(), 2);
  EXPECT_EQ((*inside)[0], 4);
}

TEST_F(BufferSourcesTest, ABlock) {
  Int32 values[] = {1, 2, 3};
  ASSERT_THAT(program->StoreUniformBufferData("a"_iid, Block<Int32>(values, 3)), IsOk());
  EXPECT_EQ(ReadBuffer<Int32>("a"_iid), (std::vector<Int32>{1, 2, 3}));
  const Int32 constants[] = {8, 9};
  ASSERT_THAT(program->StoreUniformBufferData("a"_iid, Block<const Int32>(constants, 2)), IsOk());
  EXPECT_EQ(ReadBuffer<Int32>("a"_iid), (std::vector<Int32>{8, 9}));
}

TEST_F(BufferSourcesTest, ABlockWithGapsOrBackwards) {
  Int32 values[] = {1, 2, 3, 4, 5, 6};
  ASSERT_THAT(program->StoreUniformBufferData("a"_iid, Block<Int32>(values, 3, 8)), IsOk());
  EXPECT_EQ(ReadBuffer<Int32>("a"_iid), (std::vector<Int32>{1, 3, 5}));
  ASSERT_THAT(program->UpdateUniformBufferData("a"_iid, 1, Block<Int32>(values + 1, 2, 12)), IsOk());
  EXPECT_EQ(ReadBuffer<Int32>("a"_iid), (std::vector<Int32>{1, 2, 5}));
  ASSERT_THAT(program->StoreUniformBufferData("b"_iid, Block<Int32>(values + 5, 3, -4)), IsOk());
  EXPECT_EQ(ReadBuffer<Int32>("b"_iid), (std::vector<Int32>{6, 5, 4}));
}

TEST_F(BufferSourcesTest, AnArrayIsCopied) {
  auto array = Array<Int32>::Create({1, 2});
  ASSERT_THAT(array, IsOk());
  ASSERT_THAT(program->StoreUniformBufferData("a"_iid, *array), IsOk());
  ASSERT_THAT(program->UpdateUniformBufferData("a"_iid, 0, MakeArray<Int32>({9})), IsOk());
  EXPECT_EQ(ReadBuffer<Int32>("a"_iid), (std::vector<Int32>{9, 2}));
  EXPECT_EQ((*array)[0], 1);
}

TEST_F(BufferSourcesTest, AnArrayOfUnknownElements) {
  auto array = NewBaseArray(GenericBaseArray(MakeArray<Int32>({1, 2})));
  ASSERT_THAT(array, IsOk());
  ASSERT_THAT(program->StoreUniformBufferData("a"_iid, std::move(array).GetValue()), IsOk());
  EXPECT_EQ(ReadBuffer<Int32>("a"_iid), (std::vector<Int32>{1, 2}));
}

TEST_F(BufferSourcesTest, ABufferReadBeforeGivesAnIndependentCopy) {
  StoreBuffer<Int32>("a"_iid, {1, 2});
  const auto view = program->GetGlobalBufferData("a"_iid);
  ASSERT_THAT(view, IsOk());
  ASSERT_THAT(program->StoreUniformBufferData("b"_iid, *view), IsOk());
  ASSERT_THAT(program->UpdateUniformBufferData("a"_iid, 0, MakeArray<Int32>({9})), IsOk());
  EXPECT_EQ(ReadBuffer<Int32>("b"_iid), (std::vector<Int32>{1, 2}));
}

TEST_F(BufferSourcesTest, AReferenceToAnArray) {
  StoreBuffer<Int32>("a"_iid, {1, 2});
  const auto link = program->GetGlobalBufferLink("a"_iid);
  ASSERT_THAT(link, IsOk());
  ASSERT_THAT(program->StoreUniformBufferData("b"_iid, *link), IsOk());
  ASSERT_THAT(program->UpdateUniformBufferData("a"_iid, 0, MakeArray<Int32>({9})), IsOk());
  EXPECT_EQ(ReadBuffer<Int32>("b"_iid), (std::vector<Int32>{1, 2}));
}

TEST_F(BufferSourcesTest, ElementsThatAreNotPlainBytes) {
  ASSERT_THAT(program->StoreUniformBufferData("a"_iid, MakeArray<String>({"one"_s, "two"_s})), IsOk());
  EXPECT_EQ(ReadBuffer<String>("a"_iid), (std::vector<String>{"one"_s, "two"_s}));
  ASSERT_THAT(program->ResizeUniformBuffer("a"_iid, 3, false), IsOk());
  EXPECT_EQ(ReadBuffer<String>("a"_iid), (std::vector<String>{"one"_s, "two"_s, String()}));
}

TEST_F(BufferSourcesTest, AnArrayInPiecesIsRefused) {
  EXPECT_THAT(program->StoreUniformBufferData("a"_iid, TwoPieceArray::Create()),
              IsErrorWith(kIllegalArgumentError, kPieces));
  EXPECT_THAT(program->GetGlobalBufferLink("a"_iid), testing::Not(IsOk()));
  StoreBuffer<Int32>("a"_iid, {7, 8, 9});
  EXPECT_THAT(program->UpdateUniformBufferData("a"_iid, 0, TwoPieceArray::Create()),
              IsErrorWith(kIllegalArgumentError, kPieces));
  EXPECT_EQ(ReadBuffer<Int32>("a"_iid), (std::vector<Int32>{7, 8, 9}));
}

TEST_F(BufferSourcesTest, OtherValuesAreRefused) {
  StoreBuffer<Int32>("a"_iid, {7});
  EXPECT_THAT(program->StoreUniformBufferData("a"_iid, Int32(3)), IsErrorWith(kIllegalArgumentError, kNoSource));
  EXPECT_THAT(program->StoreUniformBufferData("a"_iid, "text"_s), IsErrorWith(kIllegalArgumentError, kNoSource));
  EXPECT_THAT(program->StoreUniformBufferData("a"_iid, Data()), IsErrorWith(kIllegalArgumentError, kNoSource));
  EXPECT_THAT(program->StoreUniformBufferData("a"_iid, ForwardingDataPtr()),
              IsErrorWith(kIllegalArgumentError, kNoSource));
  EXPECT_THAT(program->UpdateUniformBufferData("a"_iid, 0, Int32(3)), IsErrorWith(kIllegalArgumentError, kNoSource));
  EXPECT_THAT(program->UpdateUniformBufferData("a"_iid, 0, Data()), IsErrorWith(kIllegalArgumentError, kNoSource));
  EXPECT_EQ(ReadBuffer<Int32>("a"_iid), std::vector<Int32>{7});
}

TEST_F(BufferSourcesTest, EmptySourcesAreRefused) {
  StoreBuffer<Int32>("a"_iid, {7});
  const auto refused = IsErrorWith(kIllegalArgumentError, kEmptyNotAllowed);
  EXPECT_THAT(program->StoreUniformBufferData("a"_iid, BaseArray<Int32>()), refused);
  EXPECT_THAT(program->StoreUniformBufferData("a"_iid, Block<Int32>()), refused);
  EXPECT_THAT(program->StoreUniformBufferData("a"_iid, GetDataType<Int32>(), GenericBaseArray(BaseArray<Int32>())),
              refused);
  EXPECT_THAT(program->UpdateUniformBufferData("a"_iid, 0, BaseArray<Int32>()), refused);
  EXPECT_THAT(program->UpdateUniformBufferData("a"_iid, 0, Block<Int32>()), refused);
  auto empty = NewBaseArray(GetDataType<Int32>());
  ASSERT_THAT(empty, IsOk());
  EXPECT_THAT(program->StoreUniformBufferData("a"_iid, *empty), refused);
  EXPECT_EQ(ReadBuffer<Int32>("a"_iid), std::vector<Int32>{7});
}

TEST_F(BufferSourcesTest, SourcesWithoutMemoryAreRefusedWithoutACrash) {
  EXPECT_THAT(program->StoreUniformBufferData("a"_iid, Array<Generic>()), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(program->StoreUniformBufferData("a"_iid, Block<Int32>(nullptr, 3)), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(program->StoreUniformBufferData("a"_iid, Block<Int32>(nullptr, -3)),
              IsErrorWith(kIllegalArgumentError, kEmptyNotAllowed));
  EXPECT_THAT(program->StoreUniformBufferData("a"_iid, GenericBaseArray()), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(program->StoreUniformBufferData("a"_iid, static_cast<Array<Generic>*>(nullptr)),
              IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(program->GetGlobalBufferData("a"_iid), testing::Not(IsOk()));
}

TEST_F(BufferSourcesTest, TheTypedOverloadTakesTheArrayOver) {
  GenericBaseArray values(MakeArray<Int32>({4, 5}));
  ASSERT_THAT(program->StoreUniformBufferData("a"_iid, GetDataType<Int32>(), std::move(values)), IsOk());
  EXPECT_EQ(ReadBuffer<Int32>("a"_iid), (std::vector<Int32>{4, 5}));
}

TEST_F(BufferSourcesTest, TheTypedOverloadNeverReadsBeyondTheArray) {
  // Elements of another size than the type says: refused, or the array's own elements.
  const auto result = program->StoreUniformBufferData("a"_iid, GetDataType<Vec4<Float32>>(),
                                                      GenericBaseArray(MakeArray<Byte>({1, 2, 3})));
  EXPECT_THAT(result, IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(program->StoreUniformBufferData("b"_iid, DataType(), GenericBaseArray(MakeArray<Int32>({1}))),
              IsErrorOfKind(kIllegalArgumentError));
}

using UpdateBufferTest = ProgramTest;

TEST_F(UpdateBufferTest, OverwritesTheElementsFromTheOffsetOn) {
  StoreBuffer<Int32>("a"_iid, {1, 2, 3, 4});
  ASSERT_THAT(program->UpdateUniformBufferData("a"_iid, 1, MakeArray<Int32>({20, 30})), IsOk());
  EXPECT_EQ(ReadBuffer<Int32>("a"_iid), (std::vector<Int32>{1, 20, 30, 4}));
}

TEST_F(UpdateBufferTest, MayReachTheEndButNotBeyond) {
  StoreBuffer<Int32>("a"_iid, {1, 2, 3});
  ASSERT_THAT(program->UpdateUniformBufferData("a"_iid, 1, MakeArray<Int32>({20, 30})), IsOk());
  EXPECT_THAT(program->UpdateUniformBufferData("a"_iid, 1, MakeArray<Int32>({5, 6, 7})),
              IsErrorWith(kIllegalArgumentError, kUpdateTooLarge));
  EXPECT_THAT(program->UpdateUniformBufferData("a"_iid, 3, MakeArray<Int32>({5})),
              IsErrorWith(kIllegalArgumentError, kUpdateTooLarge));
  EXPECT_EQ(ReadBuffer<Int32>("a"_iid), (std::vector<Int32>{1, 20, 30}));
}

TEST_F(UpdateBufferTest, RefusesOffsetsOutsideMemory) {
  StoreBuffer<Int32>("a"_iid, {1, 2, 3});
  for (const Int offset : {Int{-1}, std::numeric_limits<Int>::min(), std::numeric_limits<Int>::max()}) {
    EXPECT_THAT(program->UpdateUniformBufferData("a"_iid, offset, MakeArray<Int32>({5})),
                IsErrorWith(kIllegalArgumentError, kUpdateTooLarge));
  }
  EXPECT_EQ(ReadBuffer<Int32>("a"_iid), (std::vector<Int32>{1, 2, 3}));
}

TEST_F(UpdateBufferTest, ReportsTheDataBeforeTheBufferAndTheBufferBeforeItsSize) {
  EXPECT_THAT(program->UpdateUniformBufferData("unknown"_iid, 0, Int32(1)),
              IsErrorWith(kIllegalArgumentError, kNoSource));
  EXPECT_THAT(program->UpdateUniformBufferData("unknown"_iid, 0, TwoPieceArray::Create()),
              IsErrorWith(kIllegalArgumentError, kPieces));
  EXPECT_THAT(program->UpdateUniformBufferData("unknown"_iid, -1, BaseArray<Int32>()),
              IsErrorWith(kIllegalArgumentError, kUpdateNotFound));
  StoreBuffer<Int32>("a"_iid, {1});
  EXPECT_THAT(program->UpdateUniformBufferData("a"_iid, 9, BaseArray<Int32>()),
              IsErrorWith(kIllegalArgumentError, kEmptyNotAllowed));
}

TEST_F(UpdateBufferTest, WritesRawBytesOfAnotherTypeAtOffsetsOfThatType) {
  StoreBuffer<UInt32>("a"_iid, {0, 0, 0, 0});
  ASSERT_THAT(program->UpdateUniformBufferData("a"_iid, 2, MakeArray<Byte>({0x11, 0x22})), IsOk());
  EXPECT_EQ(ReadBuffer<UInt32>("a"_iid), (std::vector<UInt32>{0x22110000u, 0, 0, 0}));
  ASSERT_THAT(program->UpdateUniformBufferData("a"_iid, 1, MakeArray<Float32>({1.0f})), IsOk());
  EXPECT_EQ(ReadBuffer<UInt32>("a"_iid), (std::vector<UInt32>{0x22110000u, 0x3F800000u, 0, 0}));
}

TEST_F(UpdateBufferTest, CountsTheOffsetInElementsOfTheDataEvenWhenBytesWouldFit) {
  StoreBuffer<UInt32>("a"_iid, {0, 0});
  // Byte 5 exists, but element 5 does not.
  EXPECT_THAT(program->UpdateUniformBufferData("a"_iid, 5, MakeArray<Byte>({1})),
              IsErrorWith(kIllegalArgumentError, kUpdateTooLarge));
}

TEST_F(UpdateBufferTest, NeverWritesBeyondTheMemoryWithLargerElements) {
  StoreBuffer<Byte>("a"_iid, {1, 2, 3, 4});
  EXPECT_THAT(program->UpdateUniformBufferData("a"_iid, 0, MakeArray<Float64>({1})),
              IsErrorWith(kIllegalArgumentError, kUpdateTooLarge));
  EXPECT_THAT(program->UpdateUniformBufferData("a"_iid, 1, MakeArray<Float32>({1})),
              IsErrorWith(kIllegalArgumentError, kUpdateTooLarge));
  EXPECT_EQ(ReadBuffer<Byte>("a"_iid), (std::vector<Byte>{1, 2, 3, 4}));
  ASSERT_THAT(program->UpdateUniformBufferData("a"_iid, 0, MakeArray<Float32>({1})), IsOk());
  EXPECT_EQ(ReadBuffer<Byte>("a"_iid), (std::vector<Byte>{0, 0, 0x80, 0x3F}));
}

TEST_F(UpdateBufferTest, MayTakeItsDataFromTheSameBuffer) {
  StoreBuffer<Int32>("a"_iid, {1, 2, 3, 4});
  const auto view = program->GetGlobalBufferData("a"_iid);
  ASSERT_THAT(view, IsOk());
  const auto* array = view->GetIf<Array<Int32>>();
  ASSERT_TRUE(array);
  Int32* first = array->GetFirstBlock().GetFirst();
  ASSERT_THAT(program->UpdateUniformBufferData("a"_iid, 1, Block<Int32>(first, 3)), IsOk());
  EXPECT_EQ(ReadBuffer<Int32>("a"_iid), (std::vector<Int32>{1, 1, 2, 3}));
  ASSERT_THAT(program->UpdateUniformBufferData("a"_iid, 0, Block<Int32>(first + 1, 3)), IsOk());
  EXPECT_EQ(ReadBuffer<Int32>("a"_iid), (std::vector<Int32>{1, 2, 3, 3}));
}

}  // namespace
}  // namespace ostra::test

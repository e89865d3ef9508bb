// Buffers of the CPU program whose memory others see as well: values read before, kernels, updates from the buffer
// itself, and arrays of the client that are linked as buffers.
#include "tests/parallelprogram/array_sources.h"
#include "tests/parallelprogram/program_fixture.h"
#include "tests/support/fault_injection.h"

namespace ostra::test {

// A value that owns something, and that cannot be copied when it is negative.
struct Brittle {
  Brittle() = default;
  explicit Brittle(Int32 number) : value(number) {}
  Result<void> CopyFrom(const Brittle& other);
  Int32 value = 0;
  String text;
};

// A value that owns something and has no default.
struct WithoutDefault {
  explicit WithoutDefault(Int32 number) : value(number) {}
  Int32 value;
  String text;
};

}  // namespace ostra::test

OSTRA_DATATYPE(ostra::test::Brittle, "net.ostra.test.datatype.brittle", "Brittle");
OSTRA_DATATYPE(ostra::test::WithoutDefault, "net.ostra.test.datatype.withoutdefault", "WithoutDefault");
OSTRA_UNIT("cpu_buffer_sharing_test");

namespace ostra::test {

Result<void> Brittle::CopyFrom(const Brittle& other) {
  if (other.value < 0) return OSTRA_ILLEGAL_STATE("A negative value is not copied.");
  value = other.value;
  return OK;
}

namespace {

constexpr Int kHugeCount = Int{1} << 61;
constexpr const char* kUpdateTooLarge = "Data update does not fit into existing buffer";

class BufferSharingTest : public ProgramTest {
 protected:
  // Where the elements of a buffer are.
  template <class T>
  T* GetFirst(InternedId id) {
    const auto data = program->GetGlobalBufferData(id);
    const auto* array = data ? data->GetIf<Array<T>>() : nullptr;
    EXPECT_TRUE(array);
    return array ? array->GetFirstBlock().GetFirst() : nullptr;
  }
  // The numbers of a buffer of values that have one.
  template <class T>
  std::vector<Int32> ReadNumbers(InternedId id) {
    std::vector<Int32> numbers;
    for (const T& element : ReadBuffer<T>(id)) numbers.push_back(element.value);
    return numbers;
  }
};

TEST_F(BufferSharingTest, AFailedResizeLeavesWhatWasReadBeforeAndTheBufferOne) {
  StoreBuffer<Int32>("a"_iid, {1, 2});
  const auto view = program->GetGlobalBufferData("a"_iid);
  ASSERT_THAT(program->ResizeUniformBuffer("a"_iid, kHugeCount, false), IsErrorOfKind(kOutOfMemoryError));
  ASSERT_THAT(program->UpdateUniformBufferData("a"_iid, 0, MakeArray<Int32>({9})), IsOk());
  EXPECT_EQ(GetElements<Int32>(view), (std::vector<Int32>{9, 2}));
}

TEST_F(BufferSharingTest, WhicheverAllocationOfAResizeFailsTheMemoryStaysShared) {
  StoreBuffer<Int32>("a"_iid, {1, 2});
  const auto view = program->GetGlobalBufferData("a"_iid);
  const Int32* first = GetFirst<Int32>("a"_iid);
  Int failures = 0;
  for (Int n = 1;; ++n) {
    ASSERT_LT(n, 1000);
    AllocationFaults::FailNth(n);
    const auto result = program->ResizeUniformBuffer("a"_iid, 3, false);
    AllocationFaults::Disable();
    if (result) break;
    ++failures;
    ASSERT_THAT(result, IsErrorOfKind(kOutOfMemoryError));
    ASSERT_EQ(GetFirst<Int32>("a"_iid), first);
  }
  EXPECT_GE(failures, 2);
  EXPECT_EQ(ReadBuffer<Int32>("a"_iid), (std::vector<Int32>{1, 2, 0}));
  EXPECT_EQ(GetElements<Int32>(view), (std::vector<Int32>{1, 2}));
}

TEST_F(BufferSharingTest, AKernelMayRunAfterAFailedResize) {
  StoreBuffer<Float32>("values"_iid, {1, 2});
  AddKernel("k"_iid, kScale);
  ASSERT_THAT(program->SetBufferToActiveKernelSameId("values"_iid), IsOk());
  ASSERT_THAT(program->SetUniform("factor"_iid, Float32(3)), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  {
    const auto view = program->GetGlobalBufferData("values"_iid);
    ASSERT_THAT(program->ResizeUniformBuffer("values"_iid, kHugeCount, false), IsErrorOfKind(kOutOfMemoryError));
  }
  ASSERT_THAT(program->DispatchKernel(2, 1, 1, false), IsOk());
  EXPECT_EQ(ReadBuffer<Float32>("values"_iid), (std::vector<Float32>{3, 6}));
}

// Updates with elements of the buffer itself.
using UpdateFromItselfTest = BufferSharingTest;

TEST_F(UpdateFromItselfTest, ValuesThatOwnSomethingMoveUpAndDown) {
  StoreBuffer<String>("s"_iid, {"a"_s, "b"_s, "c"_s});
  String* first = GetFirst<String>("s"_iid);
  ASSERT_THAT(program->UpdateUniformBufferData("s"_iid, 1, Block<String>(first, 2)), IsOk());
  EXPECT_EQ(ReadBuffer<String>("s"_iid), (std::vector<String>{"a"_s, "a"_s, "b"_s}));
  StoreBuffer<String>("s"_iid, {"a"_s, "b"_s, "c"_s});
  first = GetFirst<String>("s"_iid);
  ASSERT_THAT(program->UpdateUniformBufferData("s"_iid, 0, Block<String>(first + 1, 2)), IsOk());
  EXPECT_EQ(ReadBuffer<String>("s"_iid), (std::vector<String>{"b"_s, "c"_s, "c"_s}));
}

TEST_F(UpdateFromItselfTest, ABackwardBlockTurnsTheElementsRound) {
  StoreBuffer<Int32>("a"_iid, {1, 2, 3});
  Int32* first = GetFirst<Int32>("a"_iid);
  ASSERT_THAT(program->UpdateUniformBufferData("a"_iid, 0, Block<Int32>(first + 2, 3, -4)), IsOk());
  EXPECT_EQ(ReadBuffer<Int32>("a"_iid), (std::vector<Int32>{3, 2, 1}));
  StoreBuffer<String>("s"_iid, {"a"_s, "b"_s, "c"_s});
  String* text = GetFirst<String>("s"_iid);
  const Int back = -static_cast<Int>(sizeof(String));
  ASSERT_THAT(program->UpdateUniformBufferData("s"_iid, 0, Block<String>(text + 2, 3, back)), IsOk());
  EXPECT_EQ(ReadBuffer<String>("s"_iid), (std::vector<String>{"c"_s, "b"_s, "a"_s}));
}

TEST_F(UpdateFromItselfTest, ABlockWithGapsIsReadBeforeItIsOverwritten) {
  StoreBuffer<Int32>("a"_iid, {1, 2, 3, 4, 5, 6});
  Int32* first = GetFirst<Int32>("a"_iid);
  ASSERT_THAT(program->UpdateUniformBufferData("a"_iid, 3, Block<Int32>(first, 3, 8)), IsOk());
  EXPECT_EQ(ReadBuffer<Int32>("a"_iid), (std::vector<Int32>{1, 2, 3, 1, 3, 5}));
  ASSERT_THAT(program->UpdateUniformBufferData("a"_iid, 0, Block<Int32>(first + 1, 3, 8)), IsOk());
  EXPECT_EQ(ReadBuffer<Int32>("a"_iid), (std::vector<Int32>{2, 1, 5, 1, 3, 5}));
  // One element again and again, which the first of the copies overwrites.
  ASSERT_THAT(program->UpdateUniformBufferData("a"_iid, 2, Block<Int32>(first + 2, 4, 0)), IsOk());
  EXPECT_EQ(ReadBuffer<Int32>("a"_iid), (std::vector<Int32>{2, 1, 5, 5, 5, 5}));
}

TEST_F(UpdateFromItselfTest, BytesMayBeTakenFromTheMiddleOfElements) {
  StoreBuffer<Byte>("a"_iid, {1, 2, 3, 4, 5, 6});
  Byte* first = GetFirst<Byte>("a"_iid);
  ASSERT_THAT(program->UpdateUniformBufferData("a"_iid, 1, Block<Byte>(first + 4, 5, -1)), IsOk());
  EXPECT_EQ(ReadBuffer<Byte>("a"_iid), (std::vector<Byte>{1, 5, 4, 3, 2, 1}));
}

TEST_F(UpdateFromItselfTest, TheWholeBufferIsAnUpdateOfItself) {
  StoreBuffer<String>("s"_iid, {"a"_s, "b"_s});
  const auto view = program->GetGlobalBufferData("s"_iid);
  ASSERT_THAT(view, IsOk());
  ASSERT_THAT(program->UpdateUniformBufferData("s"_iid, 0, *view), IsOk());
  EXPECT_EQ(ReadBuffer<String>("s"_iid), (std::vector<String>{"a"_s, "b"_s}));
}

TEST_F(UpdateFromItselfTest, ValuesNeedNoDefault) {
  BaseArray<WithoutDefault> values;
  for (const Int32 number : {1, 2, 3}) ASSERT_THAT(values.Append(WithoutDefault(number)), IsOk());
  ASSERT_THAT(program->StoreUniformBufferData("a"_iid, std::move(values)), IsOk());
  WithoutDefault other(7);
  ASSERT_THAT(program->UpdateUniformBufferData("a"_iid, 1, Block<WithoutDefault>(&other, 1)), IsOk());
  EXPECT_EQ(ReadNumbers<WithoutDefault>("a"_iid), (std::vector<Int32>{1, 7, 3}));
  auto* first = GetFirst<WithoutDefault>("a"_iid);
  ASSERT_THAT(program->UpdateUniformBufferData("a"_iid, 1, Block<WithoutDefault>(first, 2)), IsOk());
  EXPECT_EQ(ReadNumbers<WithoutDefault>("a"_iid), (std::vector<Int32>{1, 1, 7}));
}

TEST_F(BufferSharingTest, ValuesThatCannotBeCopiedLeaveTheBufferAsItWas) {
  const auto refused = IsErrorWith(kIllegalStateError, "A negative value is not copied.");
  StoreBuffer<Brittle>("a"_iid, {Brittle(1), Brittle(2), Brittle(3)});
  Brittle update[] = {Brittle(7), Brittle(-1)};
  EXPECT_THAT(program->UpdateUniformBufferData("a"_iid, 0, Block<Brittle>(update, 2)), refused);
  StoreBuffer<Brittle>("b"_iid, {Brittle(8), Brittle(-2)});
  EXPECT_THAT(program->CopyBufferData("b"_iid, "a"_iid, 2, 0, 1), refused);
  EXPECT_EQ(ReadNumbers<Brittle>("a"_iid), (std::vector<Int32>{1, 2, 3}));
  ASSERT_THAT(program->CopyBufferData("b"_iid, "a"_iid, 1, 0, 1), IsOk());
  EXPECT_EQ(ReadNumbers<Brittle>("a"_iid), (std::vector<Int32>{1, 8, 3}));
}

TEST_F(BufferSharingTest, ATypedStoreTakesTheBytesAsAnotherTypeOfTheSameSizeAndEmptiesTheSource) {
  GenericBaseArray values(MakeArray<Int32>({0x3F800000, 0x40000000}));
  ASSERT_THAT(program->StoreUniformBufferData("a"_iid, GetDataType<Float32>(), std::move(values)), IsOk());
  EXPECT_EQ(ReadBuffer<Float32>("a"_iid), (std::vector<Float32>{1, 2}));
  EXPECT_EQ(values.GetCount(), 0);
  EXPECT_EQ(values.GetFirst(), nullptr);
}

// Arrays that the client owns, linked by address.
class ClientArrayTest : public BufferSharingTest {
 protected:
  void Link(InternedId id, Array<Generic>& place) {
    auto link = Data::Create(&place);
    ASSERT_THAT(link, IsOk());
    ASSERT_THAT(program->SetGlobalBufferLink(id, *link), IsOk());
  }
};

TEST_F(ClientArrayTest, AnArrayIsABufferLikeAnyOther) {
  auto array = NewBaseArray(GenericBaseArray(MakeArray<Int32>({1, 2, 3})));
  ASSERT_THAT(array, IsOk());
  Array<Generic> place = *array;
  Link("mine"_iid, place);
  ASSERT_THAT(program->UpdateUniformBufferData("mine"_iid, 1, MakeArray<Int32>({20})), IsOk());
  EXPECT_EQ(array->operator[]<Int32>(1), 20);
  ASSERT_THAT(program->ResizeUniformBuffer("mine"_iid, 4, false), IsOk());
  EXPECT_EQ(place.GetCount(), 4);
  EXPECT_EQ(array->GetCount(), 3);
}

TEST_F(ClientArrayTest, APlaceWithoutAnArrayIsNoBufferForAnyMethod) {
  Array<Generic> place;
  Link("none"_iid, place);
  StoreBuffer<Int32>("a"_iid, {1, 2});
  const auto notFound = IsErrorWith(kIllegalArgumentError, "buffer identifier not found");
  const auto notUpdated = IsErrorWith(kIllegalArgumentError, "buffer for update could not be found");
  const auto noSource = IsErrorWith(kIllegalArgumentError, "source buffer could not be found");
  const auto noTarget = IsErrorWith(kIllegalArgumentError, "target buffer could not be found");
  EXPECT_THAT(program->GetGlobalBufferData("none"_iid), notFound);
  EXPECT_THAT(program->GetGlobalBufferData("none"_iid, 0, 0), notFound);
  EXPECT_THAT(program->UpdateUniformBufferData("none"_iid, 0, MakeArray<Int32>({77})), notUpdated);
  EXPECT_THAT(program->ResizeUniformBuffer("none"_iid, 3, false),
              IsErrorWith(kIllegalArgumentError, "buffer for resize could not be found"));
  EXPECT_THAT(program->CopyBufferData("none"_iid, "a"_iid, 0, 0, 0), noSource);
  EXPECT_THAT(program->CopyBufferData("a"_iid, "none"_iid, 0, 0, 0), noTarget);
  EXPECT_THAT(program->CopyBufferDataBytes("none"_iid, "none"_iid, 0, 0, 0), noSource);
  EXPECT_THAT(program->CopyBufferDataBytes("a"_iid, "none"_iid, 0, 0, 0), noTarget);
  AddKernel("k"_iid, kScale);
  EXPECT_THAT(program->DispatchIndirectKernel("none"_iid, 0, false), notUpdated);
  ASSERT_THAT(program->SetBufferToActiveKernel("none"_iid, "values"_iid), IsOk());
  EXPECT_THAT(program->GetKernelBufferData("values"_iid), notFound);
  EXPECT_THAT(program->UpdateUniforms(), IsErrorWith(kIllegalStateError, "stored data block has size 0"));
  EXPECT_FALSE(place.IsPopulated());
  // It is one as soon as there is an array.
  auto array = NewBaseArray(GenericBaseArray(MakeArray<Float32>({5})));
  ASSERT_THAT(array, IsOk());
  place = *array;
  EXPECT_EQ(ReadBuffer<Float32>("none"_iid), std::vector<Float32>{5});
  EXPECT_THAT(program->UpdateUniforms(), IsOk());
}

TEST_F(ClientArrayTest, OfAnArrayInPiecesTheFirstPieceIsRead) {
  Array<Generic> place = TwoPieceArray::Create();
  Link("pieces"_iid, place);
  const auto outside = IsErrorWith(kIllegalArgumentError, "Requested data range is out of bounds");
  EXPECT_EQ(GetElements<Int32>(program->GetGlobalBufferData("pieces"_iid, 0, 2)), (std::vector<Int32>{1, 2}));
  EXPECT_THAT(program->GetGlobalBufferData("pieces"_iid, 2, 1), outside);
  EXPECT_THAT(program->GetGlobalBufferData("pieces"_iid, 0, 3), outside);
  StoreBuffer<Int32>("target"_iid, {0, 0, 0});
  const auto sourceRange = IsErrorWith(kIllegalArgumentError, "count and offset out of range for source buffer");
  EXPECT_THAT(program->CopyBufferData("pieces"_iid, "target"_iid, 3, 0, 0), sourceRange);
  EXPECT_THAT(program->CopyBufferDataBytes("pieces"_iid, "target"_iid, 9, 0, 0), sourceRange);
  EXPECT_THAT(program->CopyBufferDataBytes("pieces"_iid, "target"_iid, 8, 0, 4), IsOk());
  EXPECT_EQ(ReadBuffer<Int32>("target"_iid), (std::vector<Int32>{0, 1, 2}));
  AddKernel("k"_iid, kTyped);
  ASSERT_THAT(program->SetBufferToActiveKernel("pieces"_iid, "pointer"_iid), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  ASSERT_THAT(program->DispatchKernel(1, 1, 1, false), IsOk());
  EXPECT_EQ(reinterpret_cast<const Block<Int32>*>(TypedValues::seen.pointer)->GetCount(), 2);
}

TEST_F(ClientArrayTest, OfAnArrayInPiecesOnlyTheFirstPieceIsWritten) {
  Array<Generic> place = TwoPieceArray::Create();
  Link("pieces"_iid, place);
  StoreBuffer<Int32>("source"_iid, {7, 8, 9});
  const auto tooLarge = IsErrorWith(kIllegalArgumentError, kUpdateTooLarge);
  const auto targetRange = IsErrorWith(kIllegalArgumentError, "count and offset out of range for target buffer");
  EXPECT_THAT(program->UpdateUniformBufferData("pieces"_iid, 2, MakeArray<Int32>({77})), tooLarge);
  EXPECT_THAT(program->UpdateUniformBufferData("pieces"_iid, 0, MakeArray<Int32>({7, 7, 7})), tooLarge);
  EXPECT_THAT(program->CopyBufferData("source"_iid, "pieces"_iid, 1, 0, 2), targetRange);
  EXPECT_THAT(program->CopyBufferDataBytes("source"_iid, "pieces"_iid, 1, 0, 8), targetRange);
  EXPECT_THAT(program->ResizeUniformBuffer("pieces"_iid, 2, false), IsErrorOfKind(kIllegalStateError));
  ASSERT_THAT(program->UpdateUniformBufferData("pieces"_iid, 1, MakeArray<Int32>({20})), IsOk());
  ASSERT_THAT(program->CopyBufferData("source"_iid, "pieces"_iid, 1, 2, 0), IsOk());
  const auto whole = program->GetGlobalBufferData("pieces"_iid);
  EXPECT_EQ(GetElements<Int32>(whole), (std::vector<Int32>{9, 20}));
  EXPECT_EQ(place.GetReference()->GetBlock(2).operator[]<Int32>(0), 3);
}

// Elements that lie apart, or in a piece each.
template <class T, Int kPieceCount, Int kStride>
class OddArray final : public ArrayInterface {
 public:
  DataType GetElementType() const override { return GetDataType<T>(); }
  Int GetCount() const override { return 2; }
  Block<Generic> GetBlock(Int index) const override {
    return Block<Generic>(reinterpret_cast<Generic*>(&_values[index * kStride]), index == 0 ? kPieceCount : 1,
                          kStride * static_cast<Int>(sizeof(T)));
  }
  Result<void> Resize(Int, ResizeFlags) override { return OSTRA_ILLEGAL_STATE("An odd array does not change."); }
  Result<StrongRef<ArrayInterface>> Clone() const override {
    return OSTRA_ILLEGAL_STATE("An odd array is not copied.");
  }
  static Array<Generic> Create() { return Array<Generic>(StrongRef<ArrayInterface>::Adopt(NewObj<OddArray>())); }

 private:
  mutable T _values[2 * kStride] = {};
};

TEST_F(ClientArrayTest, OfAnArrayWithGapsOneElementIsReached) {
  Array<Generic> place = OddArray<Int32, 2, 2>::Create();
  Link("gaps"_iid, place);
  EXPECT_THAT(program->UpdateUniformBufferData("gaps"_iid, 0, MakeArray<Int32>({7, 7})),
              IsErrorWith(kIllegalArgumentError, kUpdateTooLarge));
  ASSERT_THAT(program->UpdateUniformBufferData("gaps"_iid, 0, MakeArray<Int32>({7})), IsOk());
  EXPECT_THAT(program->GetGlobalBufferData("gaps"_iid, 1, 1),
              IsErrorWith(kIllegalArgumentError, "Requested data range is out of bounds"));
  EXPECT_EQ(GetElements<Int32>(program->GetGlobalBufferData("gaps"_iid, 0, 1)), std::vector<Int32>{7});
}

TEST_F(ClientArrayTest, AnIndirectDispatchReadsTheFirstPiece) {
  Array<Generic> place = OddArray<Vec4<Int32>, 1, 1>::Create();
  Link("counts"_iid, place);
  AddKernel("k"_iid, kCount);
  LinkCounter("total"_iid);
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  EXPECT_THAT(program->DispatchIndirectKernel("counts"_iid, 1, false),
              IsErrorWith(kIllegalArgumentError, "dispatch offset out of buffer range"));
  ASSERT_THAT(program->DispatchIndirectKernel("counts"_iid, 0, false), IsOk());
  EXPECT_EQ(GetCounter("total"_iid), 8u);
}

}  // namespace
}  // namespace ostra::test

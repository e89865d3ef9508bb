#include "ostra/core/data.h"

#include <cstring>
#include <memory>
#include <type_traits>

#include "tests/support/fault_injection.h"

namespace ostra {

struct CountedValue {
  std::shared_ptr<Int> token;
};
struct WideValue {
  Float64 numbers[5];
};

}  // namespace ostra

OSTRA_DATATYPE(ostra::CountedValue, "test.datatype.countedvalue", "countedvalue");
OSTRA_DATATYPE(ostra::WideValue, "test.datatype.widevalue", "widevalue");

namespace ostra {
namespace {

TEST(DataTest, AnEmptyDataHoldsNothing) {
  const Data data{};
  EXPECT_TRUE(data.IsEmpty());
  EXPECT_EQ(data.GetPointer(), nullptr);
  EXPECT_EQ(*data.ToText(), "");
  EXPECT_THAT(data.Get<Int32>(),
              IsErrorWith(kIllegalArgumentError, "A value of type \"int32\" was expected, but \"nothing\" was found."));
}

TEST(DataTest, SmallPlainValuesNeedNoMemory) {
  const FailingAllocation failure(1);
  const Data data = *Data::Create(Float32(2));
  EXPECT_EQ(*data.Get<Float32>(), 2.0F);
  EXPECT_EQ(data.GetType(), GetDataType<Float32>());
  EXPECT_FALSE(AllocationFaults::HasFired());
}

TEST(DataTest, GivesItsValueAsItsOwnTypeOnly) {
  const Data data = *Data::Create(Int32(7));
  EXPECT_EQ(*data.Get<Int32>(), 7);
  EXPECT_EQ(data.GetIf<Int64>(), nullptr);
  EXPECT_THAT(data.Get<Float32>(),
              IsErrorWith(kIllegalArgumentError, "A value of type \"float32\" was expected, but \"int32\" was found."));
}

TEST(DataTest, LargeValuesAreSharedByCopies) {
  const Data data = *Data::Create(WideValue{{1, 2, 3, 4, 5}});
  const Data copy = data;
  EXPECT_EQ(copy.GetPointer(), data.GetPointer());
  EXPECT_EQ(copy.Get<WideValue>()->numbers[4], 5);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(data.GetPointer()) % 32, 0u);
}

TEST(DataTest, ObjectsLiveAsLongAsTheLastCopy) {
  const auto token = std::make_shared<Int>(0);
  {
    Data data = *Data::Create(CountedValue{token});
    EXPECT_EQ(token.use_count(), 2);
    const Data copy = data;
    data = Data();
    EXPECT_EQ(token.use_count(), 2);
    EXPECT_EQ(copy.Get<CountedValue>()->token, token);
  }
  EXPECT_EQ(token.use_count(), 1);
}

TEST(DataTest, ValuesThatAreTheirBytesAreOverwrittenInPlace) {
  for (const bool isBoxed : {false, true}) {
    Data data = isBoxed ? *Data::Create(WideValue{{1, 2, 3}}) : *Data::Create(Float32(1));
    const Data other = isBoxed ? *Data::Create(WideValue{{4, 5, 6}}) : *Data::Create(Float32(4));
    const void* before = data.GetPointer();
    const Int allocations = AllocationFaults::GetCount();
    EXPECT_TRUE(data.TryOverwrite(other.GetType(), other.GetPointer()));
    EXPECT_TRUE(data.TryOverwrite(data.GetType(), data.GetPointer()));
    EXPECT_EQ(AllocationFaults::GetCount(), allocations);
    EXPECT_EQ(data.GetPointer(), before);
    EXPECT_EQ(std::memcmp(before, other.GetPointer(), static_cast<std::size_t>(other.GetType().GetSize())), 0);
  }
}

TEST(DataTest, WhatIsSharedOrOfAnotherTypeIsNotOverwritten) {
  Data data = *Data::Create(WideValue{{1, 2, 3}});
  const WideValue other{{4, 5, 6}};
  {
    const Data copy = data;
    EXPECT_FALSE(data.TryOverwrite(GetDataType<WideValue>(), &other));
    EXPECT_EQ(copy.GetIf<WideValue>()->numbers[0], 1);
  }
  const Float32 number = 4;
  EXPECT_FALSE(data.TryOverwrite(GetDataType<Float32>(), &number));
  EXPECT_FALSE(data.TryOverwrite(DataType(), nullptr));
  EXPECT_EQ(data.GetIf<WideValue>()->numbers[0], 1);
  EXPECT_FALSE(Data().TryOverwrite(GetDataType<Float32>(), &number));
  EXPECT_FALSE(Data().TryOverwrite(DataType(), nullptr));
  Data text = *Data::Create("one"_s);
  const String two = "two"_s;
  EXPECT_FALSE(text.TryOverwrite(GetDataType<String>(), &two));
  EXPECT_TRUE(data.TryOverwrite(GetDataType<WideValue>(), &other));  // the copy has gone
  EXPECT_EQ(data.GetIf<WideValue>()->numbers[0], 4);
}

TEST(DataTest, MovingEmptiesTheSource) {
  Data source = *Data::Create(*String::Create("a text"));
  const Data target = std::move(source);
  EXPECT_TRUE(source.IsEmpty());
  EXPECT_EQ(*target.Get<String>(), "a text");
  Data self = target;
  const Data& same = self;
  self = same;
  EXPECT_EQ(*self.Get<String>(), "a text");
}

TEST(DataTest, NamedValuesAreCopiedAndTemporariesMoved) {
  const auto token = std::make_shared<Int>(0);
  CountedValue value{token};
  const Data copied = *Data::Create(value);
  EXPECT_EQ(value.token, token);
  const Data moved = *Data::Create(std::move(value));
  EXPECT_EQ(value.token, nullptr);
  EXPECT_EQ(token.use_count(), 3);
}

TEST(DataTest, EveryArrayIsAnArrayOfGeneric) {
  const Data data = *Data::Create(*Array<Float32>::Create({1, 2, 3}));
  EXPECT_EQ((*data.Get<Array<Generic>>()).GetCount(), 3);
  EXPECT_EQ((*data.Get<Array<Generic>>()).operator[]<Float32>(2), 3.0F);
  EXPECT_THAT(data.Get<Array<Int32>>(), IsErrorOfKind(kIllegalArgumentError));
}

TEST(DataTest, IntegersConvertExactlyWhenTheyFit) {
  EXPECT_EQ(*Data::Create(Int64(255))->ConvertTo<UInt8>(), 255);
  EXPECT_EQ(*Data::Create(UInt8(200))->ConvertTo<Int64>(), 200);
  EXPECT_EQ(*Data::Create(Int16(-5))->ConvertTo<Int32>(), -5);
  EXPECT_EQ(*Data::Create(UINT64_MAX)->ConvertTo<UInt64>(), UINT64_MAX);
  EXPECT_THAT(Data::Create(Int64(256))->ConvertTo<UInt8>(), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(Data::Create(Int32(-1))->ConvertTo<UInt64>(), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(Data::Create(UINT64_MAX)->ConvertTo<Int64>(), IsErrorOfKind(kIllegalArgumentError));
}

// Every integer type against every other, at the edges of both.
template <class From, class To>
void ExpectExactConversion(From value) {
  const auto converted = Data::Create(From(value))->template ConvertTo<To>();
  ASSERT_EQ(converted.IsOk(), std::in_range<To>(value)) << +value;
  if (converted) {
    ASSERT_EQ(static_cast<From>(*converted), value);
  }
}

template <class From, class... To>
void ExpectExactConversions() {
  for (const From value : {std::numeric_limits<From>::min(), std::numeric_limits<From>::max(), From(0), From(1),
                           static_cast<From>(-1), static_cast<From>(127), static_cast<From>(128)})
    (ExpectExactConversion<From, To>(value), ...);
}

template <class... Types>
void ExpectExactConversionsAmong() {
  (ExpectExactConversions<Types, Types...>(), ...);
}

TEST(DataTest, EveryIntegerTypeConvertsToEveryOtherExactlyWhenTheValueFits) {
  ExpectExactConversionsAmong<Int8, UInt8, Int16, UInt16, Int32, UInt32, Int64, UInt64>();
}

TEST(DataTest, FloatsTruthValuesAndTextsDoNotConvertToIntegers) {
  EXPECT_THAT(Data::Create(Float32(2))->ConvertTo<Int32>(), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(Data::Create(true)->ConvertTo<Int32>(), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(Data::Create("2"_s)->ConvertTo<Int32>(), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(Data().ConvertTo<Int32>(), IsErrorOfKind(kIllegalArgumentError));
}

template <class T>
concept OfferedConversion = requires(const Data& data) {
  data.ConvertTo<T>();
};

TEST(DataTest, OnlyIntegerTypesAreConvertedTo) {
  static_assert(OfferedConversion<Int8> && OfferedConversion<UInt8> && OfferedConversion<Int>);
  static_assert(!OfferedConversion<Bool> && !OfferedConversion<Char> && !OfferedConversion<Float32>);
  EXPECT_THAT(Data::Create(Int32(7))->Get<Int>(), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_EQ(*Data::Create(Int32(7))->ConvertTo<Int>(), 7);
}

TEST(DataTest, ValuesHaveATextForm) {
  EXPECT_EQ(*Data::Create(Int32(-3))->ToText(), "-3");
  EXPECT_EQ(*Data::Create("text"_s)->ToText(), "text");
  EXPECT_EQ(*Data::Create(WideValue{})->ToText(), "widevalue");
}

TEST(DataTest, AValueThatCannotBeStoredIsLeftToTheCaller) {
  const auto token = std::make_shared<Int>(0);
  CountedValue value{token};
  GetDataType<CountedValue>();  // registered before memory runs out
  {
    const FailingAllocation failure(1);
    EXPECT_THAT(Data::Create(std::move(value)), IsErrorOfKind(kOutOfMemoryError));
  }
  EXPECT_EQ(value.token, token);
}

TEST(DataTest, TheErrorOfCopyingAnElementIsReportedAndNothingLeaks) {
  BaseArray<String> source = *BaseArray<String>::Create({"a"_s, "b"_s});
  const Int failures = ExpectEveryAllocationFailureIsReported([&source]() -> Result<void> {
    OSTRA_ASSIGN_OR_RETURN(const Data data, Data::Create(source));
    EXPECT_EQ(data.Get<BaseArray<String>>()->GetCount(), 2);
    return OK;
  });
  EXPECT_EQ(failures, 2);
}

TEST(ForwardingDataPtrTest, CopiesNamedValuesAndMovesTemporaries) {
  String text = *String::Create("a longer text");
  ForwardingDataPtr named(text);
  EXPECT_FALSE(named.IsMovable());
  EXPECT_EQ(*named.Take()->Get<String>(), "a longer text");
  EXPECT_EQ(text, "a longer text");
  EXPECT_TRUE(named.IsEmpty());
  ForwardingDataPtr temporary(std::move(text));
  EXPECT_TRUE(temporary.IsMovable());
  EXPECT_EQ(*temporary.Take()->Get<String>(), "a longer text");
  EXPECT_TRUE(text.IsEmpty());
}

TEST(ForwardingDataPtrTest, HandsOverAValueOnce) {
  Int32 number = 3;
  ForwardingDataPtr value(std::move(number));
  EXPECT_EQ(*value.Take()->Get<Int32>(), 3);
  EXPECT_TRUE(value.Take()->IsEmpty());
}

TEST(ForwardingDataPtrTest, SharesTheValueOfAData) {
  const Data data = *Data::Create(WideValue{{1, 2, 3, 4, 5}});
  ForwardingDataPtr forwarded(data);
  EXPECT_EQ(forwarded.GetType(), GetDataType<WideValue>());
  const FailingAllocation failure(1);
  EXPECT_EQ(forwarded.Take()->GetPointer(), data.GetPointer());
}

TEST(ForwardingDataPtrTest, AReleasedValueIsTheCallersToMove) {
  String text = *String::Create("handed over");
  ForwardingDataPtr forwarded(std::move(text));
  const String taken = std::move(*static_cast<String*>(forwarded.Release()));
  EXPECT_EQ(taken, "handed over");
  EXPECT_TRUE(forwarded.IsEmpty());
}

TEST(ForwardingDataPtrTest, AValueCanBeTakenAgainAfterMemoryWasMissing) {
  const WideValue value{{1, 2, 3, 4, 5}};
  ForwardingDataPtr forwarded(value);
  {
    const FailingAllocation failure(1);
    EXPECT_THAT(forwarded.Take(), IsErrorOfKind(kOutOfMemoryError));
  }
  EXPECT_EQ(forwarded.Take()->Get<WideValue>()->numbers[1], 2);
}

}  // namespace
}  // namespace ostra

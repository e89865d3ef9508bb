#include "ostra/core/data_type.h"

#include <string>
#include <thread>
#include <vector>

#include "ostra/core/array.h"
#include "ostra/core/data.h"
#include "ostra/math/data_types.h"
#include "tests/support/diagnostic_recorder.h"
#include "tests/support/fault_injection.h"

namespace ostra {
namespace {

using testing::ElementsAre;

struct Opaque {
  Int numbers[3];
};

DataTypeDescription DescribeOpaque(const Id& id) { return DescribeType<Opaque>(id, "opaque"_s); }

TEST(DataTypeTest, DescribesTheArithmeticTypes) {
  EXPECT_EQ(GetDataType<Float32>().GetId(), "net.ostra.datatype.float32"_id);
  EXPECT_EQ(GetDataType<Int>().GetName(), "int");
  EXPECT_EQ(GetDataType<UInt16>().GetSize(), 2);
  EXPECT_EQ(GetDataType<Float64>().GetAlignment(), 8);
  EXPECT_TRUE(GetDataType<Float32>().IsPlain());
  EXPECT_FALSE(GetDataType<String>().IsPlain());
  EXPECT_FALSE(DataType().IsPopulated());
  EXPECT_EQ(DataType().GetView(), "nothing");
}

template <class T>
std::string NameOf() {
  return std::string(GetDataType<T>().GetName().GetView()) + " " + std::string(GetDataType<T>().GetId().GetView());
}

TEST(DataTypeTest, TheCommonTypesHaveTheirNamesAndIds) {
  EXPECT_EQ(NameOf<Bool>(), "bool net.ostra.datatype.bool");
  EXPECT_EQ(NameOf<UInt8>(), "uchar net.ostra.datatype.uchar");
  EXPECT_EQ(NameOf<Char>(), "char net.ostra.datatype.char");
  EXPECT_EQ(NameOf<Int8>(), "int8 net.ostra.datatype.int8");
  EXPECT_EQ(NameOf<UInt16>(), "uint16 net.ostra.datatype.uint16");
  EXPECT_EQ(NameOf<Int16>(), "int16 net.ostra.datatype.int16");
  EXPECT_EQ(NameOf<UInt32>(), "uint32 net.ostra.datatype.uint32");
  EXPECT_EQ(NameOf<Int32>(), "int32 net.ostra.datatype.int32");
  EXPECT_EQ(NameOf<UInt64>(), "uint64 net.ostra.datatype.uint64");
  EXPECT_EQ(NameOf<Int>(), "int net.ostra.datatype.int");
  EXPECT_EQ(NameOf<Float32>(), "float32 net.ostra.datatype.float32");
  EXPECT_EQ(NameOf<HalfFloat>(), "float16 net.ostra.datatype.float16");
  EXPECT_EQ(NameOf<Float64>(), "float64 net.ostra.datatype.float64");
  EXPECT_EQ(NameOf<Generic>(), "generic net.ostra.datatype.generic");
}

TEST(DataTypeTest, ParametricTypesHaveIdsOfTheirTemplateAndTheirElements) {
  const auto getId = [](DataType type) { return std::string(type.GetId().GetView()); };
  EXPECT_EQ(getId(GetDataType<Int32*>()), "net.ostra.parametrictype.pointer<net.ostra.datatype.int32>");
  EXPECT_EQ(getId(GetDataType<Array<Int32>>()),
            "net.ostra.parametrictype.cow<net.ostra.parametrictype.array<net.ostra.datatype.int32>>");
  EXPECT_EQ(getId(GetDataType<AtomicUInt32>()), "net.ostra.parametrictype.atomic<net.ostra.datatype.uint32>");
  EXPECT_EQ(getId(GetDataType<Vec3<Int32>>()), "net.ostra.parametrictype.vec3<net.ostra.datatype.int32>");
  EXPECT_EQ(getId(GetDataType<SquareMatrix32>()),
            "net.ostra.parametrictype.sqmat3<net.ostra.parametrictype.vec3<net.ostra.datatype.float32>>");
  EXPECT_EQ(getId(GetDataType<SquareMatrix4d32>()),
            "net.ostra.parametrictype.sqmat4<net.ostra.parametrictype.vec4<net.ostra.datatype.float32>>");
  EXPECT_EQ(getId(GetDataType<AffineMatrix32>()),
            "net.ostra.parametrictype.mat4<net.ostra.parametrictype.vec3<net.ostra.datatype.float32>>");
  EXPECT_EQ(getId(GetDataType<Block<Int32>>()), "net.ostra.parametrictype.block<net.ostra.datatype.int32>");
  EXPECT_EQ(getId(GetDataType<BaseArray<Int32>>()), "net.ostra.parametrictype.basearray<net.ostra.datatype.int32>");
  // The templates themselves, as they are compared.
  EXPECT_EQ(kPointerParametricType, "net.ostra.parametrictype.pointer"_id);
  EXPECT_EQ(kCowParametricType, "net.ostra.parametrictype.cow"_id);
  EXPECT_EQ(kArrayParametricType, "net.ostra.parametrictype.array"_id);
  EXPECT_EQ(kAtomicParametricType, "net.ostra.parametrictype.atomic"_id);
  EXPECT_EQ(kVectorParametricType, "net.ostra.parametrictype.vec"_id);
  EXPECT_EQ(kSquareMatrixParametricType, "net.ostra.parametrictype.sqmat"_id);
  EXPECT_EQ(kMatrixParametricType, "net.ostra.parametrictype.mat"_id);
  EXPECT_EQ(kBlockParametricType, "net.ostra.parametrictype.block"_id);
  EXPECT_EQ(kBaseArrayParametricType, "net.ostra.parametrictype.basearray"_id);
}

TEST(DataTypeTest, MatricesAreMadeWithTheirColumns) {
  EXPECT_TRUE(GetDataType<SquareMatrix32>().IsMadeWith(kSquareMatrixParametricType));
  EXPECT_EQ(GetDataType<SquareMatrix32>().GetInnerType(), GetDataType<Vector32>());
  EXPECT_EQ(GetDataType<SquareMatrix32>().GetElementCount(), 3);
  EXPECT_TRUE(GetDataType<AffineMatrix32>().IsMadeWith(kMatrixParametricType));
  EXPECT_EQ(GetDataType<AffineMatrix32>().GetInnerType(), GetDataType<Vector32>());
  EXPECT_EQ(GetDataType<AffineMatrix32>().GetElementCount(), 4);
}

TEST(DataTypeTest, NoTypeIsMadeOfNoType) {
  EXPECT_THAT(DataType::MakeArray(DataType()), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(DataType::MakeBlock(DataType()), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(DataType::MakePointer(DataType()),
              IsErrorWith(kIllegalArgumentError, "A type cannot be made with \"nothing\"."));
}

TEST(DataTypeTest, OneTypeIsOneObjectHoweverItIsReached) {
  EXPECT_EQ(GetDataType<Float32>(), *DataType::Find("net.ostra.datatype.float32"_id));
  EXPECT_FALSE(GetDataType<Int32>() == GetDataType<UInt32>());
  EXPECT_FALSE(GetDataType<Char>() == GetDataType<Int8>());
}

TEST(DataTypeTest, ParametricTypesKnowWhatTheyAreMadeOf) {
  const DataType pointer = GetDataType<Float32*>();
  EXPECT_TRUE(pointer.IsPointer());
  EXPECT_EQ(pointer.GetInnerType(), GetDataType<Float32>());
  EXPECT_EQ(pointer.GetParametricType(), kPointerParametricType);
  EXPECT_EQ(pointer.GetId().GetView(), "net.ostra.parametrictype.pointer<net.ostra.datatype.float32>");
  EXPECT_EQ(GetDataType<const Float32*>(), pointer);
  EXPECT_TRUE(GetDataType<Block<Int32>>().IsMadeWith(kBlockParametricType));
  EXPECT_TRUE(GetDataType<BaseArray<Int32>>().IsMadeWith(kBaseArrayParametricType));
  EXPECT_TRUE(GetDataType<AtomicUInt32>().IsMadeWith(kAtomicParametricType));
  EXPECT_FALSE(GetDataType<Float32>().IsPointer());
  EXPECT_TRUE(GetDataType<Float32>().GetParametricType().IsEmpty());
}

TEST(DataTypeTest, AnArrayIsACopyOnWriteReferenceToAnArray) {
  const DataType reference = GetDataType<Array<Float32>>();
  EXPECT_TRUE(reference.IsMadeWith(kCowParametricType));
  EXPECT_TRUE(reference.GetInnerType().IsMadeWith(kArrayParametricType));
  EXPECT_EQ(reference.GetInnerType().GetInnerType(), GetDataType<Float32>());
}

TEST(DataTypeTest, TypesMadeAtRunTimeAreTheOnesOfTheProgram) {
  EXPECT_EQ(*DataType::MakePointer(GetDataType<Float32>()), GetDataType<Float32*>());
  EXPECT_EQ(*DataType::MakeBlock(GetDataType<Int32>()), GetDataType<Block<Int32>>());
  EXPECT_EQ(*DataType::MakeArray(GetDataType<Float64>()), GetDataType<Array<Float64>>());
  const DataType twice = *DataType::MakePointer(GetDataType<Float32*>());
  EXPECT_EQ(twice, GetDataType<Float32**>());
  EXPECT_EQ(twice.GetInnerType().GetInnerType(), GetDataType<Float32>());
}

TEST(DataTypeTest, PlainValuesStartAsZero) {
  UInt32 numbers[4] = {1, 2, 3, 4};
  GetDataType<UInt32>().Construct(numbers, 3);
  EXPECT_THAT(numbers, ElementsAre(0u, 0u, 0u, 4u));
}

TEST(DataTypeTest, CopiesWithStridesOnBothSides) {
  const Int32 source[] = {1, 0, 2, 0, 3, 0};
  Int32 target[] = {0, 9, 9, 0, 9, 9, 0};
  ASSERT_THAT(GetDataType<Int32>().Copy(target, 12, source, 8, 3), IsOk());
  EXPECT_THAT(target, ElementsAre(1, 9, 9, 2, 9, 9, 3));
}

TEST(DataTypeTest, ObjectsAreCopiedMovedAndDestroyedByTheirOwnOperations) {
  const DataType type = GetDataType<String>();
  String source[2] = {*String::Create("first text"), *String::Create("second text")};
  alignas(String) Byte memory[2 * sizeof(String)];
  type.Construct(memory, 2);
  auto* target = reinterpret_cast<String*>(memory);
  ASSERT_THAT(type.Copy(target, source, 2), IsOk());
  EXPECT_EQ(target[1], "second text");
  EXPECT_EQ(source[1], "second text");
  type.Move(target, source + 1);
  EXPECT_EQ(target[0], "second text");
  EXPECT_TRUE(source[1].IsEmpty());
  const Int live = AllocationFaults::GetLiveCount();
  type.Destruct(target, 2);
  EXPECT_LT(AllocationFaults::GetLiveCount(), live);
}

TEST(DataTypeTest, ATypeThatCannotBeCopiedSaysSo) {
  struct MoveOnly {
    MoveOnly() = default;
    MoveOnly(MoveOnly&&) = default;
    MoveOnly& operator=(MoveOnly&&) = default;
    ~MoveOnly() { number = 0; }
    Int number = 3;
  };
  const DataType type = *DataType::Register(DescribeType<MoveOnly>("test.moveonly"_id, "moveonly"_s));
  MoveOnly a, b;
  EXPECT_THAT(type.Copy(&a, &b), IsErrorWith(kNotImplementedError, "Values of type \"moveonly\" cannot be copied."));
  EXPECT_TRUE(DataType::Erase("test.moveonly"_id));
}

TEST(DataTypeTest, EqualityOrderHashAndTextWorkOnValues) {
  const DataType type = GetDataType<Int32>();
  const Int32 three = 3, four = 4, three2 = 3;
  EXPECT_TRUE(type.IsEqual(&three, &three2));
  EXPECT_FALSE(type.IsEqual(&three, &four));
  EXPECT_TRUE(type.Compare(&three, &four) < 0);
  EXPECT_EQ(type.GetHashCode(&three), type.GetHashCode(&three2));
  EXPECT_NE(type.GetHashCode(&three), type.GetHashCode(&four));
  EXPECT_EQ(*type.ToText(&four), "4");
  const Float32 notANumber = std::numeric_limits<Float32>::quiet_NaN();
  EXPECT_TRUE(GetDataType<Float32>().Compare(&notANumber, &notANumber) == std::partial_ordering::unordered);
}

TEST(DataTypeTest, EqualValuesHaveEqualHashesAlsoForBothZeros) {
  const Float32 positive = 0.0F, negative = -0.0F;
  const DataType type = GetDataType<Float32>();
  ASSERT_TRUE(type.IsEqual(&positive, &negative));
  EXPECT_EQ(type.GetHashCode(&positive), type.GetHashCode(&negative));
}

TEST(DataTypeTest, MissingOperationsStopInTheDebuggerAndAnswerNeutrally) {
  const DataType type = *DataType::Register(DescribeOpaque("test.missing"_id));
  const Opaque value{};
  const DiagnosticRecorder diagnostics;
  EXPECT_FALSE(type.IsEqual(&value, &value));
  EXPECT_TRUE(type.Compare(&value, &value) == std::partial_ordering::unordered);
  EXPECT_EQ(type.GetHashCode(&value), 0u);
  UniqueHashStream stream;
  type.GetUniqueHashCode(&value, stream);
  EXPECT_EQ(stream.GetValue(), UniqueHashStream().GetValue());
  EXPECT_EQ(*type.ToText(&value), "opaque");
  EXPECT_THAT(diagnostics.GetLines(),
              ElementsAre("Stop: IsEqual not defined.", "Stop: Compare not defined.", "Stop: GetHashCode not defined.",
                          "Stop: GetUniqueHashCode not defined."));
  EXPECT_TRUE(DataType::Erase("test.missing"_id));
}

TEST(DataTypeRegistryTest, AnIdIsRegisteredOnce) {
  const DataType type = *DataType::Register(DescribeOpaque("test.registered"_id));
  EXPECT_EQ(*DataType::Find("test.registered"_id), type);
  EXPECT_THAT(DataType::Register(DescribeOpaque("test.registered"_id)),
              IsErrorWith(kIllegalArgumentError, "The data type \"test.registered\" is already registered."));
  EXPECT_EQ(DataType::FindOrRegister(DescribeOpaque("test.registered"_id)), type);
  EXPECT_TRUE(DataType::Erase("test.registered"_id));
}

struct Wide {
  Int numbers[5];
};

TEST(DataTypeRegistryTest, AnotherTypeUnderATakenIdIsATypeOfItsOwnOutsideOfTheRegistry) {
  const DataType first = *DataType::Register(DescribeOpaque("test.rival"_id));
  const DataType second = DataType::FindOrRegister(DescribeType<Wide>("test.rival"_id, "opaque"_s));
  EXPECT_FALSE(second == first);
  EXPECT_EQ(second.GetSize(), 5 * static_cast<Int>(sizeof(Int)));
  EXPECT_EQ(first.GetSize(), 3 * static_cast<Int>(sizeof(Int)));
  EXPECT_EQ(*DataType::Find("test.rival"_id), first);
  EXPECT_EQ(DataType::FindOrRegister(DescribeType<Wide>("test.rival"_id, "opaque"_s)), second);
  EXPECT_TRUE(DataType::Erase("test.rival"_id));
  EXPECT_FALSE(DataType::Find("test.rival"_id));
  // Now that the ID is free it may have it.
  EXPECT_EQ(*DataType::Register(DescribeType<Wide>("test.rival"_id, "opaque"_s)), second);
  EXPECT_EQ(*DataType::Find("test.rival"_id), second);
  EXPECT_TRUE(DataType::Erase("test.rival"_id));
}

TEST(DataTypeRegistryTest, EveryPropertyTellsTypesApart) {
  const Id id = "test.properties"_id;
  const DataTypeDescription known = DescribeOpaque(id);
  const DataType type = *DataType::Register(known);
  DataTypeDescription other = known;
  other.size += 8;
  EXPECT_FALSE(DataType::FindOrRegister(other) == type) << "size";
  other = known;
  other.alignment *= 2;
  EXPECT_FALSE(DataType::FindOrRegister(other) == type) << "alignment";
  other = known;
  other.isPlain = false;
  EXPECT_FALSE(DataType::FindOrRegister(other) == type) << "plain";
  other = known;
  other.name = "another"_s;
  EXPECT_FALSE(DataType::FindOrRegister(other) == type) << "name";
  other = known;
  other.operations.copy = nullptr;
  EXPECT_FALSE(DataType::FindOrRegister(other) == type) << "operations";
  // What another shared object says of the same type: operations of its own that do the same.
  other = known;
  other.operations.destruct = [](void*, Int, Int) {};
  EXPECT_EQ(DataType::FindOrRegister(other), type);
  EXPECT_FALSE(type.GetOperations().destruct == other.operations.destruct);
  EXPECT_TRUE(DataType::Erase(id));
}

TEST(DataTypeRegistryTest, AnErasedTypeTakesTheTypesMadeWithItAlong) {
  const DataType type = *DataType::Register(DescribeOpaque("test.inner"_id));
  const DataType pointer = *DataType::MakePointer(type);
  const DataType array = *DataType::MakeArray(pointer);
  EXPECT_THAT(DataType::Find(pointer.GetId()), IsOk());
  EXPECT_THAT(DataType::Find(array.GetId()), IsOk());
  EXPECT_TRUE(DataType::Erase("test.inner"_id));
  EXPECT_FALSE(DataType::Find(pointer.GetId()));
  EXPECT_FALSE(DataType::Find(array.GetId()));
  EXPECT_FALSE(DataType::Find(array.GetInnerType().GetId()));
  EXPECT_THAT(DataType::Find(GetDataType<Int32*>().GetId()), IsOk());
  // They come back with it.
  EXPECT_EQ(*DataType::Register(DescribeOpaque("test.inner"_id)), type);
  EXPECT_EQ(*DataType::MakePointer(type), pointer);
  EXPECT_EQ(*DataType::Find(pointer.GetId()), pointer);
  EXPECT_TRUE(DataType::Erase("test.inner"_id));
}

TEST(DataTypeRegistryTest, PointersAndBlocksAreDescribedByTheHost) {
  const DataTypeDescription own = DescribeType<Opaque*>(Id(), String());
  EXPECT_FALSE(GetDataType<Int32*>().GetOperations().destruct == own.operations.destruct);
  EXPECT_EQ(GetDataType<Int32*>().GetOperations().destruct, GetDataType<Float32**>().GetOperations().destruct);
  EXPECT_EQ(GetDataType<Block<Int32>>().GetOperations().destruct,
            GetDataType<Block<const String>>().GetOperations().destruct);
}

TEST(DataTypeRegistryTest, AnErasedTypeIsNotFoundButServesItsValuesAndCanComeBack) {
  const DataType type = *DataType::Register(DescribeOpaque("test.erased"_id));
  EXPECT_TRUE(DataType::Erase("test.erased"_id));
  EXPECT_FALSE(DataType::Erase("test.erased"_id));
  EXPECT_THAT(DataType::Find("test.erased"_id),
              IsErrorWith(kIllegalArgumentError, "There is no data type \"test.erased\"."));
  EXPECT_EQ(type.GetName(), "opaque");
  EXPECT_EQ(*DataType::Register(DescribeOpaque("test.erased"_id)), type);
  EXPECT_TRUE(DataType::Erase("test.erased"_id));
}

TEST(DataTypeRegistryTest, TextsOfADescriptionAreCopied) {
  std::string id = "test.texts.are.copied", name = "name";
  DataTypeDescription description = DescribeOpaque(Id(String::FromStatic(id.data(), id.size())));
  description.name = String::FromStatic(name.data(), name.size());
  const DataType type = *DataType::Register(description);
  description = DataTypeDescription();
  id[0] = name[0] = 'X';
  EXPECT_EQ(type.GetId().GetView(), "test.texts.are.copied");
  EXPECT_EQ(type.GetName(), "name");
  EXPECT_TRUE(DataType::Erase("test.texts.are.copied"_id));
}

TEST(DataTypeRegistryTest, WithoutMemoryNothingIsRegistered) {
  // What was registered before may come back without new memory, so each attempt takes an ID of its own.
  for (Int n = 1;; ++n) {
    const Id id = *Id::Create("test.without.memory." + std::to_string(n));
    const Int live = AllocationFaults::GetLiveCount();
    const FailingAllocation failure(n);
    const auto type = DataType::Register(DescribeOpaque(id));
    const Bool fired = AllocationFaults::HasFired();
    AllocationFaults::Disable();
    if (!fired) {
      EXPECT_THAT(type, IsOk());
      EXPECT_GT(n, 2);
      EXPECT_TRUE(DataType::Erase(id));
      break;
    }
    ASSERT_THAT(type, IsErrorOfKind(kOutOfMemoryError));
    EXPECT_EQ(AllocationFaults::GetLiveCount(), live);
    EXPECT_THAT(DataType::Find(id), IsErrorOfKind(kIllegalArgumentError));
  }
}

TEST(DataTypeRegistryTest, ThreadsThatMakeTheSameTypeGetTheSameType) {
  std::vector<DataType> types(8);
  std::vector<std::thread> threads;
  for (DataType& type : types) {
    threads.emplace_back([&type] {
      type = GetDataType<Float32>();
      for (int depth = 0; depth < 12; ++depth) type = *DataType::MakePointer(type);
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (const DataType& type : types) EXPECT_EQ(type, types[0]);
}

TEST(UniqueHashStreamTest, TheOrderOfFeedingDecides) {
  UniqueHashStream first, second, third;
  first.Write(UInt64(1));
  first.Write(UInt64(2));
  second.Write(UInt64(2));
  second.Write(UInt64(1));
  third.Write(UInt64(1));
  third.Write(UInt64(2));
  EXPECT_FALSE(first.GetValue() == second.GetValue());
  EXPECT_EQ(first.GetValue(), third.GetValue());
}

TEST(UniqueHashStreamTest, TheWayBytesAreCutIntoPiecesCounts) {
  UniqueHashStream whole, pieces, empty;
  whole.Write("abcd", 4);
  pieces.Write("ab", 2);
  pieces.Write("cd", 2);
  EXPECT_FALSE(whole.GetValue() == pieces.GetValue());
  EXPECT_FALSE(whole.GetValue() == empty.GetValue());
}

TEST(UniqueHashStreamTest, NoTypeCountsAsZero) {
  UniqueHashStream nothing, zero;
  nothing.Write(DataType());
  zero.Write(UInt64{0});
  EXPECT_EQ(nothing.GetValue(), zero.GetValue());
}

TEST(UniqueHashStreamTest, TakesTypesAndValues) {
  UniqueHashStream floats, integers;
  floats.Write(GetDataType<Float32>());
  integers.Write(GetDataType<Int32>());
  EXPECT_FALSE(floats.GetValue() == integers.GetValue());
  const Int32 number = 5;
  GetDataType<Int32>().GetUniqueHashCode(&number, integers);
  UniqueHashStream same;
  same.Write(GetDataType<Int32>());
  GetDataType<Int32>().GetUniqueHashCode(&number, same);
  EXPECT_EQ(integers.GetValue(), same.GetValue());
}

}  // namespace
}  // namespace ostra

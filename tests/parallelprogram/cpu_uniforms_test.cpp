// Uniforms and atomic counters of the CPU program, and how UpdateUniforms hands everything to the kernel.
#include "tests/parallelprogram/program_fixture.h"

namespace ostra::test {
namespace {

class UniformsTest : public KernelFormTest {
 protected:
  // What the active kTyped kernel holds after an update.
  TypedValues Look() {
    EXPECT_THAT(program->UpdateUniforms(), IsOk());
    return LookWithoutUpdate();
  }
  TypedValues LookWithoutUpdate() {
    TypedValues::seen = TypedValues();
    EXPECT_THAT(program->DispatchKernel(1, 1, 1, false), IsOk());
    return TypedValues::seen;
  }
};

TEST_P(UniformsTest, ValuesOfEveryTypeReachTheKernel) {
  AddKernel("k"_iid, kTyped);
  SquareMatrix4d32 matrix{};
  matrix.v1.z = 0.25f;
  ASSERT_THAT(program->SetUniform("boolean"_iid, true), IsOk());
  ASSERT_THAT(program->SetUniform("int32"_iid, Int32(-7)), IsOk());
  ASSERT_THAT(program->SetUniform("uint32"_iid, UInt32(0xFFFFFFFFu)), IsOk());
  ASSERT_THAT(program->SetUniform("int64"_iid, Int64(-5000000000)), IsOk());
  ASSERT_THAT(program->SetUniform("float32"_iid, Float32(1.5)), IsOk());
  ASSERT_THAT(program->SetUniform("float64"_iid, Float64(2.25)), IsOk());
  ASSERT_THAT(program->SetUniform("half"_iid, HalfFloat(0.5f)), IsOk());
  ASSERT_THAT(program->SetUniform("vec2"_iid, Vec2<Float32>(1, 2)), IsOk());
  ASSERT_THAT(program->SetUniform("vec3"_iid, Vec3<Float32>(3, 4, 5)), IsOk());
  ASSERT_THAT(program->SetUniform("vec4"_iid, Vec4<Int32>(6, 7, 8, 9)), IsOk());
  ASSERT_THAT(program->SetUniform("matrix"_iid, matrix), IsOk());
  ASSERT_THAT(program->SetUniform("text"_iid, "a text"_s), IsOk());
  ASSERT_THAT(program->SetUniform("name"_iid, "a name"_iid), IsOk());
  const TypedValues seen = Look();
  EXPECT_TRUE(seen.boolean);
  EXPECT_EQ(seen.int32, -7);
  EXPECT_EQ(seen.uint32, 0xFFFFFFFFu);
  EXPECT_EQ(seen.int64, -5000000000);
  EXPECT_EQ(seen.float32, 1.5f);
  EXPECT_EQ(seen.float64, 2.25);
  EXPECT_EQ(static_cast<Float32>(seen.half), 0.5f);
  EXPECT_EQ(seen.vec2, Vec2<Float32>(1, 2));
  EXPECT_EQ(seen.vec3, Vec3<Float32>(3, 4, 5));
  EXPECT_EQ(seen.vec4, Vec4<Int32>(6, 7, 8, 9));
  EXPECT_EQ(seen.matrix, matrix);
  EXPECT_EQ(seen.text, "a text");
  EXPECT_EQ(seen.name, "a name"_iid);
}

TEST_P(UniformsTest, NothingReachesTheKernelBeforeAnUpdate) {
  AddKernel("k"_iid, kTyped);
  ASSERT_THAT(program->SetUniform("int32"_iid, Int32(1)), IsOk());
  EXPECT_EQ(LookWithoutUpdate().int32, 0);
  EXPECT_EQ(Look().int32, 1);
  ASSERT_THAT(program->SetUniform("int32"_iid, Int32(2)), IsOk());
  EXPECT_EQ(LookWithoutUpdate().int32, 1);
  EXPECT_EQ(Look().int32, 2);
}

TEST_P(UniformsTest, AUniformMayChangeItsType) {
  AddKernel("k"_iid, kTyped);
  ASSERT_THAT(program->SetUniform("int32"_iid, "a text"_s), IsOk());
  ASSERT_THAT(program->SetUniform("int32"_iid, Int32(2)), IsOk());
  EXPECT_EQ(Look().int32, 2);
}

TEST_P(UniformsTest, AUniformIsTakenOverOrCopied) {
  AddKernel("k"_iid, kTyped);
  auto text = String::Create("a text that is kept");
  ASSERT_THAT(text, IsOk());
  ASSERT_THAT(program->SetUniform("text"_iid, *text), IsOk());
  EXPECT_EQ(*text, "a text that is kept");
  EXPECT_EQ(Look().text, "a text that is kept");
  const auto data = Data::Create(Int32(8));
  ASSERT_THAT(data, IsOk());
  ASSERT_THAT(program->SetUniform("int32"_iid, *data), IsOk());
  EXPECT_EQ(Look().int32, 8);
}

TEST_P(UniformsTest, NamesThatTheKernelDoesNotKnowAreIgnored) {
  AddKernel("k"_iid, kTyped);
  StoreBuffer<Int32>("nobody"_iid, {1});
  ASSERT_THAT(program->SetUniform("unknown"_iid, "a text"_s), IsOk());
  ASSERT_THAT(program->SetUniform("Int32"_iid, Int32(9)), IsOk());
  ASSERT_THAT(program->SetUniform("int3"_iid, Int32(9)), IsOk());
  ASSERT_THAT(program->SetUniform("int322"_iid, Int32(9)), IsOk());
  ASSERT_THAT(program->SetBufferToActiveKernelSameId("nobody"_iid), IsOk());
  LinkCounter("none"_iid);
  EXPECT_EQ(Look().int32, 0);
}

TEST_P(UniformsTest, APointerParameterReceivesTheSameAddressOnEveryUpdate) {
  AddKernel("k"_iid, kTyped);
  ASSERT_THAT(program->SetUniform("pointer"_iid, Int32(5)), IsOk());
  LinkCounter("counter"_iid);
  const TypedValues first = Look();
  ASSERT_TRUE(first.pointer && first.counter);
  EXPECT_EQ(*first.pointer, 5);
  ASSERT_THAT(program->SetUniform("int32"_iid, Int32(1)), IsOk());
  const TypedValues second = Look();
  EXPECT_EQ(second.pointer, first.pointer);
  EXPECT_EQ(second.counter, first.counter);
}

// A parameter of a pointer type that is fed by a buffer holds the address of the program's block.
TEST_P(UniformsTest, AKernelMayKeepTheAddressOfABlockUntilTheNextUpdate) {
  AddKernel("k"_iid, kTyped);
  StoreBuffer<Int32>("first"_iid, {1});
  StoreBuffer<Int32>("pointer"_iid, {7, 8, 9});
  StoreBuffer<Int32>("counter"_iid, {4, 5});
  StoreBuffer<Int32>("last"_iid, {6});
  for (const InternedId name : {"first"_iid, "pointer"_iid, "counter"_iid, "last"_iid})
    ASSERT_THAT(program->SetBufferToActiveKernelSameId(name), IsOk());
  for (int round = 0; round < 2; ++round) {
    const TypedValues seen = Look();
    // Other buffers, links and dispatches do not move the blocks.
    for (Int32 i = 0; i < 100; ++i) {
      const auto name = InternedId::Create("more@", i);
      ASSERT_THAT(name, IsOk());
      StoreBuffer<Int32>(*name, {i});
      ASSERT_THAT(program->SetBufferToActiveKernelSameId(*name), IsOk());
    }
    EXPECT_EQ(LookWithoutUpdate().pointer, seen.pointer);
    const auto& block = *reinterpret_cast<const Block<Int32>*>(seen.pointer);
    ASSERT_EQ(block.GetCount(), 3);
    EXPECT_EQ(block.GetStride(), 4);
    EXPECT_EQ(block[2], 9);
    const auto& other = *reinterpret_cast<const Block<Int32>*>(seen.counter);
    ASSERT_EQ(other.GetCount(), 2);
    EXPECT_EQ(other[1], 5);
  }
}

TEST_P(UniformsTest, KernelErrorsEndTheUpdate) {
  AddKernel("k"_iid, kFailingSet);
  StoreBuffer<Float32>("values"_iid, {1});
  ASSERT_THAT(program->SetBufferToActiveKernelSameId("values"_iid), IsOk());
  LinkCounter("total"_iid);
  EXPECT_THAT(program->UpdateUniforms(), IsErrorWith(kIllegalStateError, "A stubborn value is not copied."));
  // Counters come after buffers: the kernel does not have its counter.
  ASSERT_THAT(program->DispatchKernel(5, 1, 1, false), IsOk());
  EXPECT_EQ(GetCounter("total"_iid), 0u);
}

TEST_P(UniformsTest, UniformsAreSetBeforeABufferFails) {
  AddKernel("k"_iid, kTyped);
  ASSERT_THAT(program->CreateUniformBuffer("empty"_iid, GetDataType<Float32>(), 0), IsOk());
  ASSERT_THAT(program->SetBufferToActiveKernelSameId("empty"_iid), IsOk());
  ASSERT_THAT(program->SetUniform("int32"_iid, Int32(3)), IsOk());
  LinkCounter("counter"_iid);
  EXPECT_THAT(program->UpdateUniforms(), IsErrorWith(kIllegalStateError, "stored data block has size 0"));
  const TypedValues seen = LookWithoutUpdate();
  EXPECT_EQ(seen.int32, 3);
  EXPECT_EQ(seen.counter, nullptr);
}

TEST_P(UniformsTest, AnEmptyBufferThatIsNotLinkedDisturbsNobody) {
  AddKernel("k"_iid, kTyped);
  ASSERT_THAT(program->CreateUniformBuffer("empty"_iid, GetDataType<Float32>(), 0), IsOk());
  EXPECT_THAT(program->UpdateUniforms(), IsOk());
}

TEST_P(UniformsTest, SeveralBuffersReachTheirParameters) {
  AddKernel("k"_iid, kScale);
  ASSERT_THAT(program->SetUniform("factor"_iid, Float32(2)), IsOk());
  StoreBuffer<Float32>("first"_iid, {1});
  StoreBuffer<Float32>("values"_iid, {2, 3});
  StoreBuffer<Float32>("last"_iid, {4, 5, 6});
  for (const InternedId name : {"first"_iid, "values"_iid, "last"_iid}) {
    ASSERT_THAT(program->SetBufferToActiveKernelSameId(name), IsOk());
  }
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  ASSERT_THAT(program->DispatchKernel(5, 1, 1, false), IsOk());
  EXPECT_EQ(ReadBuffer<Float32>("first"_iid), (std::vector<Float32>{1}));
  EXPECT_EQ(ReadBuffer<Float32>("values"_iid), (std::vector<Float32>{4, 6}));
  EXPECT_EQ(ReadBuffer<Float32>("last"_iid), (std::vector<Float32>{4, 5, 6}));
}

TEST_P(UniformsTest, AnUpdateAfterAResizeHandsOverTheNewMemory) {
  AddKernel("k"_iid, kScale);
  ASSERT_THAT(program->SetUniform("factor"_iid, Float32(2)), IsOk());
  StoreBuffer<Float32>("values"_iid, {1, 2});
  ASSERT_THAT(program->SetBufferToActiveKernelSameId("values"_iid), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  const auto view = program->GetGlobalBufferData("values"_iid);
  ASSERT_THAT(program->ResizeUniformBuffer("values"_iid, 5000, false), IsOk());
  ASSERT_THAT(program->UpdateUniformBufferData("values"_iid, 4999, MakeArray<Float32>({7})), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  ASSERT_THAT(program->DispatchKernel(5000, 1, 1, false), IsOk());
  const auto values = ReadBuffer<Float32>("values"_iid);
  ASSERT_EQ(values.size(), 5000u);
  EXPECT_EQ(values[1], 4);
  EXPECT_EQ(values[4999], 14);
  EXPECT_EQ(GetElements<Float32>(view), (std::vector<Float32>{1, 2}));
}

OSTRA_TEST_BOTH_FORMS(UniformsTest);

class CountersTest : public KernelFormTest {
 protected:
  void Count(UInt32 invocations) {
    ASSERT_THAT(program->UpdateUniforms(), IsOk());
    ASSERT_THAT(program->DispatchKernel(invocations, 1, 1, false), IsOk());
  }
};

TEST_P(CountersTest, StartAtZeroWhateverTheyAreGiven) {
  ASSERT_THAT(program->AddAtomicCounter("a"_iid, Int32(77)), IsOk());
  ASSERT_THAT(program->AddAtomicCounter("b"_iid, "a text"_s), IsOk());
  ASSERT_THAT(program->AddAtomicCounter("c"_iid, ForwardingDataPtr()), IsOk());
  for (const InternedId name : {"a"_iid, "b"_iid, "c"_iid}) EXPECT_EQ(GetCounter(name), 0u);
}

TEST_P(CountersTest, AreSetAndRead) {
  ASSERT_THAT(program->AddAtomicCounter("a"_iid, Int32(0)), IsOk());
  for (const UInt32 value : {1u, 0u, 0xFFFFFFFFu}) {
    ASSERT_THAT(program->SetAtomicCounter("a"_iid, value), IsOk());
    EXPECT_EQ(GetCounter("a"_iid), value);
  }
}

TEST_P(CountersTest, UnknownOnesAreReported) {
  EXPECT_THAT(program->SetAtomicCounter("unknown"_iid, 1),
              IsErrorWith(kIllegalArgumentError, "atomic identifier not found"));
  EXPECT_THAT(program->GetAtomicCounter("unknown"_iid),
              IsErrorWith(kIllegalArgumentError, "atomic identifier not found"));
}

TEST_P(CountersTest, LinkingAnUnknownOneGivesTheDictionarysErrorEvenWithoutAKernel) {
  EXPECT_THAT(program->SetAtomicCounterToActiveKernel("unknown"_iid),
              IsErrorContaining(kIllegalArgumentError, "unknown"));
  ASSERT_THAT(program->AddAtomicCounter("known"_iid, Int32(0)), IsOk());
  EXPECT_THAT(program->SetAtomicCounterToActiveKernel("known"_iid), IsErrorWith(kIllegalStateError, kNoActiveKernel));
  AddKernel("k"_iid, kCount);
  EXPECT_THAT(program->SetAtomicCounterToActiveKernel("unknown"_iid),
              IsErrorContaining(kIllegalArgumentError, "unknown"));
}

TEST_P(CountersTest, AReplacedOneKeepsCountingForTheKernelThatIsLinkedToIt) {
  AddKernel("k"_iid, kCount);
  LinkCounter("total"_iid);
  Count(5);
  EXPECT_EQ(GetCounter("total"_iid), 5u);
  ASSERT_THAT(program->AddAtomicCounter("total"_iid, Int32(0)), IsOk());
  EXPECT_EQ(GetCounter("total"_iid), 0u);
  Count(3);
  EXPECT_EQ(GetCounter("total"_iid), 0u);
  ASSERT_THAT(program->SetAtomicCounterToActiveKernel("total"_iid), IsOk());
  Count(4);
  EXPECT_EQ(GetCounter("total"_iid), 4u);
}

TEST_P(CountersTest, WrapAt32Bits) {
  AddKernel("k"_iid, kCount);
  LinkCounter("total"_iid);
  ASSERT_THAT(program->SetAtomicCounter("total"_iid, 0xFFFFFFFEu), IsOk());
  Count(5);
  EXPECT_EQ(GetCounter("total"_iid), 3u);
}

TEST_P(CountersTest, AreSharedBetweenKernels) {
  AddKernel("one"_iid, kCount);
  LinkCounter("total"_iid);
  Count(5);
  AddKernel("two"_iid, kCount);
  ASSERT_THAT(program->SetAtomicCounterToActiveKernel("total"_iid), IsOk());
  Count(6);
  EXPECT_EQ(GetCounter("total"_iid), 11u);
}

OSTRA_TEST_BOTH_FORMS(CountersTest);

}  // namespace
}  // namespace ostra::test

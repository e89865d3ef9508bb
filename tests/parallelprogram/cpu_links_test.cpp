// Links of the CPU program: names for buffers, program-wide and per kernel.
#include "tests/parallelprogram/program_fixture.h"

namespace ostra::test {
namespace {

using LinksTest = ProgramTest;

// A value that is no buffer link.
Data MakeWrongLink() { return std::move(Data::Create(Int32(3))).GetValue(); }

TEST_F(LinksTest, AGlobalLinkGivesABufferASecondName) {
  StoreBuffer<Int32>("a"_iid, {1, 2, 3});
  const auto link = program->GetGlobalBufferLink("a"_iid);
  ASSERT_THAT(link, IsOk());
  EXPECT_TRUE(link->GetType().IsPointer());
  EXPECT_EQ(link->GetType(), GetDataType<Array<Generic>*>());
  ASSERT_THAT(program->SetGlobalBufferLink("b"_iid, *link), IsOk());
  ASSERT_THAT(program->UpdateUniformBufferData("b"_iid, 1, MakeArray<Int32>({20})), IsOk());
  EXPECT_EQ(ReadBuffer<Int32>("a"_iid), (std::vector<Int32>{1, 20, 3}));
}

TEST_F(LinksTest, ResizingUnderOneNameResizesUnderTheOther) {
  StoreBuffer<Int32>("a"_iid, {1, 2, 3});
  const auto link = program->GetGlobalBufferLink("a"_iid);
  ASSERT_THAT(link, IsOk());
  ASSERT_THAT(program->SetGlobalBufferLink("b"_iid, *link), IsOk());
  ASSERT_THAT(program->ResizeUniformBuffer("b"_iid, 4, false), IsOk());
  EXPECT_EQ(ReadBuffer<Int32>("a"_iid), (std::vector<Int32>{1, 2, 3, 0}));
}

TEST_F(LinksTest, StoringUnderOneNameLeavesTheOtherAlone) {
  StoreBuffer<Int32>("a"_iid, {1});
  const auto link = program->GetGlobalBufferLink("a"_iid);
  ASSERT_THAT(link, IsOk());
  ASSERT_THAT(program->SetGlobalBufferLink("b"_iid, *link), IsOk());
  StoreBuffer<Int32>("b"_iid, {9, 9});
  EXPECT_EQ(ReadBuffer<Int32>("a"_iid), std::vector<Int32>{1});
  EXPECT_EQ(ReadBuffer<Int32>("b"_iid), (std::vector<Int32>{9, 9}));
}

TEST_F(LinksTest, AGlobalLinkReplacesTheValueOfItsName) {
  StoreBuffer<Int32>("a"_iid, {1});
  StoreBuffer<Int32>("b"_iid, {2});
  const auto link = program->GetGlobalBufferLink("a"_iid);
  ASSERT_THAT(link, IsOk());
  ASSERT_THAT(program->SetGlobalBufferLink("b"_iid, *link), IsOk());
  EXPECT_EQ(ReadBuffer<Int32>("b"_iid), std::vector<Int32>{1});
}

TEST_F(LinksTest, GlobalLinksTakeNothingButBufferPointers) {
  StoreBuffer<Int32>("a"_iid, {1});
  EXPECT_THAT(program->SetGlobalBufferLink("a"_iid, MakeWrongLink()), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(program->SetGlobalBufferLink("a"_iid, Data()), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(program->SetGlobalBufferLink("b"_iid, MakeWrongLink()), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_EQ(ReadBuffer<Int32>("a"_iid), std::vector<Int32>{1});
  EXPECT_THAT(program->GetGlobalBufferLink("b"_iid), IsErrorContaining(kIllegalArgumentError, "b"));
}

TEST_F(LinksTest, ANullPointerIsNoBufferForAnyMethod) {
  const auto null = Data::Create(static_cast<Array<Generic>*>(nullptr));
  ASSERT_THAT(null, IsOk());
  if (!program->SetGlobalBufferLink("null"_iid, *null)) return;  // refusing it is just as good
  StoreBuffer<Int32>("a"_iid, {1});
  EXPECT_THAT(program->ResizeUniformBuffer("null"_iid, 1, false),
              IsErrorWith(kIllegalArgumentError, "buffer for resize could not be found"));
  EXPECT_THAT(program->UpdateUniformBufferData("null"_iid, 0, MakeArray<Int32>({1})),
              IsErrorWith(kIllegalArgumentError, "buffer for update could not be found"));
  EXPECT_THAT(program->GetGlobalBufferData("null"_iid),
              IsErrorWith(kIllegalArgumentError, "buffer identifier not found"));
  EXPECT_THAT(program->CopyBufferData("null"_iid, "a"_iid, 0, 0, 0),
              IsErrorWith(kIllegalArgumentError, "source buffer could not be found"));
  EXPECT_THAT(program->CopyBufferData("a"_iid, "null"_iid, 0, 0, 0),
              IsErrorWith(kIllegalArgumentError, "target buffer could not be found"));
  AddKernel("k"_iid, kScale);
  EXPECT_THAT(program->DispatchIndirectKernel("null"_iid, 0, false),
              IsErrorWith(kIllegalArgumentError, "buffer for update could not be found"));
  if (program->SetKernelBufferLink("values"_iid, *null)) {
    EXPECT_THAT(program->UpdateUniforms(), testing::Not(IsOk()));
    EXPECT_THAT(program->GetKernelBufferData("values"_iid),
                IsErrorWith(kIllegalArgumentError, "buffer identifier not found"));
  }
}

TEST_F(LinksTest, AnUnknownGlobalLinkGivesTheDictionarysError) {
  EXPECT_THAT(program->GetGlobalBufferLink("unknown"_iid), IsErrorContaining(kIllegalArgumentError, "unknown"));
}

TEST_F(LinksTest, KernelLinksAreSetUnderTheParametersName) {
  StoreBuffer<Int32>("a"_iid, {1, 2});
  AddKernel("k"_iid, kScale);
  ASSERT_THAT(program->SetBufferToActiveKernel("a"_iid, "values"_iid), IsOk());
  ASSERT_THAT(program->SetBufferToActiveKernelSameId("a"_iid), IsOk());
  EXPECT_EQ(ReadKernelBuffer<Int32>("values"_iid), (std::vector<Int32>{1, 2}));
  EXPECT_EQ(ReadKernelBuffer<Int32>("a"_iid), (std::vector<Int32>{1, 2}));
  const auto kernelLink = program->GetKernelBufferLink("values"_iid);
  const auto globalLink = program->GetGlobalBufferLink("a"_iid);
  ASSERT_THAT(kernelLink, IsOk());
  ASSERT_THAT(globalLink, IsOk());
  const auto* kernelPointer = kernelLink->GetIf<Array<Generic>*>();
  const auto* globalPointer = globalLink->GetIf<Array<Generic>*>();
  ASSERT_TRUE(kernelPointer && globalPointer);
  EXPECT_EQ(*kernelPointer, *globalPointer);
}

TEST_F(LinksTest, AKernelLinkCanBeSetByValue) {
  StoreBuffer<Int32>("a"_iid, {1, 2});
  const auto link = program->GetGlobalBufferLink("a"_iid);
  ASSERT_THAT(link, IsOk());
  AddKernel("k"_iid, kScale);
  ASSERT_THAT(program->SetKernelBufferLink("values"_iid, *link), IsOk());
  EXPECT_EQ(ReadKernelBuffer<Int32>("values"_iid), (std::vector<Int32>{1, 2}));
  EXPECT_THAT(program->SetKernelBufferLink("values"_iid, MakeWrongLink()), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(program->SetKernelBufferLink("values"_iid, Data()), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_EQ(ReadKernelBuffer<Int32>("values"_iid), (std::vector<Int32>{1, 2}));
}

TEST_F(LinksTest, AnUnknownKernelLinkGivesTheDictionarysError) {
  AddKernel("k"_iid, kScale);
  EXPECT_THAT(program->GetKernelBufferLink("unknown"_iid), IsErrorContaining(kIllegalArgumentError, "unknown"));
  EXPECT_THAT(program->GetKernelBufferData("unknown"_iid),
              IsErrorWith(kIllegalArgumentError, "buffer identifier not found"));
}

TEST_F(LinksTest, LinkingAnUnknownBufferGivesTheDictionarysErrorEvenWithoutAKernel) {
  EXPECT_THAT(program->SetBufferToActiveKernel("unknown"_iid, "values"_iid),
              IsErrorContaining(kIllegalArgumentError, "unknown"));
  EXPECT_THAT(program->SetBufferToActiveKernelSameId("unknown"_iid),
              IsErrorContaining(kIllegalArgumentError, "unknown"));
  AddKernel("k"_iid, kScale);
  EXPECT_THAT(program->SetBufferToActiveKernel("unknown"_iid, "values"_iid),
              IsErrorContaining(kIllegalArgumentError, "unknown"));
}

TEST_F(LinksTest, AKernelKeepsTheReplacedBufferUntilItIsLinkedAgain) {
  StoreBuffer<Int32>("a"_iid, {1});
  AddKernel("k"_iid, kScale);
  ASSERT_THAT(program->SetBufferToActiveKernelSameId("a"_iid), IsOk());
  StoreBuffer<Int32>("a"_iid, {2});
  EXPECT_EQ(ReadKernelBuffer<Int32>("a"_iid), std::vector<Int32>{1});
  ASSERT_THAT(program->CreateUniformBuffer("a"_iid, GetDataType<Int32>(), 2), IsOk());
  EXPECT_EQ(ReadKernelBuffer<Int32>("a"_iid), std::vector<Int32>{1});
  ASSERT_THAT(program->SetBufferToActiveKernelSameId("a"_iid), IsOk());
  EXPECT_EQ(ReadKernelBuffer<Int32>("a"_iid), (std::vector<Int32>{0, 0}));
}

TEST_F(LinksTest, ADeletedBufferStaysUsableForTheKernelThatIsLinkedToIt) {
  StoreBuffer<Float32>("values"_iid, {1, 2});
  AddKernel("k"_iid, kScale);
  ASSERT_THAT(program->SetBufferToActiveKernelSameId("values"_iid), IsOk());
  ASSERT_THAT(program->SetUniform("factor"_iid, Float32(3)), IsOk());
  ASSERT_THAT(program->DeleteUniformBuffer("values"_iid), IsOk());
  EXPECT_THAT(program->GetGlobalBufferData("values"_iid),
              IsErrorWith(kIllegalArgumentError, "buffer identifier not found"));
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  ASSERT_THAT(program->DispatchKernel(2, 1, 1, false), IsOk());
  EXPECT_EQ(ReadKernelBuffer<Float32>("values"_iid), (std::vector<Float32>{3, 6}));
}

// The old array is freed when the buffer moves: a kernel that held on to it would write there.
TEST_F(LinksTest, AKernelFollowsABufferThatIsResizedWithoutAnotherUpdate) {
  StoreBuffer<Float32>("values"_iid, {1, 2});
  AddKernel("k"_iid, kScale);
  ASSERT_THAT(program->SetBufferToActiveKernelSameId("values"_iid), IsOk());
  ASSERT_THAT(program->SetUniform("factor"_iid, Float32(3)), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  ASSERT_THAT(program->ResizeUniformBuffer("values"_iid, 100000, false), IsOk());
  ASSERT_THAT(program->UpdateUniformBufferData("values"_iid, 99999, MakeArray<Float32>({5})), IsOk());
  ASSERT_THAT(program->DispatchKernel(100000, 1, 1, false), IsOk());
  const auto values = ReadBuffer<Float32>("values"_iid);
  EXPECT_EQ(values[0], 3);
  EXPECT_EQ(values[1], 6);
  EXPECT_EQ(values[99999], 15);
}

TEST_F(LinksTest, AnUpdateThatFailsLeavesTheKernelNothingFromTheOneBefore) {
  StoreBuffer<Float32>("values"_iid, {1, 2});
  ASSERT_THAT(program->CreateUniformBuffer("empty"_iid, GetDataType<Float32>(), 0), IsOk());
  AddKernel("k"_iid, kScale);
  StoreBuffer<Float32>("first"_iid, {1});
  ASSERT_THAT(program->SetBufferToActiveKernel("first"_iid, "spare"_iid), IsOk());
  ASSERT_THAT(program->SetBufferToActiveKernelSameId("values"_iid), IsOk());
  ASSERT_THAT(program->SetUniform("factor"_iid, Float32(3)), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  ASSERT_THAT(program->SetBufferToActiveKernel("empty"_iid, "spare"_iid), IsOk());
  EXPECT_THAT(program->UpdateUniforms(), IsErrorWith(kIllegalStateError, "stored data block has size 0"));
  ASSERT_THAT(program->DispatchKernel(2, 1, 1, false), IsOk());
  EXPECT_EQ(ReadBuffer<Float32>("values"_iid), (std::vector<Float32>{1, 2}));
}

TEST_F(LinksTest, OldLinksStayValidWhileManyBuffersAreStored) {
  AddKernel("k"_iid, kScale);
  std::vector<InternedId> names;
  for (Int32 i = 0; i < 200; ++i) {
    StoreBuffer<Int32>("a"_iid, {i});
    const auto name = InternedId::Create("link@", i);
    ASSERT_THAT(name, IsOk());
    names.push_back(*name);
    ASSERT_THAT(program->SetBufferToActiveKernel("a"_iid, *name), IsOk());
  }
  for (Int32 i = 0; i < 200; ++i) {
    EXPECT_EQ(ReadKernelBuffer<Int32>(names[static_cast<std::size_t>(i)]), std::vector<Int32>{i});
  }
}

TEST_F(LinksTest, EachKernelHasItsOwnLinks) {
  StoreBuffer<Int32>("a"_iid, {1});
  AddKernel("one"_iid, kScale);
  ASSERT_THAT(program->SetBufferToActiveKernelSameId("a"_iid), IsOk());
  AddKernel("two"_iid, kScale);
  EXPECT_THAT(program->GetKernelBufferData("a"_iid), IsErrorWith(kIllegalArgumentError, "buffer identifier not found"));
  program->SetActiveKernel("one"_iid);
  EXPECT_EQ(ReadKernelBuffer<Int32>("a"_iid), std::vector<Int32>{1});
}

class SwapBuffersTest : public ProgramTest {
 protected:
  void SetUp() override {
    ProgramTest::SetUp();
    StoreBuffer<Int32>("a"_iid, {1});
    StoreBuffer<Int32>("b"_iid, {2});
    AddKernel("k"_iid, kScale);
    ASSERT_THAT(program->SetBufferToActiveKernelSameId("a"_iid), IsOk());
    ASSERT_THAT(program->SetBufferToActiveKernelSameId("b"_iid), IsOk());
  }
  void ExpectKernelSees(Int32 a, Int32 b) {
    EXPECT_EQ(ReadKernelBuffer<Int32>("a"_iid), std::vector<Int32>{a});
    EXPECT_EQ(ReadKernelBuffer<Int32>("b"_iid), std::vector<Int32>{b});
  }
};

TEST_F(SwapBuffersTest, TwiceRestoresTheLinks) {
  ASSERT_THAT(program->SwapBuffers("a"_iid, "b"_iid), IsOk());
  ExpectKernelSees(2, 1);
  ASSERT_THAT(program->SwapBuffers("b"_iid, "a"_iid), IsOk());
  ExpectKernelSees(1, 2);
}

TEST_F(SwapBuffersTest, WithItselfChangesNothing) {
  ASSERT_THAT(program->SwapBuffers("a"_iid, "a"_iid), IsOk());
  ExpectKernelSees(1, 2);
}

TEST_F(SwapBuffersTest, LeavesTheProgramsTableAndOtherKernelsAlone) {
  ASSERT_THAT(program->CopyKernel("k"_iid, "other"_iid, true), IsOk());
  ASSERT_THAT(program->SwapBuffers("a"_iid, "b"_iid), IsOk());
  EXPECT_EQ(ReadBuffer<Int32>("a"_iid), std::vector<Int32>{1});
  EXPECT_EQ(ReadBuffer<Int32>("b"_iid), std::vector<Int32>{2});
  program->SetActiveKernel("other"_iid);
  ExpectKernelSees(1, 2);
}

TEST_F(SwapBuffersTest, NamesTheMissingLink) {
  EXPECT_THAT(program->SwapBuffers("unknown"_iid, "b"_iid),
              IsErrorWith(kIllegalArgumentError, "buffer one could not be found"));
  EXPECT_THAT(program->SwapBuffers("a"_iid, "unknown"_iid),
              IsErrorWith(kIllegalArgumentError, "buffer two could not be found"));
  EXPECT_THAT(program->SwapBuffers("unknown"_iid, "unknown"_iid),
              IsErrorWith(kIllegalArgumentError, "buffer one could not be found"));
  ExpectKernelSees(1, 2);
}

TEST_F(SwapBuffersTest, IgnoresBuffersThatAreNotLinked) {
  StoreBuffer<Int32>("c"_iid, {3});
  EXPECT_THAT(program->SwapBuffers("a"_iid, "c"_iid),
              IsErrorWith(kIllegalArgumentError, "buffer two could not be found"));
  ExpectKernelSees(1, 2);
}

TEST_F(SwapBuffersTest, ServesPingPongBetweenDispatches) {
  StoreBuffer<Float32>("x"_iid, {1});
  StoreBuffer<Float32>("y"_iid, {10});
  ASSERT_THAT(program->SetBufferToActiveKernel("x"_iid, "values"_iid), IsOk());
  ASSERT_THAT(program->SetBufferToActiveKernel("y"_iid, "spare"_iid), IsOk());
  ASSERT_THAT(program->SetUniform("factor"_iid, Float32(2)), IsOk());
  for (int i = 0; i < 3; ++i) {
    ASSERT_THAT(program->UpdateUniforms(), IsOk());
    ASSERT_THAT(program->DispatchKernel(1, 1, 1, false), IsOk());
    ASSERT_THAT(program->SwapBuffers("values"_iid, "spare"_iid), IsOk());
  }
  EXPECT_EQ(ReadBuffer<Float32>("x"_iid), std::vector<Float32>{4});
  EXPECT_EQ(ReadBuffer<Float32>("y"_iid), std::vector<Float32>{20});
}

}  // namespace
}  // namespace ostra::test

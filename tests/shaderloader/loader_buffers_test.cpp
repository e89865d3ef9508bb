// Buffers of the loader and links to them: calls, ranges, messages, and where programs that compute do otherwise.
#include "parallelprogram/device/parser_cache.h"
#include "parallelprogram/gpu/gpu_program.h"
#include "parallelprogram/program/parallel_program.h"
#include "tests/shaderloader/loader_fixture.h"

namespace ostra::test {
namespace {

using testing::ElementsAre;

class LoaderBuffersTest : public LoaderTest {
 protected:
  void AddStages() {
    WriteStage("b.vert", {"(attribute Vector32) position", "(const Block<Float32>) values"});
    WriteStage("b.frag",
               {"(const Block<Float32>) values", "(const Block<Float32>) others", "(out Vector4d32) f_color"});
    AddProgram("p"_iid, {"b.vert", "b.frag"});
    TakeCalls();
  }
  std::vector<Float32> Read(const Result<Data>& data) {
    EXPECT_THAT(data, IsOk());
    const auto* array = data ? data->GetIf<Array<Float32>>() : nullptr;
    std::vector<Float32> values;
    for (Int i = 0; array && i < array->GetCount(); ++i) values.push_back((*array)[i]);
    return values;
  }
  DataBufferEntry GetEntry(InternedId id) { return *loader->GetGlobalBufferLink(id)->Get<DataBufferEntry>(); }
};

TEST_F(LoaderBuffersTest, AStoreGoesThroughStagingMemoryInChunks) {
  ASSERT_THAT(loader->StoreUniformBufferData("a"_iid, MakeFloats(20000)), IsOk());
  EXPECT_THAT(TakeCalls(),
              ElementsAre("get buffer 20000", "label a", "valid buffer", "sub-buffer 80000 use 4 alignment 256",
                          "staging 65536 use 0", "map 8 at 0 of 65536", "unmap 1", "release", "staging 14464 use 0",
                          "map 8 at 65536 of 14464", "unmap 1", "release"));
}

TEST_F(LoaderBuffersTest, ReadingBackUsesBuffersForBothDirectionsAndWholeElements) {
  BaseArray<Vec3<Float32>> values;
  ASSERT_THAT(values.Resize(6000), IsOk());  // of 12 bytes: 65532 at a time
  values[5999].z = 9.0f;
  ASSERT_THAT(loader->StoreUniformBufferData("a"_iid, std::move(values)), IsOk());
  TakeCalls();
  const auto data = loader->GetGlobalBufferData("a"_iid);
  ASSERT_THAT(data, IsOk());
  EXPECT_EQ((*data->Get<Array<Vec3<Float32>>>())[5999].z, 9.0f);
  EXPECT_THAT(TakeCalls(), ElementsAre("staging 65532 use 4", "map 1 at 0 of 65532", "unmap 1", "release",
                                       "staging 6468 use 4", "map 1 at 65532 of 6468", "unmap 1", "release"));
}

TEST_F(LoaderBuffersTest, RangesEndWithTheBuffer) {
  ASSERT_THAT(loader->StoreUniformBufferData("a"_iid, MakeFloats(8)), IsOk());
  EXPECT_THAT(Read(loader->GetGlobalBufferData("a"_iid, 6, 2)), ElementsAre(6, 7));
  EXPECT_THAT(Read(loader->GetGlobalBufferData("a"_iid, 6, 0)), ElementsAre());
  const auto isOutside = IsErrorWith(kIllegalArgumentError, "Requested data range is out of bounds");
  EXPECT_THAT(loader->GetGlobalBufferData("a"_iid, 6, 3), isOutside);
  EXPECT_THAT(loader->GetGlobalBufferData("a"_iid, -1, 2), isOutside);
  EXPECT_THAT(loader->GetGlobalBufferData("a"_iid, 0, -2), isOutside);
  EXPECT_EQ(Read(loader->GetGlobalBufferData("a"_iid, 0, -1)).size(), 8u);
  EXPECT_EQ(Read(loader->GetGlobalBufferData("a"_iid, 6, -1)).size(), 8u);  // everything, whatever the offset
  const auto isUnknown = IsErrorWith(kIllegalArgumentError, "buffer identifier not found");
  EXPECT_THAT(loader->GetGlobalBufferData("b"_iid), isUnknown);
  EXPECT_THAT(loader->GetGlobalBufferData("b"_iid, 0, 1), isUnknown);
  EXPECT_THAT(loader->GetGlobalBufferLink("b"_iid), isUnknown);
}

TEST_F(LoaderBuffersTest, EmptyBuffersAndOddTypesAreRefused) {
  constexpr const char* kEmpty = "Empty buffers are not allowed to be added.";
  constexpr const char* kNoType = "DataType not specified or 0 size";
  EXPECT_THAT(loader->CreateUniformBuffer("a"_iid, GetDataType<Float32>(), 0),
              IsErrorWith(kIllegalArgumentError, kEmpty));
  EXPECT_THAT(loader->CreateUniformBuffer("a"_iid, DataType(), 4), IsErrorWith(kIllegalArgumentError, kNoType));
  EXPECT_THAT(loader->StoreUniformBufferData("a"_iid, BaseArray<Float32>()),
              IsErrorWith(kIllegalArgumentError,
                          "Empty buffers are not allowed to be added. Please resize to the required size before "
                          "storing."));
  EXPECT_THAT(loader->StoreVertexBufferData("a"_iid, Float32(3)),
              IsErrorWith(kIllegalArgumentError, "data is not an base array, block or array ref"));
  EXPECT_THAT(loader->GetGlobalBufferLink("a"_iid), IsErrorOfKind(kIllegalArgumentError));
  ASSERT_THAT(loader->CreateUniformBuffer("a"_iid, GetDataType<Float32>(), 3), IsOk());
  EXPECT_THAT(Read(loader->GetGlobalBufferData("a"_iid)), ElementsAre(0, 0, 0));
}

TEST_F(LoaderBuffersTest, AnUpdateNeverMakesABufferLonger) {
  constexpr const char* kTooLong = "Data update does not fit into existing buffer";
  EXPECT_THAT(loader->UpdateUniformBufferData("a"_iid, MakeFloats(2), 0),
              IsErrorWith(kIllegalArgumentError, "buffer for update could not be found"));
  ASSERT_THAT(loader->StoreUniformBufferData("a"_iid, MakeFloats(4)), IsOk());
  DrawportDeviceBuffer* buffer = GetEntry("a"_iid)._deviceBuffer;
  TakeCalls();
  ASSERT_THAT(loader->UpdateUniformBufferData("a"_iid, MakeFloats(2), 2), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("staging 8 use 0", "map 8 at 8 of 8", "unmap 1", "release"));
  EXPECT_THAT(Read(loader->GetGlobalBufferData("a"_iid)), ElementsAre(0, 1, 0, 1));
  for (const Int offset : {Int{3}, Int{4}, Int{-1}, Int{0x7fffffffffffffff}})
    EXPECT_THAT(loader->UpdateUniformBufferData("a"_iid, MakeFloats(2), offset),
                IsErrorWith(kIllegalArgumentError, kTooLong))
        << offset;
  EXPECT_THAT(loader->UpdateUniformBufferData("a"_iid, MakeFloats(5), 0), IsErrorWith(kIllegalArgumentError, kTooLong));
  EXPECT_EQ(GetEntry("a"_iid)._deviceBuffer, buffer);
  EXPECT_THAT(Read(loader->GetGlobalBufferData("a"_iid)), ElementsAre(0, 1, 0, 1));
}

// The same call that a loader refuses makes a program that computes replace its buffer.
TEST_F(LoaderBuffersTest, ProgramsThatComputeReplaceWhatIsTooShort) {
  device.drawsGraphics = false;
  const ClassRef programClass = *CreateGpuProgramClass();
  const auto program = *programClass->CreateObject<ParallelProgramInterface>();
  ASSERT_THAT(program->Init(Url(), &context, 0, false), IsOk());
  ASSERT_THAT(program->StoreUniformBufferData("a"_iid, MakeFloats(4)), IsOk());
  ASSERT_THAT(loader->StoreUniformBufferData("a"_iid, MakeFloats(4)), IsOk());
  EXPECT_THAT(program->UpdateUniformBufferData("a"_iid, 0, MakeFloats(5)), IsOk());
  EXPECT_THAT(loader->UpdateUniformBufferData("a"_iid, MakeFloats(5), 0), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_EQ(Read(program->GetGlobalBufferData("a"_iid)).size(), 5u);
  EXPECT_EQ(Read(loader->GetGlobalBufferData("a"_iid)).size(), 4u);
}

TEST_F(LoaderBuffersTest, AFailedTransferReleasesItsStagingBufferAndKeepsTheOldBuffer) {
  ASSERT_THAT(loader->StoreUniformBufferData("a"_iid, MakeFloats(4)), IsOk());
  TakeCalls();
  for (const char* call : {"map", "staging", "unmap", "sub-buffer"}) {
    device.failing = call;
    EXPECT_THAT(loader->StoreUniformBufferData("a"_iid, MakeFloats(5)),
                IsErrorWith(kIllegalStateError, "made-up failure"))
        << call;
    const std::vector<std::string> calls = TakeCalls();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "release"),
              std::string(call) == "map" || std::string(call) == "unmap" ? 1 : 0);
  }
  device.failing = "map";
  EXPECT_THAT(loader->GetGlobalBufferData("a"_iid), IsErrorWith(kIllegalStateError, "made-up failure"));
  EXPECT_EQ(TakeCalls().back(), "release");
  device.failing = "";
  EXPECT_EQ(Read(loader->GetGlobalBufferData("a"_iid)).size(), 4u);
}

TEST_F(LoaderBuffersTest, LoadersDoNotMeetInTheCache) {
  const GeneralShaderLoaderRef other = MakeLoader();
  ASSERT_THAT(loader->StoreUniformBufferData("a"_iid, MakeFloats(4)), IsOk());
  ASSERT_THAT(other->StoreUniformBufferData("a"_iid, MakeFloats(4)), IsOk());
  ASSERT_THAT(loader->StoreUniformBufferData("a"_iid, MakeFloats(4)), IsOk());
  const auto& keys = GetCache().bufferKeys;
  EXPECT_NE(keys[0].values[0], keys[1].values[0]);
  EXPECT_TRUE(keys[0] == keys[2]);
}

TEST_F(LoaderBuffersTest, VertexDataKnowsItsVertexBuffer) {
  AddStages();
  EXPECT_EQ(*loader->GetActiveVertexBuffer(), nullptr);
  EXPECT_EQ(*loader->GetActiveAttributeBuffer(), nullptr);
  EXPECT_EQ(*loader->GetActiveVertexBufferCount(), 0);
  ASSERT_THAT(loader->StoreVertexBufferData("vertices"_iid, MakeFloats(9)), IsOk());
  ASSERT_THAT(loader->SetVertexBufferToActiveProgramSameId("vertices"_iid), IsOk());
  DrawportVertexBuffer* vertexBuffer = *loader->GetActiveVertexBuffer();
  ASSERT_TRUE(vertexBuffer);
  EXPECT_EQ(*loader->GetActiveAttributeBuffer(),
            static_cast<RecordingVertexBuffer*>(vertexBuffer)->buffers.back().get());
  EXPECT_EQ(*loader->GetActiveVertexBufferCount(), 9);
  // The attributes get it with the next update.
  ASSERT_THAT(loader->UpdateUniforms(&pass), IsOk());
  EXPECT_EQ((*loader->GetActiveAttributeSet())->GetVertexBuffer("position"_iid), vertexBuffer);
  EXPECT_THAT(loader->SetVertexBufferToActiveProgramSameId("nothing"_iid),
              IsErrorWith(kIllegalArgumentError, "buffer identifier not found"));
  EXPECT_EQ(*loader->GetActiveVertexBuffer(), vertexBuffer);
}

TEST_F(LoaderBuffersTest, UniformDataKeepsItsDeviceBufferOnly) {
  AddStages();
  ASSERT_THAT(loader->StoreVertexBufferData("a"_iid, MakeFloats(9)), IsOk());
  ASSERT_THAT(loader->StoreUniformBufferData("a"_iid, MakeFloats(6)), IsOk());
  ASSERT_THAT(loader->SetVertexBufferToActiveProgramSameId("a"_iid), IsOk());
  EXPECT_EQ(*loader->GetActiveVertexBuffer(), nullptr);
  EXPECT_EQ((*loader->GetActiveAttributeBuffer())->GetSize(), 24);
  EXPECT_EQ(*loader->GetActiveVertexBufferCount(), 6);
}

TEST_F(LoaderBuffersTest, AVertexAttributeCalledUvIsAssigned) {
  WriteSimpleProgram();
  AddProgram("p"_iid, {"simple.vert", "simple.frag"});
  ASSERT_THAT(loader->StoreVertexBufferData("vertices"_iid, MakeFloats(10)), IsOk());
  ASSERT_THAT(loader->SetVertexBufferToActiveProgramSameId("vertices"_iid), IsOk());
  ASSERT_THAT(loader->UpdateUniforms(&pass), IsOk());
  EXPECT_EQ((*loader->GetActiveAttributeSet())->GetVertexBuffer("uv"_iid), *loader->GetActiveVertexBuffer());
}

TEST_F(LoaderBuffersTest, ALinkOfTheSecondFileIsThatOfItsStageOnly) {
  AddStages();
  ASSERT_THAT(loader->StoreUniformBufferData("a"_iid, MakeFloats(3)), IsOk());
  ASSERT_THAT(loader->StoreUniformBufferData("b"_iid, MakeFloats(5)), IsOk());
  ASSERT_THAT(loader->SetBufferToActiveProgram("a"_iid, "values"_iid, 1), IsOk());
  EXPECT_THAT(loader->GetProgramBufferLink("values"_iid, 0),
              IsErrorWith(kIllegalArgumentError, "buffer identifier not found"));
  EXPECT_THAT(loader->GetProgramBufferData("values"_iid, 0),
              IsErrorWith(kIllegalArgumentError, "buffer identifier not found"));
  EXPECT_EQ(Read(loader->GetProgramBufferData("values"_iid, 1)).size(), 3u);
  ASSERT_THAT(loader->SetProgramBufferLink("values"_iid, *loader->GetGlobalBufferLink("b"_iid), 0), IsOk());
  ASSERT_THAT(loader->SetBufferToActiveProgramSameId("b"_iid, 1), IsOk());
  TakeCalls();
  ASSERT_THAT(loader->UpdateUniforms(&pass), IsOk());
  EXPECT_THAT(TakeCalls(),
              testing::IsSupersetOf({"buffer 0.values = 20", "buffer 6.values = 12", "buffer 6.others = -1"}));
  EXPECT_THAT(loader->SetBufferToActiveProgram("nothing"_iid, "values"_iid, 1),
              IsErrorWith(kIllegalArgumentError, "buffer identifier not found"));
  EXPECT_THAT(loader->SetProgramBufferLink("values"_iid, *Data::Create(1.0f), 0), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(loader->SetGlobalBufferLink("values"_iid, *Data::Create(1.0f)), IsErrorOfKind(kIllegalArgumentError));
}

TEST_F(LoaderBuffersTest, AParameterWithoutLinkIsTheLoadersBufferOfItsName) {
  AddStages();
  ASSERT_THAT(loader->StoreUniformBufferData("values"_iid, MakeFloats(3)), IsOk());
  TakeCalls();
  ASSERT_THAT(loader->UpdateUniforms(&pass), IsOk());
  EXPECT_THAT(TakeCalls(), testing::IsSupersetOf({"buffer 0.values = 12", "buffer 6.values = 12"}));
  ASSERT_THAT(loader->StoreUniformBufferData("values"_iid, MakeFloats(4)), IsOk());
  ASSERT_THAT(loader->UpdateUniforms(&pass), IsOk());
  EXPECT_THAT(TakeCalls(), testing::Contains("buffer 6.values = 16"));
}

TEST_F(LoaderBuffersTest, SwappingExchangesTheLinksOfOneStage) {
  AddStages();
  ASSERT_THAT(loader->StoreUniformBufferData("a"_iid, MakeFloats(3)), IsOk());
  ASSERT_THAT(loader->StoreUniformBufferData("b"_iid, MakeFloats(5)), IsOk());
  ASSERT_THAT(loader->SetBufferToActiveProgram("a"_iid, "values"_iid, 1), IsOk());
  EXPECT_THAT(loader->SwapInternedIDValues("others"_iid, "values"_iid, 1),
              IsErrorWith(kIllegalArgumentError, "buffer one could not be found"));
  EXPECT_THAT(loader->SwapInternedIDValues("values"_iid, "others"_iid, 1),
              IsErrorWith(kIllegalArgumentError, "buffer two could not be found"));
  ASSERT_THAT(loader->SetBufferToActiveProgram("b"_iid, "others"_iid, 1), IsOk());
  ASSERT_THAT(loader->SwapInternedIDValues("values"_iid, "others"_iid, 1), IsOk());
  EXPECT_EQ(Read(loader->GetProgramBufferData("values"_iid, 1)).size(), 5u);
  EXPECT_EQ(Read(loader->GetProgramBufferData("others"_iid, 1)).size(), 3u);
}

TEST_F(LoaderBuffersTest, DeletingTakesABufferFromAllProgramsButNotFromWhatIsDrawn) {
  AddStages();
  ASSERT_THAT(loader->StoreVertexBufferData("a"_iid, MakeFloats(3)), IsOk());
  ASSERT_THAT(loader->SetBufferToActiveProgram("a"_iid, "values"_iid, 0), IsOk());
  ASSERT_THAT(loader->SetVertexBufferToActiveProgramSameId("a"_iid), IsOk());
  AddProgram("q"_iid, {"b.vert", "b.frag"});
  ASSERT_THAT(loader->SetBufferToActiveProgram("a"_iid, "others"_iid, 1), IsOk());
  ASSERT_THAT(loader->DeleteUniformBuffer("a"_iid), IsOk());
  const auto isUnknown = IsErrorWith(kIllegalArgumentError, "buffer identifier not found");
  EXPECT_THAT(loader->GetGlobalBufferLink("a"_iid), isUnknown);
  EXPECT_THAT(loader->GetProgramBufferLink("others"_iid, 1), isUnknown);
  loader->SetActiveProgram("p"_iid);
  EXPECT_THAT(loader->GetProgramBufferLink("values"_iid, 0), isUnknown);
  EXPECT_EQ(*loader->GetActiveVertexBufferCount(), 3);
  EXPECT_EQ((*loader->GetActiveAttributeBuffer())->GetSize(), 12);
  EXPECT_THAT(loader->DeleteUniformBuffer("a"_iid), IsOk());
}

// One buffer, two users: the entry travels, the bytes stay.
TEST_F(LoaderBuffersTest, ABufferOfAComputingProgramIsDrawnFromWithoutACopy) {
  AddStages();
  device.drawsGraphics = false;
  const ClassRef programClass = *CreateGpuProgramClass();
  const auto program = *programClass->CreateObject<ParallelProgramInterface>();
  ASSERT_THAT(program->Init(Url(), &context, 0, false), IsOk());
  device.drawsGraphics = true;
  ASSERT_THAT(program->StoreUniformBufferData("points"_iid, MakeFloats(6)), IsOk());
  TakeCalls();
  ASSERT_THAT(loader->SetGlobalBufferLink("points"_iid, *program->GetGlobalBufferLink("points"_iid)), IsOk());
  ASSERT_THAT(loader->SetVertexBufferToActiveProgramSameId("points"_iid), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre());
  EXPECT_EQ(*loader->GetActiveAttributeBuffer(),
            (*program->GetGlobalBufferLink("points"_iid)->Get<DataBufferEntry>())._deviceBuffer);
  EXPECT_EQ(*loader->GetActiveVertexBufferCount(), 6);
  EXPECT_THAT(loader->UpdateUniforms(&pass), IsOk());
}

TEST_F(LoaderBuffersTest, AnUpdateWithOtherElementsKeepsTheEndOfTheBuffer) {
  ASSERT_THAT(loader->StoreUniformBufferData("a"_iid, MakeFloats(3)), IsOk());
  BaseArray<Vec2<Float32>> pair;
  ASSERT_THAT(pair.Append(Vec2<Float32>(7, 8)), IsOk());
  const Block<const Vec2<Float32>> block(pair.GetFirst(), 1);
  EXPECT_THAT(loader->UpdateUniformBufferData("a"_iid, block, 0),
              IsErrorWith(kIllegalArgumentError, "Data update does not fit into existing buffer"));
  EXPECT_EQ(Read(loader->GetGlobalBufferData("a"_iid)).size(), 3u);
  ASSERT_THAT(loader->StoreUniformBufferData("b"_iid, MakeFloats(4)), IsOk());
  ASSERT_THAT(loader->UpdateUniformBufferData("b"_iid, block, 1), IsOk());
  EXPECT_EQ(GetEntry("b"_iid)._count, 2);
  ASSERT_THAT(loader->UpdateUniformBufferData("b"_iid, MakeFloats(1), 3), IsOk());
  EXPECT_THAT(Read(loader->GetGlobalBufferData("b"_iid)), ElementsAre(0, 1, 7, 0));
  // Counts that were not counted.
  DataBufferEntry boundless = GetEntry("b"_iid);
  boundless._count = Int{1} << 62;
  ASSERT_THAT(loader->SetGlobalBufferLink("c"_iid, *Data::Create(std::move(boundless))), IsOk());
  EXPECT_THAT(loader->UpdateUniformBufferData("c"_iid, MakeFloats(1), Int{1} << 61),
              IsErrorOfKind(kIllegalArgumentError));
}

TEST_F(LoaderBuffersTest, DeletingABufferOnNoDeviceTakesItsOwnLinkOnly) {
  AddStages();
  ASSERT_THAT(loader->SetGlobalBufferLink("values"_iid, *Data::Create(DataBufferEntry())), IsOk());
  ASSERT_THAT(loader->SetGlobalBufferLink("b"_iid, *Data::Create(DataBufferEntry())), IsOk());
  ASSERT_THAT(loader->SetBufferToActiveProgramSameId("values"_iid, 1), IsOk());
  ASSERT_THAT(loader->SetBufferToActiveProgramSameId("b"_iid, 1), IsOk());
  ASSERT_THAT(loader->DeleteUniformBuffer("values"_iid), IsOk());
  EXPECT_FALSE(loader->GetProgramBufferLink("values"_iid, 1));
  EXPECT_THAT(loader->GetProgramBufferLink("b"_iid, 1), IsOk());
}

}  // namespace
}  // namespace ostra::test

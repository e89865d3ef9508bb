// What compiled programs say about themselves, and what becomes of those that ask for more than the device has.
#include "ostra/drawport_vulkan/shader_features.h"

#include <algorithm>

#include "ostra/drawport_vulkan/spirv.h"
#include "ostra/drawport_vulkan/storage_layout.h"
#include "tests/drawport_vulkan/internal_fixture.h"

using namespace ostra;
using namespace ostra::vulkan;
using testing::ElementsAre;

namespace {

using Words = std::vector<UInt32>;

constexpr UInt32 Op(UInt32 number, UInt32 length) { return length << 16 | number; }

Words MakeWords(std::initializer_list<UInt32> instructions) {
  Words words = {0x07230203, 0x10500, 0, 100, 0};
  words.insert(words.end(), instructions);
  return words;
}
Block<const UInt32> GetBlock(const Words& words) { return {words.data(), static_cast<Int>(words.size())}; }

TEST(Spirv, SaysWhichBindingsTheOptimiserHasLeft) {
  const Words words = MakeWords({Op(71, 4), 5, 33, 7,    // OpDecorate %5 Binding 7
                                 Op(71, 4), 5, 34, 0,    // OpDecorate %5 DescriptorSet 0
                                 Op(71, 4), 6, 33, 2});  // OpDecorate %6 Binding 2
  const auto numbers = Take(FindBindings(GetBlock(words)));
  EXPECT_THAT(Words(numbers.begin(), numbers.end()), ElementsAre(2, 7));
  EXPECT_EQ(Take(FindBindings({words.data(), 11})).GetCount(), 1);  // cut off
  const UInt32 other[] = {1, 2, 3, 4, 5, 6};
  EXPECT_EQ(Take(FindBindings({other, 6})).GetCount(), 0);
}

TEST(Spirv, CountsTheBytesOfAllVariablesThatAGroupShares) {
  const Words words = MakeWords({
      Op(22, 3), 1,  32,      // float
      Op(21, 4), 2,  32, 0,   // uint
      Op(23, 4), 3,  1,  3,   // vec3
      Op(24, 4), 4,  3,  2,   // two columns of it
      Op(20, 2), 5,           // bool
      Op(43, 4), 2,  6,  10,  // 10
      Op(28, 4), 7,  4,  6,   // array of 10 matrices: 240
      Op(30, 4), 8,  7,  5,   // struct of that and a bool: 244
      Op(32, 4), 9,  4,  8,   // pointers
      Op(32, 4), 10, 4,  2,   //
      Op(59, 4), 9,  11, 4,   // shared: 244
      Op(59, 4), 10, 12, 4,   // shared: 4
      Op(59, 4), 10, 13, 6,   // one invocation's own
  });
  EXPECT_EQ(Take(CountSharedBytes(GetBlock(words))), 248u);
  EXPECT_EQ(Take(CountSharedBytes({words.data(), 12})), 0u);
}

TEST(Spirv, AnArrayWithoutEndIsLargerThanEveryDevice) {
  const Words words =
      MakeWords({Op(21, 4), 1, 32, 0, Op(43, 4), 1, 2, 0xFFFFFFFF, Op(28, 4), 3, 1, 2, Op(28, 4), 4, 3, 2,
                 Op(28, 4), 5, 4,  2, Op(32, 4), 6, 4, 5,          Op(59, 4), 6, 7, 4});
  EXPECT_GT(Take(CountSharedBytes(GetBlock(words))), UInt64(1) << 39);
}

Result<void> Check(const ShaderFeatures& features, UInt32 capability) {
  const Words words = MakeWords({Op(17, 2), 1, Op(17, 2), capability});
  return CheckShader(features, VK_SHADER_STAGE_COMPUTE_BIT, GetBlock(words), "blur");
}

// A buffer of elements of the type 10, `stride` bytes apart.
String FindPacked(UInt32 stride, std::initializer_list<UInt32> element) {
  Words words = MakeWords({Op(71, 4), 20, 6,  stride,      // OpDecorate %20 ArrayStride
                           Op(72, 5), 21, 0,  35,     0,   // OpMemberDecorate %21 0 Offset 0
                           Op(72, 5), 10, 0,  35,     0,   // members of a struct %10, if it is one: at 0, 4 and 16
                           Op(72, 5), 10, 1,  35,     4,   //
                           Op(72, 5), 10, 2,  35,     16,  //
                           Op(72, 5), 10, 2,  7,      12,  // columns 12 bytes apart
                           Op(22, 3), 1,  32,              // float
                           Op(21, 4), 2,  32, 0,           // uint
                           Op(23, 4), 3,  1,  3,           // vec3
                           Op(24, 4), 4,  3,  3,           // mat3
                           Op(23, 4), 5,  1,  4});         // vec4
  words.insert(words.end(), element);
  const auto rest = MakeWords({Op(29, 3), 20, 10,        // array of it
                               Op(30, 3), 21, 20,        // the block
                               Op(32, 4), 22, 12, 21,    // pointer to it in storage buffers
                               Op(59, 4), 22, 23, 12});  // the buffer
  words.insert(words.end(), rest.begin() + 5, rest.end());
  return Take(FindPackedElement(GetBlock(words)));
}

TEST(StorageLayout, NumbersAndVectorsOfTwoAndFourLieTheSameByAllRules) {
  EXPECT_EQ(FindPacked(4, {Op(22, 3), 10, 32}), ""_s);
  EXPECT_EQ(FindPacked(8, {Op(23, 4), 10, 1, 2}), ""_s);
  EXPECT_EQ(FindPacked(16, {Op(23, 4), 10, 2, 4}), ""_s);
  EXPECT_EQ(FindPacked(2, {Op(22, 3), 10, 16}), ""_s);
}

TEST(StorageLayout, VectorsOfThreeArePackedUnlessTheyAreFourApart) {
  EXPECT_EQ(FindPacked(12, {Op(23, 4), 10, 1, 3}), "vec3"_s);
  EXPECT_EQ(FindPacked(12, {Op(23, 4), 10, 2, 3}), "uvec3"_s);
  EXPECT_EQ(FindPacked(16, {Op(23, 4), 10, 1, 3}), ""_s);
}

TEST(StorageLayout, StructsArePackedWhereRulesWouldLeaveGaps) {
  EXPECT_EQ(FindPacked(20, {Op(30, 5), 10, 1, 2, 1}), ""_s);        // numbers
  EXPECT_EQ(FindPacked(32, {Op(30, 5), 10, 1, 2, 5}), ""_s);        // vec4 at 16
  EXPECT_EQ(FindPacked(36, {Op(30, 5), 10, 1, 2, 5}), "struct"_s);  // the next one is not aligned
  EXPECT_EQ(FindPacked(32, {Op(30, 4), 10, 1, 5}), "struct"_s);     // vec4 at 4
  EXPECT_EQ(FindPacked(16, {Op(30, 4), 10, 1, 3}), ""_s);           // vec3 at 4 crosses nothing
  EXPECT_EQ(FindPacked(64, {Op(30, 5), 10, 1, 2, 4}), "mat3x3"_s);
}

TEST(StorageLayout, WordsThatAreNoProgramArePackedNowhere) {
  const UInt32 other[] = {1, 2, 3, 4, 5, 6};
  EXPECT_EQ(Take(FindPackedElement({other, 6})), ""_s);
}

TEST(StorageLayout, DamagedTypesArePackedNowhere) {
  for (const UInt32 opcode : {21u, 22u, 23u, 24u, 28u, 29u})
    EXPECT_EQ(FindPacked(12, {Op(opcode, 2), 10}), ""_s) << opcode;      // cut off
  EXPECT_EQ(FindPacked(12, {Op(20, 2), 9, Op(23, 4), 10, 9, 3}), ""_s);  // a vector of bools
  EXPECT_EQ(FindPacked(12, {Op(30, 3), 10, 10}), ""_s);                  // a struct of itself
  EXPECT_EQ(FindPacked(12, {Op(23, 4), 10, 10, 3}), ""_s);               // a vector of itself
}

TEST(ShaderFeatures, WhatIsMissingIsNamedWithTheProgram) {
  ShaderFeatures features;
  features.since12.scalarBlockLayout = VK_TRUE;
  EXPECT_THAT(Check(features, 10),
              IsErrorWith(kIllegalArgumentError,
                          "The GPU program \"blur\" uses 64-bit floats, which the GPU device does not support."));
  features.core.shaderFloat64 = VK_TRUE;
  EXPECT_THAT(Check(features, 10), IsOk());
  EXPECT_THAT(Check(features, 49), IsErrorWith(kIllegalArgumentError,
                                               "The GPU program \"blur\" uses images of the less common formats, "
                                               "which the GPU device does not support."));
  features.core.shaderStorageImageExtendedFormats = VK_TRUE;
  EXPECT_THAT(Check(features, 49), IsOk());
  EXPECT_THAT(Check(features, 11),
              IsErrorWith(kIllegalArgumentError,
                          "The GPU program \"blur\" uses 64-bit integers, which the GPU device does not support."));
  features.core.shaderInt64 = VK_TRUE;
  EXPECT_THAT(Check(features, 11), IsOk());
  EXPECT_THAT(Check(features, 9), IsErrorOfKind(kIllegalArgumentError));
  features.since12.shaderFloat16 = VK_TRUE;
  EXPECT_THAT(Check(features, 9), IsOk());
  EXPECT_THAT(Check(features, 4448), IsErrorWith(kIllegalArgumentError,
                                                 "The GPU program \"blur\" uses 8-bit values in buffers, which the GPU "
                                                 "device does not support."));
  features.since12.storageBuffer8BitAccess = VK_TRUE;
  EXPECT_THAT(Check(features, 4448), IsOk());
  EXPECT_THAT(Check(features, 4433), IsErrorOfKind(kIllegalArgumentError));
  features.since11.storageBuffer16BitAccess = VK_TRUE;
  EXPECT_THAT(Check(features, 4433), IsOk());
}

TEST(ShaderFeatures, WhatNobodyAsksADeviceForIsRefusedByItsNumber) {
  EXPECT_THAT(
      Check({}, 4479),
      IsErrorWith(kIllegalArgumentError,
                  "The GPU program \"blur\" uses capability 4479 of SPIR-V, which no GPU device is asked for."));
  EXPECT_THAT(Check({}, 50), IsOk());  // sizes of images: everywhere
}

TEST(ShaderFeatures, PatchesOfLinesNeedADeviceThatHasThem) {
  ShaderFeatures features;
  const Words words = MakeWords({Op(16, 3), 1, 25});  // OpExecutionMode %1 Isolines
  const auto check = [&] {
    return CheckShader(features, VK_SHADER_STAGE_TESSELLATION_EVALUATION_BIT, GetBlock(words), "hair");
  };
  EXPECT_THAT(check(), IsOk());
  features.hasIsolines = false;
  EXPECT_THAT(check(), IsErrorWith(kIllegalArgumentError,
                                   "The GPU program \"hair\" uses patches that are divided into "
                                   "lines, which the GPU device does not support."));
}

TEST(ShaderFeatures, OperationsOfSubgroupsNeedTheStageAsWell) {
  ShaderFeatures features;
  EXPECT_THAT(Check(features, 63), IsErrorOfKind(kIllegalArgumentError));
  features.subgroupOperations = VK_SUBGROUP_FEATURE_ARITHMETIC_BIT;
  EXPECT_THAT(Check(features, 63), IsErrorOfKind(kIllegalArgumentError));
  features.subgroupStages = VK_SHADER_STAGE_COMPUTE_BIT;
  EXPECT_THAT(Check(features, 63), IsOk());
  EXPECT_THAT(Check(features, 64), IsErrorOfKind(kIllegalArgumentError));
}

TEST(ShaderFeatures, ADeviceIsMadeWithWhatProgramsCanAskForAlone) {
  ShaderFeatures has;
  has.core.shaderFloat64 = VK_TRUE;
  has.core.geometryShader = VK_TRUE;
  has.since12.shaderInt8 = VK_TRUE;
  has.since12.bufferDeviceAddress = VK_TRUE;
  has.maxSharedBytes = 4;
  const ShaderFeatures selected = SelectShaderFeatures(has);
  EXPECT_TRUE(selected.core.shaderFloat64);
  EXPECT_TRUE(selected.since12.shaderInt8);
  EXPECT_FALSE(selected.core.geometryShader);
  EXPECT_FALSE(selected.since12.bufferDeviceAddress);
  EXPECT_FALSE(selected.core.shaderInt64);
  EXPECT_EQ(selected.maxSharedBytes, 4u);
}

class ShaderFeaturesTest : public DriverTest {
 protected:
  // A program of one invocation that sets the first numbers of the buffer "data", whose elements are of `type`.
  Result<std::vector<UInt32>> Run(const String& shared, const String& code, const String& type = "uint"_s) {
    OSTRA_ASSIGN_OR_RETURN(const DrawportContextRef context, MakeContext());
    const BufferRef buffer =
        Take(BufferResource::Create(static_cast<Context&>(*context).GetDevice(), 64, MemoryUse::Device, true));
    OSTRA_ASSIGN_OR_RETURN(
        const GpuComputeRef compute,
        MakeCompute(
            context,
            [=](DrawportProgramDescription& program) -> Result<void> {
              constexpr DrawportStage kStage = DrawportStage::Compute;
              OSTRA_RETURN_IF_ERROR(program.SetDebugLabel("net.ostra.test.krn"));
              OSTRA_RETURN_IF_ERROR(program.AddBufferParameter(kStage, {.typeName = type, .members = {}, .byteSize = 4},
                                                               "data"_iid, DrawportBufferAccess::ReadWrite));
              if (shared.IsPopulated())
                OSTRA_RETURN_IF_ERROR(program.AddCode(kStage, kAppendCode, shared, DrawportCodeSection::GroupShared));
              OSTRA_RETURN_IF_ERROR(program.AddCode(kStage, kAppendCode, code));
              return program.SetComputeShaderProperties(1, 1, 1);
            },
            [&](DrawportProgramFactory& factory, DrawportParameterValueSet& values) {
              return factory.SetParameterBuffer(values, factory.GetBufferParameterHandle("data"_iid),
                                                buffer.GetPointer());
            }));
    OSTRA_RETURN_IF_ERROR(compute->Dispatch(1, 1, 1));
    OSTRA_ASSIGN_OR_RETURN(DrawportStagingBuffer * staging,
                           context->GetDrawport()->GetDrawportCache()->AllocStagingBuffer(
                               *context, {.bytes = 64, .use = DrawportStagingUse::HostRead}));
    OSTRA_ASSIGN_OR_RETURN(
        Byte * mapped, context->GetCommandList().PrivateMapBuffer(*staging, DrawportMapMode::Read, *buffer, 0, 0, 64));
    std::vector<UInt32> values(16);
    MemCopy(values.data(), mapped, 64);
    return values;
  }
};

TEST_F(ShaderFeaturesTest, VectorsOfThreeRunWhereTheDevicePacksThem) {
  const auto values = Run({}, "UNIFORM_BUFFER(data)[1] = uvec3(7u, 8u, 9u);\n"_s, "uvec3"_s);
  if (values) {
    EXPECT_THAT(std::vector<UInt32>(values->begin(), values->begin() + 7), ElementsAre(0, 0, 0, 7, 8, 9, 0));
  } else {
    EXPECT_THAT(values, IsErrorWith(kIllegalArgumentError,
                                    "The GPU program \"net.ostra.test.krn\" uses elements of buffers that are packed "
                                    "tightly (uvec3), for which the GPU device would need scalar block layout."));
  }
}

TEST_F(ShaderFeaturesTest, HalvesAreConvertedByDevicesThatDoNotComputeWithThem) {
  const auto convert = Run({}, "UNIFORM_BUFFER(data)[0] = half(float(UNIFORM_BUFFER(data)[1]) + 1.5);\n"_s, "half"_s);
  const auto add = Run({}, "UNIFORM_BUFFER(data)[0] = UNIFORM_BUFFER(data)[1] + half(1.5);\n"_s, "half"_s);
  const DrawportContextRef context = Take(MakeContext());
  const ShaderFeatures& features = static_cast<Context&>(*context).GetDevice().GetShaderFeatures();
  EXPECT_EQ(context->IsFeatureSupported(DrawportFeature::ShaderHalfFloat),
            features.since11.storageBuffer16BitAccess == VK_TRUE);
  const std::string uses = "The GPU program \"net.ostra.test.krn\" uses ";
  const std::string missing = ", which the GPU device does not support.";
  if (features.since11.storageBuffer16BitAccess)
    EXPECT_EQ(Take(convert)[0] & 0xFFFFu, 0x3E00u);
  else
    EXPECT_THAT(convert, IsErrorWith(kIllegalArgumentError, uses + "16-bit values in buffers" + missing));
  if (features.since11.storageBuffer16BitAccess && features.since12.shaderFloat16)
    EXPECT_EQ(Take(add)[0] & 0xFFFFu, 0x3E00u);
  else
    EXPECT_THAT(add, IsErrorContaining(kIllegalArgumentError, uses + "16-bit "));
}

TEST_F(ShaderFeaturesTest, WhatTheDeviceLacksIsListed) {
  const DrawportContextRef context = Take(MakeContext());
  const ShaderFeatures& features = static_cast<Context&>(*context).GetDevice().GetShaderFeatures();
  std::vector<std::string> missing;
  for (const String& name : Take(ListMissing(features))) missing.emplace_back(name.GetView());
  const auto isListed = [&](const char* name) {
    return std::find(missing.begin(), missing.end(), name) != missing.end();
  };
  EXPECT_EQ(isListed("64-bit floats"), features.core.shaderFloat64 == VK_FALSE);
  EXPECT_EQ(isListed("16-bit floats"), features.since12.shaderFloat16 == VK_FALSE);
  EXPECT_EQ(isListed("elements of buffers that are packed tightly"), features.since12.scalarBlockLayout == VK_FALSE);
  EXPECT_EQ(isListed("patches that are divided into lines"), !features.hasIsolines);
  std::sort(missing.begin(), missing.end());
  EXPECT_EQ(std::adjacent_find(missing.begin(), missing.end()), missing.end());
}

TEST_F(ShaderFeaturesTest, DoublesRunWhereTheDeviceHasThem) {
  const auto values = Run({},
                          "double x = double(UNIFORM_BUFFER(data)[1]) + 0.1lf;\n"
                          "UNIFORM_BUFFER(data)[0] = uint(x * 1.0e9lf);\n"_s);
  if (values) {
    EXPECT_EQ((*values)[0], 100000000u);
  } else {
    EXPECT_THAT(values, IsErrorWith(kIllegalArgumentError,
                                    "The GPU program \"net.ostra.test.krn\" uses 64-bit floats, "
                                    "which the GPU device does not support."));
  }
}

TEST_F(ShaderFeaturesTest, MoreSharedMemoryThanTheDeviceHasIsRefusedBeforeTheDriverSeesIt) {
  UInt32 room = 0;
  {
    const DrawportContextRef context = Take(MakeContext());
    room = static_cast<Context&>(*context).GetDevice().GetLimits().maxComputeSharedMemorySize;
  }
  const auto run = [&](UInt32 count) {
    // An index that is known would let the optimiser shorten the array.
    return Run(Take(Format("groupSharedMemory uint scratch[@];\n", count)),
               Take(Format("uint place = UNIFORM_BUFFER(data)[1] + @u;\nscratch[place] = 9u;\n"
                           "UNIFORM_BUFFER(data)[0] = scratch[place];\n",
                           count - 1)));
  };
  EXPECT_EQ(Take(run(room / 4))[0], 9u);
  EXPECT_THAT(run(room / 4 + 1),
              IsErrorWith(kIllegalArgumentError,
                          Take(Format("The GPU program \"net.ostra.test.krn\" shares @ bytes in a work group; the GPU "
                                      "device has room for @.",
                                      room + 4, room))
                              .GetView()));
}

}  // namespace

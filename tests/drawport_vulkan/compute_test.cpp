// Programs: parameters of every kind, what a dispatch sees and when, and what is refused.
#include "ostra/render/render_noise.h"
#include "tests/drawport_vulkan/gpu_test.h"
#include "tests/drawport_vulkan/program_builder.h"

using namespace ostra;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using Type = DrawportShaderValueType;

namespace {

class ComputeTest : public GpuTest {};

TEST_F(ComputeTest, RunsAProgramOverABufferAndReadsTheResultBack) {
  std::vector<Float32> input(1000);
  std::iota(input.begin(), input.end(), 1.0f);
  DrawportDeviceBuffer* source = MakeBuffer(input);
  DrawportDeviceBuffer* target = MakeBuffer(4000);
  ProgramBuilder scale(*this);
  scale.Uniform(Type::UInt, "count")
      .Uniform(Type::Float, "factor")
      .Reads("source", "float", 4)
      .Writes("target", "float", 4);
  scale.Run(
      "uint i = InGlobalInvocationID.x;\n"
      "if (i < UNIFORM(count)) UNIFORM_BUFFER(target)[i] = UNIFORM_BUFFER(source)[i] * UNIFORM(factor) + float(i);\n",
      16, [&](ProgramValues& values) {
        values.Set("count", UInt32(1000));
        values.Set("factor", 2.0f);
        values.SetBuffer("source", source);
        values.SetBuffer("target", target);
      });
  const std::vector<Float32> output = Download<Float32>(*target);
  for (std::size_t i = 0; i < input.size(); ++i) ASSERT_EQ(output[i], input[i] * 2 + static_cast<Float32>(i)) << i;
}

TEST_F(ComputeTest, HandsOverValuesOfEveryType) {
  DrawportDeviceBuffer* target = MakeBuffer(64 * 4);
  ProgramBuilder program(*this);
  program.Uniform(Type::Float, "f").Uniform(Type::Float2, "f2").Uniform(Type::Float3, "f3").Uniform(Type::Float4, "f4");
  program.Uniform(Type::Int, "i").Uniform(Type::Int4, "i4").Uniform(Type::UInt, "u").Uniform(Type::UInt4, "u4");
  program.Uniform(Type::Matrix3, "m3").Uniform(Type::Matrix4, "m4").Writes("target", "float", 4);
  program.Run(
      "if (InGlobalInvocationID.x != 0u) return;\n"
      "int n = 0;\n"
      "UNIFORM_BUFFER(target)[n++] = UNIFORM(f);\n"
      "for (int k = 0; k < 2; ++k) UNIFORM_BUFFER(target)[n++] = UNIFORM(f2)[k];\n"
      "for (int k = 0; k < 3; ++k) UNIFORM_BUFFER(target)[n++] = UNIFORM(f3)[k];\n"
      "for (int k = 0; k < 4; ++k) UNIFORM_BUFFER(target)[n++] = UNIFORM(f4)[k];\n"
      "UNIFORM_BUFFER(target)[n++] = float(UNIFORM(i));\n"
      "for (int k = 0; k < 4; ++k) UNIFORM_BUFFER(target)[n++] = float(UNIFORM(i4)[k]);\n"
      "UNIFORM_BUFFER(target)[n++] = float(UNIFORM(u));\n"
      "for (int k = 0; k < 4; ++k) UNIFORM_BUFFER(target)[n++] = float(UNIFORM(u4)[k]);\n"
      "for (int c = 0; c < 3; ++c) for (int k = 0; k < 3; ++k) UNIFORM_BUFFER(target)[n++] = UNIFORM(m3)[c][k];\n"
      "for (int c = 0; c < 4; ++c) for (int k = 0; k < 4; ++k) UNIFORM_BUFFER(target)[n++] = UNIFORM(m4)[c][k];\n",
      1, [&](ProgramValues& values) {
        values.Set("f", 1.0f);
        values.Set("f2", Vector2d32(2, 3));
        values.Set("f3", Vector32(4, 5, 6));
        values.Set("f4", Vector4d32(7, 8, 9, 10));
        values.Set("i", Int32(-11));
        values.Set("i4", Vec4<Int32>(-12, 13, -14, 15));
        values.Set("u", UInt32(16));
        values.Set("u4", Vec4<UInt32>(17, 18, 19, 20));
        values.Set("m3", SquareMatrix32({21, 22, 23}, {24, 25, 26}, {27, 28, 29}));
        values.Set("m4", SquareMatrix4d32({30, 31, 32, 33}, {34, 35, 36, 37}, {38, 39, 40, 41}, {42, 43, 44, 45}));
        values.SetBuffer("target", target);
      });
  const std::vector<Float32> output = Download<Float32>(*target);
  const std::vector<Float32> signs = {-11, -12, 13, -14, 15};
  for (std::size_t i = 0; i < 45; ++i) {
    const Float32 number = static_cast<Float32>(i + 1);
    EXPECT_EQ(output[i], i >= 10 && i < 15 ? signs[i - 10] : number) << i;
  }
}

TEST_F(ComputeTest, SetsAnAffineMatrixAsTheMatrixThatItStandsFor) {
  DrawportDeviceBuffer* target = MakeBuffer(16 * 4);
  const AffineMatrix32 affine({10, 20, 30}, {1, 2, 3}, {4, 5, 6}, {7, 8, 9});
  ProgramBuilder program(*this);
  program.Uniform(Type::Matrix4, "m").Writes("target", "vec4", 16);
  program.Run(
      "if (InGlobalInvocationID.x < 4u) UNIFORM_BUFFER(target)[InGlobalInvocationID.x] = "
      "UNIFORM(m)[InGlobalInvocationID.x];\n",
      1, [&](ProgramValues& values) {
        values.Set("m", affine);
        values.SetBuffer("target", target);
      });
  const SquareMatrix4d32 expected = ToKernelMatrix(affine);
  const std::vector<Vector4d32> output = Download<Vector4d32>(*target);
  EXPECT_THAT(output, ElementsAre(expected.v0, expected.v1, expected.v2, expected.v3));
}

TEST_F(ComputeTest, TakesAVectorOfThreeIntegersAsABufferThatIsSetLikeAValue) {
  DrawportDeviceBuffer* target = MakeBuffer(16);
  ProgramBuilder program(*this);
  program.Value("extent", "uvec3", 12).Writes("target", "uint", 4);
  GpuComputeRef compute = program.Make(
      "if (InGlobalInvocationID.x < 3u) UNIFORM_BUFFER(target)[InGlobalInvocationID.x] = "
      "UNIFORM(extent)[InGlobalInvocationID.x];\n",
      [&](ProgramValues& values) {
        values.Set("extent", Vec3<UInt32>(7, 8, 9));
        values.SetBuffer("target", target);
      });
  Take(compute->UpdateUniforms(_context, true));
  Take(compute->Dispatch(1, 1, 1));
  EXPECT_THAT(Download<UInt32>(*target), ElementsAre(7, 8, 9, 0));
}

TEST_F(ComputeTest, ReadsZeroFromValuesThatNobodySet) {
  DrawportDeviceBuffer* target = MakeBuffer(std::vector<Float32>{5, 5});
  ProgramBuilder program(*this);
  program.Uniform(Type::Float, "unset").Uniform(Type::Gradient, "ramp").Writes("target", "float", 4);
  program.Run(
      "if (InGlobalInvocationID.x != 0u) return;\n"
      "UNIFORM_BUFFER(target)[0] = UNIFORM(unset);\n"
      "UNIFORM_BUFFER(target)[1] = SampleGradient(UNIFORM(ramp), 0.5).x;\n",
      1, [&](ProgramValues& values) { values.SetBuffer("target", target); });
  EXPECT_THAT(Download<Float32>(*target), ElementsAre(0, 0));
}

TEST_F(ComputeTest, GivesTheNoisesOfTheHostBitForBit) {
  std::vector<Vector4d32> places;
  for (int i = 0; i < 64; ++i) {
    const Float32 x = static_cast<Float32>(i);
    places.emplace_back(x * 0.37f, x * -1.7f, 0.5f + x * x, 0);
  }
  DrawportDeviceBuffer* source = MakeBuffer(places);
  DrawportDeviceBuffer* target = MakeBuffer(64 * 4);
  Int32 mode = 0;
  ProgramBuilder program(*this);
  program.Noises().Uniform(Type::NoiseTable, "noiseData_0").Reads("source", "vec4", 16).Writes("target", "float", 4);
  GpuComputeRef compute = program.Make(
      "uint i = InGlobalInvocationID.x;\n"
      "UNIFORM_BUFFER(target)[i] = RenderNoise(0, UNIFORM_BUFFER(source)[i].xyz, 0.25);\n",
      [&](ProgramValues& values) {
        values.Set("noiseMode_0", mode);
        values.SetNoise("noiseData_0", 42, kNoiseDepth);
        values.SetBuffer("source", source);
        values.SetBuffer("target", target);
      });
  const ClassRegistry& noises = Take(ClassRegistry::Find(kRenderNoiseRegistry));
  for (const auto& [number, id] : {std::pair<Int32, Id>{0, kPerlinNoise},
                                   {1, kTurbulenceNoise},
                                   {5, kBoxNoise},
                                   {19, kSemaNoise},
                                   {24, kCellNoise}}) {
    mode = number;
    Take(compute->UpdateUniforms(_context, true));
    Take(compute->Dispatch(1, 1, 1));
    const std::vector<Float32> output = Download<Float32>(*target);
    const auto noise = Take(Take(noises.FindEntryValue(id))->CreateObject<RenderNoiseInterface>());
    Take(noise->Init(42, kNoiseDepth, id));
    for (std::size_t i = 0; i < output.size(); ++i)
      EXPECT_EQ(output[i], noise->Noise(Vector32(places[i].x, places[i].y, places[i].z), 0.25f)) << id.GetView() << i;
  }
}

TEST_F(ComputeTest, KeepsTheValuesThatEachDispatchWasRecordedWith) {
  DrawportDeviceBuffer* target = MakeBuffer(8 * 4);
  ProgramBuilder program(*this);
  UInt32 index = 0;
  program.Uniform(Type::UInt, "index").Writes("target", "uint", 4);
  GpuComputeRef compute =
      program.Make("if (InGlobalInvocationID.x == 0u) UNIFORM_BUFFER(target)[UNIFORM(index)] = UNIFORM(index) + 1u;\n",
                   [&](ProgramValues& values) {
                     values.Set("index", index);
                     values.SetBuffer("target", target);
                   });
  for (index = 0; index < 8; ++index) {
    Take(compute->UpdateUniforms(_context, true));
    Take(compute->Dispatch(1, 1, 1));
    if (index == 3) Take(GetList().Execute(false));
  }
  EXPECT_THAT(Download<UInt32>(*target), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
}

TEST_F(ComputeTest, TakesTheValuesOfOneUpdateFromABinderOfItsOwn) {
  DrawportDeviceBuffer* target = MakeBuffer(2 * 4);
  ProgramBuilder program(*this);
  program.Uniform(Type::UInt, "index").Writes("target", "uint", 4);
  const std::string_view body =
      "if (InGlobalInvocationID.x == 0u) UNIFORM_BUFFER(target)[UNIFORM(index)] = UNIFORM(index) + 1u;\n";
  const auto bindIndex = [target](UInt32 index) {
    return [target, index](ProgramValues& values) {
      values.Set("index", index);
      values.SetBuffer("target", target);
    };
  };
  GpuComputeRef compute = program.Make(body, bindIndex(0));
  Take(compute->UpdateUniformsWith(_context, program.MakeCallbacks(body, bindIndex(1)).bind));
  Take(compute->Dispatch(1, 1, 1));
  EXPECT_THAT(Download<UInt32>(*target), ElementsAre(0, 2));
  Take(compute->UpdateUniforms(_context, true));
  Take(compute->Dispatch(1, 1, 1));
  EXPECT_THAT(Download<UInt32>(*target), ElementsAre(1, 2));
}

TEST_F(ComputeTest, KeepsTheBuffersThatEachDispatchWasRecordedWith) {
  std::vector<DrawportDeviceBuffer*> targets;
  for (int i = 0; i < 20; ++i) targets.push_back(MakeBuffer(4));
  ProgramBuilder program(*this);
  UInt32 index = 0;
  program.Uniform(Type::UInt, "index").Writes("target", "uint", 4);
  GpuComputeRef compute = program.Make(
      "if (InGlobalInvocationID.x == 0u) UNIFORM_BUFFER(target)[0] = UNIFORM(index);\n", [&](ProgramValues& values) {
        values.Set("index", index);
        values.SetBuffer("target", targets[index]);
      });
  for (index = 0; index < 20; ++index) {
    Take(compute->UpdateUniforms(_context, true));
    Take(compute->Dispatch(1, 1, 1));
  }
  for (UInt32 i = 0; i < 20; ++i) EXPECT_THAT(Download<UInt32>(*targets[i]), ElementsAre(i));
}

TEST_F(ComputeTest, ShowsWritesOfADispatchToTheNextOneAfterABarrier) {
  DrawportDeviceBuffer* data = MakeBuffer(1024 * 4);
  ProgramBuilder program(*this);
  program.Writes("data", "uint", 4);
  // Each invocation reads what its neighbour has written.
  GpuComputeRef compute = program.Make(
      "uint i = InGlobalInvocationID.x;\n"
      "UNIFORM_BUFFER(data)[i] = UNIFORM_BUFFER(data)[i] * 2u + 1u;\n",
      [&](ProgramValues& values) { values.SetBuffer("data", data); });
  for (int i = 0; i < 10; ++i) {
    Take(compute->UpdateUniforms(_context, true));
    Take(GetList().AddMemoryBarrier(DrawportBarrierBits::StorageBuffer));
    Take(compute->Dispatch(16, 1, 1));
  }
  EXPECT_THAT(Download<UInt32>(*data), Each(1023u));
}

TEST_F(ComputeTest, CountsWithAtomicCountersWhoseValuesAreSetAndReadInOrder) {
  auto item = Take(_cache->GetAtomicCounter({"hits"_iid, 1}));
  DrawportAtomicCounter* counter = Take(item->MakeValid(*_context));
  EXPECT_EQ(Take(GetList().GetAtomicCounterValue(*counter)), 0u);
  ProgramBuilder program(*this);
  program.Uniform(Type::AtomicUInt, "hits");
  GpuComputeRef compute = program.Make("uint old;\nAtomicAdd(GetAtomicCounter(hits), 1u, old);\n",
                                       [&](ProgramValues& values) { values.SetCounter("hits", counter); });
  Take(compute->UpdateUniforms(_context, true));
  Take(compute->Dispatch(4, 1, 1));
  EXPECT_EQ(Take(GetList().GetAtomicCounterValue(*counter)), 256u);
  Take(compute->Dispatch(1, 1, 1));
  Take(GetList().SetAtomicCounterValue(*counter, 1000));
  Take(compute->Dispatch(1, 1, 1));
  EXPECT_EQ(Take(GetList().GetAtomicCounterValue(*counter)), 1064u);
}

TEST_F(ComputeTest, CopiesValuesOfCountersInTheOrderOfWork) {
  auto item = Take(_cache->GetAtomicCounter({"hits"_iid, 1}));
  DrawportAtomicCounter* counter = Take(item->MakeValid(*_context));
  const UInt64 zero = Take(GetList().RecordCounterRead(*counter));
  std::vector<UInt64> numbers;
  for (UInt32 i = 0; i < 4096; ++i) {
    Take(GetList().SetAtomicCounterValue(*counter, 3 * i));
    numbers.push_back(Take(GetList().RecordCounterRead(*counter)));
    if (i % 1000 == 0) Take(GetList().Execute(false));
  }
  Take(GetList().SetAtomicCounterValue(*counter, 1));
  const auto isGone = [](UInt64 number) {
    return IsErrorWith(kIllegalStateError, "There is no value of the counter read " + std::to_string(number) +
                                               ": it was taken, was dropped, or is too old.");
  };
  EXPECT_THAT(GetList().TakeCounterRead(zero), isGone(zero));
  EXPECT_THAT(GetList().TakeCounterRead(0), isGone(0));
  EXPECT_EQ(Take(GetList().TakeCounterRead(numbers.back())), 3u * 4095);
  for (UInt32 i = 0; i + 1 < numbers.size(); ++i) ASSERT_EQ(Take(GetList().TakeCounterRead(numbers[i])), 3 * i);
  EXPECT_THAT(GetList().TakeCounterRead(numbers[0]), isGone(numbers[0]));
}

TEST_F(ComputeTest, ReadsGroupCountsOfAnIndirectDispatchWhenTheDeviceGetsThere) {
  DrawportDeviceBuffer* counts = MakeBuffer(2 * 16);
  DrawportDeviceBuffer* target = MakeBuffer(256 * 4);
  ProgramBuilder writer(*this);
  writer.Writes("counts", "ivec4", 16);
  GpuComputeRef write =
      writer.Make("if (InGlobalInvocationID.x == 0u) UNIFORM_BUFFER(counts)[1] = ivec4(3, 1, 1, 99);\n",
                  [&](ProgramValues& values) { values.SetBuffer("counts", counts); });
  ProgramBuilder marker(*this);
  marker.Writes("target", "uint", 4);
  GpuComputeRef mark = marker.Make("UNIFORM_BUFFER(target)[InGlobalInvocationID.x] = 1u;\n",
                                   [&](ProgramValues& values) { values.SetBuffer("target", target); });
  Take(write->UpdateUniforms(_context, true));
  Take(write->Dispatch(1, 1, 1));
  Take(GetList().AddMemoryBarrier(DrawportBarrierBits::StorageBuffer));
  Take(mark->UpdateUniforms(_context, true));
  Take(mark->DispatchIndirect(GetList(), *counts, 1));
  const std::vector<UInt32> output = Download<UInt32>(*target);
  EXPECT_EQ(std::accumulate(output.begin(), output.end(), 0u), 192u);
  EXPECT_THAT(mark->DispatchIndirect(GetList(), *counts, 2),
              IsErrorWith(kIllegalArgumentError, "Element 2 is outside a buffer of 2 records of work group counts."));
  EXPECT_THAT(mark->DispatchIndirect(GetList(), *counts, -1), IsErrorOfKind(kIllegalArgumentError));
}

TEST_F(ComputeTest, SharesMemoryInAWorkGroup) {
  DrawportDeviceBuffer* target = MakeBuffer(64 * 4);
  ProgramBuilder program(*this);
  program.Writes("target", "uint", 4).Shared("groupSharedMemory uint numbers[64];\n");
  program.Run(
      "uint i = InLocalInvocationID.x;\nnumbers[i] = i;\ngroupSharedBarrier;\n"
      "UNIFORM_BUFFER(target)[i] = numbers[63u - i];\n",
      1, [&](ProgramValues& values) { values.SetBuffer("target", target); });
  const std::vector<UInt32> output = Download<UInt32>(*target);
  for (UInt32 i = 0; i < 64; ++i) EXPECT_EQ(output[i], 63 - i);
}

TEST_F(ComputeTest, RefusesToRunWithABufferThatIsNotSet) {
  ProgramBuilder program(*this);
  program.Writes("target", "uint", 4);
  GpuComputeRef compute = program.Make("UNIFORM_BUFFER(target)[0] = 1u;\n", [](ProgramValues&) {});
  Take(compute->UpdateUniforms(_context, true));
  EXPECT_THAT(compute->Dispatch(1, 1, 1),
              IsErrorWith(kIllegalStateError, "The parameter \"target\" of the GPU program is not set."));
}

TEST_F(ComputeTest, RunsWithoutABufferThatTheCompilerFindsUnused) {
  DrawportDeviceBuffer* target = MakeBuffer(4);
  ProgramBuilder program(*this);
  program.Writes("target", "uint", 4).Reads("unused", "uint", 4).Uniform(Type::UInt, "unusedValue");
  program.Run("UNIFORM_BUFFER(target)[0] = 1u;\n", 1, [&](ProgramValues& values) {
    values.SetBuffer("target", target);
    values.SetBuffer("unused", target);
    values.Set("unusedValue", UInt32(1));
    values.Set("unknown", UInt32(1));  // an empty handle
  });
  EXPECT_THAT(Download<UInt32>(*target), ElementsAre(1));
}

TEST_F(ComputeTest, RefusesValuesOfAnotherType) {
  DrawportDeviceBuffer* target = MakeBuffer(4);
  ProgramBuilder program(*this);
  program.Writes("target", "float", 4).Uniform(Type::Float, "factor");
  GpuComputeRef compute = program.Make("UNIFORM_BUFFER(target)[0] = UNIFORM(factor);\n", [&](ProgramValues& values) {
    EXPECT_THAT(values.TrySet("factor", UInt32(1)),
                IsErrorWith(kIllegalArgumentError, "The parameter \"factor\" of the GPU program is of another type."));
    EXPECT_THAT(values.TrySet("target", UInt32(1)), IsErrorOfKind(kIllegalArgumentError));
    EXPECT_THAT(values.TrySetBuffer("factor", target), IsOk());  // no buffer of that name: an empty handle
    values.SetBuffer("target", target);
  });
  Take(compute->UpdateUniforms(_context, true));
}

TEST_F(ComputeTest, RefusesGroupCountsThatAreNotBetween1And65535) {
  DrawportDeviceBuffer* target = MakeBuffer(4);
  ProgramBuilder program(*this);
  program.Writes("target", "uint", 4);
  GpuComputeRef compute = program.Make("UNIFORM_BUFFER(target)[0] = 1u;\n",
                                       [&](ProgramValues& values) { values.SetBuffer("target", target); });
  EXPECT_THAT(compute->Dispatch(1, 1, 1),
              IsErrorWith(kIllegalStateError, "The uniforms of the GPU program have not been updated."));
  Take(compute->UpdateUniforms(_context, true));
  EXPECT_THAT(
      compute->Dispatch(0, 1, 1),
      IsErrorWith(kIllegalArgumentError, "0 x 1 x 1 work groups are not between 1 and 65535 in each direction."));
  EXPECT_THAT(compute->Dispatch(1, 1, 65536), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(compute->Dispatch(1, 2, 3), IsOk());
}

TEST_F(ComputeTest, SaysWhereAProgramDoesNotCompile) {
  ProgramBuilder program(*this);
  program.Writes("target", "uint", 4);
  auto compute = Take(CreateObject<GpuComputeInterface>(kGpuComputeClass));
  const Result<void> result = compute->Init(
      _context, program.MakeCallbacks("UNIFORM_BUFFER(target)[0] = nothing;\n", [](ProgramValues&) {}), {});
  EXPECT_THAT(result, IsErrorContaining(kIllegalArgumentError, "nothing"));
  EXPECT_THAT(compute->Dispatch(1, 1, 1), IsErrorOfKind(kIllegalStateError));
}

TEST_F(ComputeTest, KeepsTheOldProgramWhenTheNewOneDoesNotCompile) {
  DrawportDeviceBuffer* target = MakeBuffer(4);
  UInt64 hash = 1;
  String body = "UNIFORM_BUFFER(target)[0] += 1u;\n"_s;
  Int builds = 0;
  GpuComputeCallbacks callbacks;
  callbacks.hash = Take(Delegate<Result<void>(DrawportHashStream&)>::Create([&](DrawportHashStream& stream) {
    stream.Write(hash);
    return Result<void>(OK);
  }));
  callbacks.build = Take(DrawportProgramBuilder::Create([&](DrawportProgramDescription& program) -> Result<void> {
    ++builds;
    OSTRA_RETURN_IF_ERROR(program.AddBufferParameter(DrawportStage::Compute,
                                                     {.typeName = "uint"_s, .members = {}, .byteSize = 4}, "target"_iid,
                                                     DrawportBufferAccess::ReadWrite));
    OSTRA_RETURN_IF_ERROR(program.AddCode(DrawportStage::Compute, kAppendCode, body));
    return program.SetComputeShaderProperties(1, 1, 1);
  }));
  callbacks.bind =
      Take(DrawportParameterBinder::Create([&](DrawportProgramFactory& factory, DrawportParameterValueSet& values,
                                               Block<const DrawportParameter> parameters) {
        EXPECT_EQ(parameters.GetCount(), 1);
        return factory.SetParameterBuffer(values, factory.GetBufferParameterHandle(parameters[0].name), target);
      }));
  auto compute = Take(CreateObject<GpuComputeInterface>(kGpuComputeClass));
  Take(compute->Init(_context, callbacks, {}));
  const auto run = [&] {
    Take(compute->UpdateUniforms(_context, true));
    Take(compute->Dispatch(1, 1, 1));
    return Download<UInt32>(*target)[0];
  };
  EXPECT_EQ(run(), 1u);
  EXPECT_THAT(compute->ReloadProgramFactory(_context), IsOk());
  EXPECT_EQ(builds, 1);  // the same hash: nothing to do
  hash = 2;
  body = "no program"_s;
  EXPECT_THAT(compute->ReloadProgramFactory(_context), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_EQ(run(), 2u);
  body = "UNIFORM_BUFFER(target)[0] += 10u;\n"_s;
  EXPECT_THAT(compute->ReloadProgramFactory(_context), IsOk());
  EXPECT_EQ(run(), 12u);
  compute->Reset();
  EXPECT_THAT(compute->UpdateUniforms(_context, true),
              IsErrorWith(kIllegalStateError, "The GPU program has not been initialized."));
}

TEST_F(ComputeTest, RefusesWorkGroupsThatTheDeviceCannotRun) {
  ProgramBuilder program(*this);
  program.Writes("target", "uint", 4).GroupSize(1 << 20, 1, 1);
  auto compute = Take(CreateObject<GpuComputeInterface>(kGpuComputeClass));
  EXPECT_THAT(
      compute->Init(_context, program.MakeCallbacks("UNIFORM_BUFFER(target)[0] = 1u;\n", [](ProgramValues&) {}), {}),
      IsErrorContaining(kIllegalArgumentError, "A work group of 1048576 x 1 x 1"));
}

TEST_F(ComputeTest, RefusesProgramsThatRequireWhatTheDeviceLacks) {
  ProgramBuilder program(*this);
  program.Writes("target", "uint", 4).Requires(static_cast<DrawportFeature>(99));
  auto compute = Take(CreateObject<GpuComputeInterface>(kGpuComputeClass));
  EXPECT_THAT(
      compute->Init(_context, program.MakeCallbacks("UNIFORM_BUFFER(target)[0] = 1u;\n", [](ProgramValues&) {}), {}),
      IsErrorWith(kIllegalStateError,
                  "The GPU device does not support an unknown feature, which the program requires."));
}

TEST_F(ComputeTest, RunsMoreDispatchesThanUniformsHaveRoomFor) {
  DrawportDeviceBuffer* target = MakeBuffer(4);
  ProgramBuilder program(*this);
  UInt32 number = 0;
  program.Uniform(Type::UInt, "number").Writes("target", "uint", 4).GroupSize(1, 1, 1);
  GpuComputeRef compute = program.Make("UNIFORM_BUFFER(target)[0] += UNIFORM(number);\n", [&](ProgramValues& values) {
    values.Set("number", number);
    values.SetBuffer("target", target);
  });
  UInt32 sum = 0;
  for (number = 0; number < 70000; ++number) {
    sum += number;
    Take(compute->UpdateUniforms(_context, true));
    Take(GetList().AddMemoryBarrier(DrawportBarrierBits::StorageBuffer));
    Take(compute->Dispatch(1, 1, 1));
  }
  EXPECT_EQ(Download<UInt32>(*target)[0], sum);
}

TEST_F(ComputeTest, AllocatesNothingPerDispatchOnceWarm) {
  DrawportDeviceBuffer* targets[2] = {MakeBuffer(4), MakeBuffer(4)};
  ProgramBuilder program(*this);
  UInt32 number = 0;
  program.Uniform(Type::UInt, "number").Writes("target", "uint", 4);
  const InternedId numberName = "number"_iid;
  const InternedId targetName = "target"_iid;
  GpuComputeRef compute = program.MakeWithBinder(
      "UNIFORM_BUFFER(target)[0] = UNIFORM(number);\n",
      [&](DrawportProgramFactory& factory, DrawportParameterValueSet& values,
          Block<const DrawportParameter>) -> Result<void> {
        OSTRA_RETURN_IF_ERROR(factory.SetParameterUInt(values, factory.GetParameterHandle(numberName), number));
        return factory.SetParameterBuffer(values, factory.GetBufferParameterHandle(targetName), targets[number % 2]);
      });
  const auto run = [&] {
    for (number = 0; number < 20; ++number) {
      Take(compute->UpdateUniforms(_context, true));
      Take(GetList().AddMemoryBarrier(DrawportBarrierBits::StorageBuffer));
      Take(compute->Dispatch(1, 1, 1));
    }
    Take(GetList().Execute(true));
  };
  for (int i = 0; i < 20; ++i) run();  // every batch has been used
  const Int before = AllocationFaults::GetCount();
  for (int i = 0; i < 20; ++i) run();
  EXPECT_EQ(AllocationFaults::GetCount(), before);
}

}  // namespace

// What the GPU program asks programs to be made of, how their parameters are declared, and how values reach them.
#include "ostra/io/file.h"
#include "ostra/object/class.h"
#include "ostra/render/gradient.h"
#include "parallelprogram/shaderassembly/assembly_records.h"
#include "tests/gpu/calls_fixture.h"

namespace ostra::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

constexpr UInt64 kMultiplier = 0xBF58476D1CE4E5B9ULL;

UInt64 Mix(UInt64 value) {
  value ^= value >> 32;
  value ^= (value >> 20) ^ (value >> 12);
  return value ^ (value >> 7) ^ (value >> 4);
}

// A value of every type that a kernel can declare.
constexpr const char* kAllTypes = R"(#define KERNELINPUTS \
(Float32) f, \
(HalfFloat) h, \
(Vector2d32) f2, \
(Vector32) f3, \
(Vector4d32) f4, \
(half4) h4, \
(UInt32) u, \
(Int32) i, \
(Vec4<UInt32>) u4, \
(Vec4<Int32>) i4, \
(SquareMatrix32) m3, \
(Matrix32) m4, \
(GradientRenderData) g, \
(AtomicUInt32*) c, \
(half2) h2, \
(half3) h3, \
(uint3) u3, \
(const Block<Float32>) source, \
(Block<Vector32>) target

GROUPSIZE(8, 4, 2)

OSTRA_PARALLEL_KERNEL(AllTypes, KERNELINPUTS)
{
	UNIFORM_BUFFER(target)[0] = UNIFORM(f3);
}
OSTRA_PARALLEL_KERNEL_END
)";

class GpuProgramsTest : public GpuCallsTest {
 protected:
  const DrawportProgramDescription& GetDescription(const std::string& label) {
    return GetCache().programs.at(label)->description;
  }
};

TEST_F(GpuProgramsTest, EachTypeOfValueHasItsCode) {
  AddKernel("k"_iid, kAllTypes);
  std::vector<std::string> declared;
  for (const DrawportParameter& parameter : GetDescription("k").GetParameters()) {
    std::string text(parameter.name.GetView());
    if (parameter.kind == DrawportParameterKind::Uniform) {
      text += " code " + std::to_string(static_cast<int>(parameter.valueType));
    } else {
      ASSERT_EQ(parameter.kind, DrawportParameterKind::Buffer) << text;
      text += parameter.isValue ? " value " : " buffer ";
      text += parameter.layout.typeName.GetView();
      text += parameter.access == DrawportBufferAccess::ReadOnly ? " read" : "";
      if (parameter.isValue) text += " of " + std::to_string(parameter.layout.byteSize);
    }
    EXPECT_EQ(parameter.stage, DrawportStage::Compute);
    declared.push_back(text);
  }
  EXPECT_THAT(declared, ElementsAre("f code 1", "h code 1", "f2 code 2", "f3 code 3", "f4 code 4", "h4 code 4",
                                    "u code 18", "i code 14", "u4 code 21", "i4 code 17", "m3 code 6", "m4 code 7",
                                    "g code 28", "c code 29", "h2 code 2", "h3 code 3", "u3 code 20",
                                    "source buffer Float32 read", "target buffer Vector32"));
  EXPECT_THAT(GetDescription("k").GetWorkGroupSize(), ElementsAre(8u, 4u, 2u));
}

// A type without a code is a buffer of one element. The translation of files has no name for it; the front end, which
// writes this kernel anew, declares it by its components.
TEST_F(GpuProgramsTest, ThreeUnsignedIntegersHaveACodeInWrittenTextsOnly) {
  EXPECT_EQ(GetShaderValueForm(GetDataType<Vec3<UInt32>>()).kind, ShaderValueForm::Kind::ValueBuffer);
  EXPECT_EQ(GetShaderValueForm(GetDataType<Vec3<Int32>>()).kind, ShaderValueForm::Kind::ValueBuffer);
  EXPECT_EQ(GetDeclaredValueForm(GetDataType<Vec3<UInt32>>()).type, DrawportShaderValueType::UInt3);
  EXPECT_EQ(GetDeclaredValueForm(GetDataType<Vec3<Int32>>()).type, DrawportShaderValueType::Int3);
  EXPECT_EQ(GetShaderValueForm(GetDataType<AffineMatrix32>()).type, DrawportShaderValueType::Matrix4);
  AddKernel("k"_iid, kAllTypes);
  ASSERT_THAT(program->SetUniform("u3"_iid, Vec3<UInt32>(1, 2, 3)), IsOk());
  TakeCalls();
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("uint3 u3 = 1", "buffer source = -1", "buffer target = -1"));
}

TEST_F(GpuProgramsTest, MatricesReachTheSetterOfTheirSize) {
  AddKernel("k"_iid, kAllTypes);
  SquareMatrix32 square;
  square.v0.x = 2;
  SquareMatrix4d32 square4;
  square4.v0.x = 3;
  AffineMatrix32 affine;
  affine.v1.x = 4;
  ASSERT_THAT(program->SetUniform("m3"_iid, square), IsOk());
  ASSERT_THAT(program->SetUniform("m4"_iid, square4), IsOk());
  TakeCalls();
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("mat3 m3 = 2", "mat4 m4 = 3", "buffer source = -1", "buffer target = -1"));
  ASSERT_THAT(program->SetUniform("m4"_iid, affine), IsOk());
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  EXPECT_THAT(TakeCalls(), Contains("mat4 m4 = 4"));
}

TEST_F(GpuProgramsTest, AGradientIsNotSet) {
  AddKernel("k"_iid, kAllTypes);
  const GradientRef gradient = *CreateObject<GradientInterface>(kGradientClass);
  ASSERT_THAT(program->SetUniform("g"_iid, *gradient->InitRender()), IsOk());
  TakeCalls();
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("buffer source = -1", "buffer target = -1"));
}

TEST_F(GpuProgramsTest, AValueThatIsNoneIsRefused) {
  AddKernel("k"_iid, kKernel);
  EXPECT_THAT(program->SetUniform("factor"_iid, Data()),
              IsErrorWith(kIllegalArgumentError, "The uniform \"factor\" was given no value."));
  TakeCalls();
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("buffer values = -1", "texture image = -1"));
}

TEST_F(GpuProgramsTest, TheFirstSetterThatFailsEndsTheUpdate) {
  AddKernel("k"_iid, kKernel);
  ASSERT_THAT(Store("values"_iid, 3), IsOk());
  ASSERT_THAT(program->AddAtomicCounter("hits"_iid, UInt32(0)), IsOk());
  ASSERT_THAT(program->SetAtomicCounterToActiveKernel("hits"_iid), IsOk());
  ASSERT_THAT(program->SetUniform("factor"_iid, 2.0f), IsOk());
  const std::vector<std::string> all = {"float factor = 2", "buffer values = 12", "texture image = -1",
                                        "counter hits = 0"};
  for (std::size_t i = 0; i < all.size(); ++i) {
    device.failing = all[i];
    TakeCalls();
    EXPECT_THAT(program->UpdateUniforms(), IsErrorWith(kIllegalStateError, "made-up failure"));
    EXPECT_EQ(TakeCalls(), std::vector<std::string>(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(i) + 1));
  }
  device.failing = "";
  EXPECT_THAT(program->UpdateUniforms(), IsOk());
}

TEST_F(GpuProgramsTest, ABuilderBeginsWithoutNoisesAndNamesWhoSetsItsParameters) {
  GetCache().prepare = [](DrawportProgramDescription& description) {
    EXPECT_THAT(description.AddNoiseFunction(DrawportStage::Compute, "net.ostra.render.rendernoiseclass.box"_id, 0),
                IsOk());
  };
  AddKernel("k"_iid, kKernel);
  const DrawportProgramDescription& kernel = GetDescription("k");
  EXPECT_TRUE(kernel.GetNoiseFunctions().IsEmpty());
  EXPECT_TRUE(static_cast<Bool>(kernel.GetParameterBinder()));
  EXPECT_EQ(kernel.GetOwner(), ("k"_iid).GetHashCode());
  const DrawportProgramDescription& copy = GetDescription("net.ostra.kernel.copy");
  EXPECT_TRUE(static_cast<Bool>(copy.GetParameterBinder()));
  EXPECT_EQ(copy.GetOwner(), HashText("net.ostra.kernel.copy"));
}

TEST_F(GpuProgramsTest, TheFirstStepThatFailsEndsABuilder) {
  GetCache().prepare = [](DrawportProgramDescription& description) {
    const auto binder =
        DrawportParameterBinder::Create([](DrawportProgramFactory&, DrawportParameterValueSet&,
                                           Block<const DrawportParameter>) -> Result<void> { return OK; });
    EXPECT_THAT(description.SetParameterInitializationHandler(*binder, 1), IsOk());  // there is only one
  };
  const DiagnosticRecorder diagnostics;
  TakeCalls();
  ASSERT_THAT(program->AddKernel("k"_iid, Write("k.krn", kKernel), true), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre());
  EXPECT_THAT(program->UpdateUniforms(), IsErrorOfKind(kIllegalStateError));
  EXPECT_EQ(GetCachedParserCount(), 0);  // the file was not even read
}

TEST_F(GpuProgramsTest, AKernelThatIsGoneIsNotFound) {
  AddKernel("k"_iid, kKernel);
  const StrongRef<RecordingProgramItem> item = GetCache().programs["k"];
  const DrawportProgramBuilder builder = GetCache().lastBuilder;
  RecordingValues values;
  const auto bind = [&] { return item->description.GetParameterBinder()(item->program, values, {}); };
  EXPECT_THAT(bind(), IsOk());
  ASSERT_THAT(program->Reset(), IsOk());
  EXPECT_THAT(bind(), IsErrorWith(kIllegalStateError, "kernel not found"));
  DrawportProgramDescription description;
  EXPECT_THAT(builder(description), IsErrorWith(kIllegalStateError, "kernel not found"));
}

TEST_F(GpuProgramsTest, TheHashOfAProgramIsMadeOfTheNameAndTheStampOfItsFile) {
  const Url file = Write("net.ostra.test.calls.krn", kKernel);
  for (int round = 0; round < 2; ++round) {
    const InternedId id = *InternedId::Create("k@", round);
    ASSERT_THAT(program->AddKernel(id, file, true), IsOk());
    ASSERT_THAT(program->UpdateUniforms(), IsOk());
    EXPECT_EQ(device.valueSets.back().second,
              Mix(*GetModificationStamp(file)) + Mix(HashText("net.ostra.test.calls.krn")) * kMultiplier + 1);
    Write("net.ostra.test.calls.krn", kKernel);  // another stamp
  }
  ASSERT_THAT(Store("a"_iid, 3), IsOk());
  ASSERT_THAT(Store("b"_iid, 3), IsOk());
  ASSERT_THAT(program->CopyBufferData("a"_iid, "b"_iid, 3, 0, 0), IsOk());
  EXPECT_EQ(device.valueSets.back().second, Mix(HashText("net.ostra.kernel.copy")));
}

TEST_F(GpuProgramsTest, AKernelWhoseProgramIsThereAlreadyIsReadForItsSize) {
  const Url file = Write("net.ostra.test.calls.krn", kKernel);
  ASSERT_THAT(program->AddKernel("k"_iid, file, true), IsOk());
  EXPECT_EQ(GetCachedParserCount(), 1);
  GetCache().found = GetCache().programs["k"];
  TakeCalls();
  ASSERT_THAT(program->AddKernel("other"_iid, file, true), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("program found"));
  EXPECT_EQ(GetCachedParserCount(), 2);
  // The key is made of the whole location there, and not of the name.
  AtomicInt32 lock;
  KernelSource source{file, String(), kTargetGlsl};
  source.key = MakeParserKey(file.GetHashCode(), ("other"_iid).GetHashCode(), *GetModificationStamp(file));
  const auto parsed = ParseKernel(source, lock);
  ASSERT_THAT(parsed, IsOk());
  EXPECT_EQ(GetCachedParserCount(), 2);
  ASSERT_THAT(program->UpdateUniforms(), IsOk());
  TakeCalls();
  ASSERT_THAT(program->DispatchKernel(9, 9, 1, true), IsOk());
  EXPECT_THAT(TakeCalls(), ElementsAre("dispatch 2 3 1"));
  // Its textures are known as well: linking one says nothing.
  TextureBindData texture = Describe(4, 4);
  ASSERT_THAT(program->StoreTextureBindData("image"_iid, texture, false), IsOk());
  const DiagnosticRecorder diagnostics;
  ASSERT_THAT(program->SetTextureToActiveKernelSameId("image"_iid), IsOk());
  EXPECT_THAT(diagnostics.GetLines(), ElementsAre());
}

}  // namespace
}  // namespace ostra::test

#include "tests/drawport_vulkan/gpu_test.h"

using namespace ostra;
using testing::Each;
using testing::ElementsAre;
using testing::Eq;

namespace {

constexpr DrawportStage kCompute = DrawportStage::Compute;

class ComputeTest : public GpuTest {
 protected:
  // out[i] = in[i] * factor + i
  GpuComputeRef MakeScale() {
    const auto build = [](DrawportProgramDescription& program) -> Result<void> {
      OSTRA_RETURN_IF_ERROR(program.AddRequiredFeature(kCompute, DrawportFeature::ComputeShader));
      OSTRA_RETURN_IF_ERROR(program.AddUniformParameter(kCompute, DrawportShaderValueType::UInt, "count"_iid));
      OSTRA_RETURN_IF_ERROR(program.AddUniformParameter(kCompute, DrawportShaderValueType::Float, "factor"_iid));
      OSTRA_RETURN_IF_ERROR(program.AddBufferParameter(kCompute, {.typeName = "float"_s, .members = {}, .byteSize = 4},
                                                       "source"_iid, DrawportBufferAccess::ReadOnly));
      OSTRA_RETURN_IF_ERROR(program.AddBufferParameter(kCompute, {.typeName = "float"_s, .members = {}, .byteSize = 4},
                                                       "target"_iid, DrawportBufferAccess::ReadWrite));
      OSTRA_RETURN_IF_ERROR(program.AddCode(kCompute, kAppendCode,
                                            "uint i = InGlobalInvocationID.x;\n"
                                            "if (i < UNIFORM(count))\n"
                                            "{\n"
                                            "  UNIFORM_BUFFER(target)[i] = UNIFORM_BUFFER(source)[i] * "
                                            "UNIFORM(factor) + float(i);\n"
                                            "}\n"_s));
      OSTRA_RETURN_IF_ERROR(program.SetComputeShaderProperties(64, 1, 1));
      return program.SetDebugLabel("scale");
    };
    const auto bind = [this](DrawportProgramFactory& factory, DrawportParameterValueSet& values,
                             Block<const DrawportParameter>) -> Result<void> {
      OSTRA_RETURN_IF_ERROR(factory.SetParameterUInt(values, factory.GetParameterHandle("count"_iid), _count));
      OSTRA_RETURN_IF_ERROR(factory.SetParameterFloat(values, factory.GetParameterHandle("factor"_iid), _factor));
      OSTRA_RETURN_IF_ERROR(
          factory.SetParameterBuffer(values, factory.GetBufferParameterHandle("source"_iid), _source));
      return factory.SetParameterBuffer(values, factory.GetBufferParameterHandle("target"_iid), _target);
    };
    return MakeProgram(build, bind);
  }

  UInt32 _count = 0;
  Float32 _factor = 1;
  DrawportDeviceBuffer* _source = nullptr;
  DrawportDeviceBuffer* _target = nullptr;
};

TEST_F(ComputeTest, RunsAProgramOverABufferAndReadsTheResultBack) {
  std::vector<Float32> input(1000);
  std::iota(input.begin(), input.end(), 1.0f);
  _count = 1000;
  _factor = 2;
  _source = MakeBuffer(input);
  _target = MakeBuffer(4000);
  const GpuComputeRef scale = MakeScale();
  Take(scale->UpdateUniforms(_context, true));
  Take(scale->Dispatch(16, 1, 1));
  const std::vector<Float32> output = Download<Float32>(*_target);
  for (std::size_t i = 0; i < input.size(); ++i) ASSERT_EQ(output[i], input[i] * 2 + static_cast<Float32>(i)) << i;
}

}  // namespace

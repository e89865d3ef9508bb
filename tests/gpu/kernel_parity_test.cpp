// The kernels of the library on both programs: the same bits where arithmetic is exact, and within a bound where the
// GPU may round otherwise.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>

#include "parallelprogram/program/noise_modes.h"
#include "tests/gpu/gpu_fixture.h"
#include "tests/kernels/kernel_scenarios.h"

namespace ostra::test {
namespace {

// Bounds of the kernels whose results are not the same bits: distance relative to the larger of value and 1.
struct Bound {
  const char* kernel;
  Float32 distance;
};
constexpr Bound kBounds[] = {
    {"bilateral", 1e-5f},                        // exp
    {"tonemap", 1e-5f},                          // pow, division
    {"nbody", 1e-5f},                            // division and square root, over 256 bodies
    {"squareroots", 1e-6f}, {"terrain", 1e-5f},  // normalize
};

// Runs a scenario through a program, and remembers what there is to be read back.
class ProgramTarget final : public ScenarioTarget {
 public:
  explicit ProgramTarget(ParallelProgramInterface& program) : _program(program) {}

  void SetTypedValue(const char* name, const DataType& type, const void* value) override {
    auto data = Data::CreateCopy(type, value);
    ASSERT_THAT(data, IsOk());
    EXPECT_THAT(_program.SetUniform(MakeId(name), *data), IsOk());
  }
  void SetTypedBuffer(const char* name, const BufferElements& elements) override {
    const Block<const Generic> block(static_cast<const Generic*>(elements.first), elements.count,
                                     elements.elementType.GetSize());
    auto array = GenericBaseArray::CreateCopy(elements.elementType, block);
    ASSERT_THAT(array, IsOk());
    EXPECT_THAT(_program.StoreUniformBufferData(MakeId(name), std::move(*array)), IsOk());
    EXPECT_THAT(_program.SetBufferToActiveKernelSameId(MakeId(name)), IsOk());
    buffers[name] = elements.elementType;
  }
  void SetCounter(const char* name, UInt32 value) override {
    EXPECT_THAT(_program.AddAtomicCounter(MakeId(name), UInt32(0)), IsOk());
    EXPECT_THAT(_program.SetAtomicCounter(MakeId(name), value), IsOk());
    EXPECT_THAT(_program.SetAtomicCounterToActiveKernel(MakeId(name)), IsOk());
    counters.push_back(name);
  }
  void SetNoise(const Id& classId, Int32 seed) override {
    const auto* const mode = std::find(std::begin(kNoiseClasses), std::end(kNoiseClasses), classId);
    EXPECT_THAT(_program.SetUniform("noiseMode_0"_iid, static_cast<Int32>(mode - kNoiseClasses)), IsOk());
    EXPECT_THAT(_program.SetUniform("noiseSeed_0"_iid, Int32(seed)), IsOk());
  }

  std::map<std::string, DataType> buffers;
  std::vector<std::string> counters;

  static InternedId MakeId(std::string_view name) { return *InternedId::Create(name); }

 private:
  ParallelProgramInterface& _program;
};

struct Outcome {
  std::map<std::string, DataType> types;
  std::map<std::string, std::vector<Byte>> buffers;
  std::map<std::string, UInt32> counters;
};

Outcome RunScenario(const Id& programClass, const KernelScenario& scenario) {
  Outcome outcome;
  const ParallelProgramRef program = MakeProgram(programClass);
  if (!program) return outcome;
  AddKernel(*program, "kernel"_iid, GetKernelId(scenario.name));
  ProgramTarget target(*program);
  scenario.prepare(target);
  EXPECT_THAT(program->UpdateUniforms(), IsOk());
  EXPECT_THAT(program->DispatchKernel(scenario.extent.x, scenario.extent.y, scenario.extent.z, false), IsOk());
  EXPECT_THAT(program->Execute(true), IsOk());
  for (const auto& [name, type] : target.buffers)
    outcome.buffers[name] = GetBytes(program->GetGlobalBufferData(ProgramTarget::MakeId(name)));
  for (const std::string& name : target.counters) {
    const auto value = program->GetAtomicCounter(ProgramTarget::MakeId(name));
    EXPECT_THAT(value, IsOk());
    outcome.counters[name] = value ? *value : 0;
  }
  outcome.types = target.buffers;
  return outcome;
}

Bool IsFloat(DataType type) {
  return type == GetDataType<Float32>() ||
         (type.IsMadeWith(kVectorParametricType) && type.GetInnerType() == GetDataType<Float32>());
}

std::vector<Float32> ToFloats(const std::vector<Byte>& bytes) {
  std::vector<Float32> values(bytes.size() / sizeof(Float32));
  MemCopy(values.data(), bytes.data(), static_cast<Int>(bytes.size()));
  return values;
}

// The largest distance of two buffers of floats, relative to values above 1.
Float32 GetDistance(const std::vector<Byte>& a, const std::vector<Byte>& b) {
  const std::vector<Float32> one = ToFloats(a), other = ToFloats(b);
  Float32 largest = 0;
  for (std::size_t i = 0; i < one.size(); ++i) {
    const Float32 distance = std::abs(one[i] - other[i]) / std::max(1.0f, std::abs(one[i]));
    largest = distance <= largest ? largest : distance;  // a distance that is no number is the largest
  }
  return largest;
}

class KernelParityTest : public testing::TestWithParam<KernelScenario> {
 protected:
  void SetUp() override {
    if (!HasDevice()) GTEST_SKIP() << "There is no GPU device on this machine.";
  }
};

TEST_P(KernelParityTest, TheGpuGivesTheResultsOfTheCpu) {
  const KernelScenario& scenario = GetParam();
  const std::string kernel = scenario.name;
  // Three calls of all noises, inlined, are a very long function.
  if (kernel == "terrain" && !std::getenv("OSTRA_TEST_SLOW"))
    GTEST_SKIP() << "A software device compiles this kernel for minutes; set OSTRA_TEST_SLOW to run it.";
  Outcome cpu = RunScenario(kCpuProgramClass, scenario);
  Outcome gpu = RunScenario(kGpuProgramClass, scenario);
  if (kernel == "compact") {  // which finds its values in any order
    for (Outcome* outcome : {&cpu, &gpu}) {
      std::vector<Float32> found = ToFloats(outcome->buffers["found"]);
      std::sort(found.begin(), found.end());
      MemCopy(outcome->buffers["found"].data(), found.data(), static_cast<Int>(found.size() * sizeof(Float32)));
    }
  }
  EXPECT_EQ(gpu.counters, cpu.counters);
  const Bound* bound =
      std::find_if(std::begin(kBounds), std::end(kBounds), [&](const Bound& entry) { return entry.kernel == kernel; });
  for (const auto& [name, bytes] : cpu.buffers) {
    ASSERT_EQ(gpu.buffers[name].size(), bytes.size()) << name;
    if (bound == std::end(kBounds) || !IsFloat(cpu.types[name])) {
      EXPECT_TRUE(gpu.buffers[name] == bytes)
          << name << " differs" << (IsFloat(cpu.types[name]) ? " by up to " : "")
          << (IsFloat(cpu.types[name]) ? std::to_string(GetDistance(bytes, gpu.buffers[name])) : "");
    } else {
      const Float32 distance = GetDistance(bytes, gpu.buffers[name]);
      EXPECT_LE(distance, bound->distance) << name;
      char text[32];
      std::snprintf(text, sizeof(text), "%g", static_cast<double>(distance));
      RecordProperty(name + "_distance", text);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Library, KernelParityTest, testing::ValuesIn(GetKernelScenarios()),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace ostra::test

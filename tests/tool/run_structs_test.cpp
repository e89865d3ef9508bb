// Buffers of structs: the same bytes on the CPU, on the GPU and in files.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <filesystem>

#include "tests/support/temporary_folder.h"
#include "tests/tool/tool_process.h"
#include "tests/tool/word_values.h"

namespace ostra {
namespace {

using testing::HasSubstr;

struct Body {
  std::array<float, 3> axis;
  float mass;
  std::array<float, 2> spin;
};

// Matrices are columns.
struct Particle {
  std::array<float, 3> position;
  unsigned id;
  Body body;
  std::array<float, 9> frame;
  std::array<float, 16> turn;
  std::array<float, 4> colour;
  int cells[3];
  std::array<unsigned, 2> cell;
  Body others[2];
};
static_assert(sizeof(Particle) == 224);

constexpr std::size_t kCount = 300;

// Numbers whose sums and products are exact.
template <class T>
std::vector<T> MakeValues(std::size_t count) {
  std::vector<T> values(count);
  for (std::size_t i = 0; i < count * sizeof(T) / 4; ++i) {
    const float number = static_cast<float>(i % 97) * 0.25f - 8.0f;
    std::memcpy(reinterpret_cast<char*>(values.data()) + 4 * i, &number, 4);
  }
  return values;
}

std::vector<Particle> MakeParticles() {
  std::vector<Particle> particles = MakeValues<Particle>(kCount);
  for (std::size_t i = 0; i < kCount; ++i) {
    const int number = static_cast<int>(i);
    particles[i].id = 1000 + static_cast<unsigned>(i);
    particles[i].cell = {static_cast<unsigned>(i), 7};
    for (int k = 0; k < 3; ++k) particles[i].cells[k] = number * (k - 1);
  }
  return particles;
}

template <std::size_t count>
std::array<float, count> Multiply(const std::array<float, count * count>& columns,
                                  const std::array<float, count>& vector) {
  std::array<float, count> product{};
  for (std::size_t column = 0; column < count; ++column)
    for (std::size_t row = 0; row < count; ++row) product[row] += columns[column * count + row] * vector[column];
  return product;
}

std::vector<Particle> MakeExpected(std::vector<Particle> particles, const std::vector<Body>& bodies) {
  for (std::size_t i = 0; i < particles.size(); ++i) {
    Particle& p = particles[i];
    p.position = Multiply<3>(p.frame, p.position);
    p.id += 1;
    p.body.mass = bodies[i].mass * bodies[i].spin[1];
    p.colour = Multiply<4>(p.turn, p.colour);
    p.cells[1] = p.cells[0] - p.cells[2];
    p.cell = {p.cell[1], p.id};
    p.others[1].axis = p.others[0].axis;
    p.others[0] = bodies[i];
    p.body.spin[0] = 0.25f;
  }
  return particles;
}

class RunStructsTest : public testing::Test {
 protected:
  RunStructsTest() {
    _folder.Write("bodies.raw", BytesOf(MakeValues<Body>(kCount)));
    _folder.Write("particles.raw", BytesOf(MakeParticles()));
  }

  ToolResult Run(const std::string& backend, const std::string& target, const std::string& source = "particles.raw") {
    return RunTool({"run", GetTestKernel("net.example.particles.krn"), "--in", "source=" + _folder / source, "--in",
                    "bodies=" + _folder / "bodies.raw", "--out", "target=" + _folder / target, "--set",
                    "count=" + std::to_string(kCount), "--size", std::to_string(kCount), "--backend", backend});
  }

  // "Particle" with these members is the element of a buffer.
  ToolResult RunMember(const std::string& backend, const std::string& members) {
    _folder.Write("net.example.one.h", "struct Particle\n{\n" + members + "\n};\n");
    _folder.Write("net.example.one.krn",
                  "#include \"net.example.one.h\"\n#define KERNELINPUTS \\\n(Block<Particle>) particles\n\n"
                  "OSTRA_PARALLEL_KERNEL(One, KERNELINPUTS)\n{\n\tUNIFORM_BUFFER(particles)[0] = "
                  "UNIFORM_BUFFER(particles)[1];\n}\nOSTRA_PARALLEL_KERNEL_END\n");
    if (backend == "check") return RunTool({"check", _folder / "net.example.one.krn"});
    return RunTool({"run", _folder / "net.example.one.krn", "--in", "particles=zeros:4", "--backend", backend});
  }

  TemporaryFolder _folder;
};

TEST_F(RunStructsTest, TheCpuAndTheGpuGiveTheBytesOfTheStruct) {
  const std::string expected = BytesOf(MakeExpected(MakeParticles(), MakeValues<Body>(kCount)));
  const ToolResult cpu = Run("cpu", "cpu.raw");
  ASSERT_EQ(cpu.exitStatus, 0) << cpu.errors;
  EXPECT_EQ(_folder.Read("cpu.raw"), expected);
  const ToolResult gpu = Run("gpu", "gpu.raw");
  if (gpu.errors.find("--backend cpu runs the kernel without one") != std::string::npos)
    GTEST_SKIP() << "There is no GPU device on this machine.";
  ASSERT_EQ(gpu.exitStatus, 0) << gpu.errors;
  EXPECT_EQ(_folder.Read("gpu.raw"), expected);
}

// A file of version 1, put together as the format describes it.
std::string MakeNpy(const std::string& description, const std::string& shape, const std::string& bytes) {
  std::string header = "{'descr': " + description + ", 'fortran_order': False, 'shape': " + shape + ", }";
  header.append(63 - (10 + header.size()) % 64, ' ').push_back('\n');
  return std::string("\x93NUMPY\x01\0", 8) + static_cast<char>(header.size() & 0xFF) +
         static_cast<char>(header.size() >> 8) + header + bytes;
}

const std::string kBodyRecord = "[('axis', '<f4', (3,)), ('mass', '<f4'), ('spin', '<f4', (2,))]";
const std::string kParticleRecord = "[('position', '<f4', (3,)), ('id', '<u4'), ('body', " + kBodyRecord +
                                    "), ('frame', '<f4', (3, 3)), ('turn', '<f4', (4, 4)), ('colour', '<f4', (4,)), "
                                    "('cells', '<i4', (3,)), ('cell', '<u4', (2,)), ('others', " +
                                    kBodyRecord + ", (2,))]";

TEST_F(RunStructsTest, ArrayFilesHoldThemAsRecords) {
  _folder.Write("particles.npy", MakeNpy(kParticleRecord, "(300,)", BytesOf(MakeParticles())));
  const std::string expected =
      MakeNpy(kParticleRecord, "(300,)", BytesOf(MakeExpected(MakeParticles(), MakeValues<Body>(kCount))));
  const ToolResult cpu = Run("cpu", "cpu.npy", "particles.npy");
  ASSERT_EQ(cpu.exitStatus, 0) << cpu.errors;
  EXPECT_EQ(_folder.Read("cpu.npy"), expected);
  const ToolResult gpu = Run("gpu", "gpu.npy", "particles.npy");
  if (gpu.errors.find("--backend cpu runs the kernel without one") != std::string::npos)
    GTEST_SKIP() << "There is no GPU device on this machine.";
  ASSERT_EQ(gpu.exitStatus, 0) << gpu.errors;
  EXPECT_EQ(_folder.Read("gpu.npy"), expected);
}

TEST_F(RunStructsTest, ARecordThatIsNotTheStructIsRefusedInTheSameWords) {
  std::string description = kParticleRecord;
  description.replace(description.find("('mass', '<f4')"), 15, "('mass', '<f8')");
  _folder.Write("other.npy", MakeNpy(description, "(1,)", std::string(230, 'x')));
  for (const std::string backend : {"cpu", "gpu"})
    EXPECT_THAT(Run(backend, "out.npy", "other.npy").errors,
                HasSubstr("other.npy cannot be read: the field \"body.mass\" is <f8, and the member of the struct Body "
                          "is <f4."))
        << backend;
}

TEST_F(RunStructsTest, BothAreComparedNumberByNumber) {
  const ToolResult both = Run("both", "both.raw");
  if (both.errors.find("--backend cpu runs the kernel without one") != std::string::npos)
    GTEST_SKIP() << "There is no GPU device on this machine.";
  EXPECT_EQ(both.exitStatus, 0) << both.errors;
  EXPECT_EQ(_folder.Read("both.raw"), BytesOf(MakeExpected(MakeParticles(), MakeValues<Body>(kCount))));
}

TEST_F(RunStructsTest, OnesFillEveryNumber) {
  ASSERT_EQ(RunTool({"run", GetTestKernel("net.example.particles.krn"), "--in", "source=zeros:2", "--in",
                     "bodies=ones:2", "--out", "target=" + _folder / "ones.raw", "--set", "count=2", "--size", "2"})
                .exitStatus,
            0);
  Particle particle;
  std::memcpy(&particle, _folder.Read("ones.raw").data(), sizeof(particle));
  EXPECT_EQ(particle.others[0].spin[1], 1.0f);
  EXPECT_EQ(particle.body.mass, 1.0f);
  EXPECT_EQ(particle.others[1].mass, 0.0f);
}

TEST_F(RunStructsTest, AllTargetsTakeThem) {
  const ToolResult result = RunTool({"check", GetTestKernel("net.example.particles.krn")});
  EXPECT_EQ(result.exitStatus, 0) << result.errors;
  EXPECT_THAT(result.output, HasSubstr(", 0 warnings"));
}

TEST_F(RunStructsTest, AMemberWithOtherBytesOnAGpuIsRefusedInTheSameWords) {
  const std::string text =
      "net.example.one.h:4:7: error: the member \"isOn\" of the struct \"Particle\" is bool: a bool has 1 byte on the "
      "CPU and 4 on a GPU: use uint\n";
  for (const std::string backend : {"cpu", "gpu", "check"})
    EXPECT_THAT(RunMember(backend, "\tfloat x;\n\tbool isOn;").errors, HasSubstr(text)) << backend;
  for (const std::string backend : {"cpu", "gpu", "check"})
    EXPECT_THAT(RunMember(backend, "\thalf x;\n\tfloat y;").errors,
                HasSubstr(":4:8: error: the struct \"Particle\" has 2 bytes at the member \"y\""))
        << backend;
}

TEST_F(RunStructsTest, ALineThatTheGpuWouldReadOtherwiseIsRefused) {
  const std::string text =
      "net.example.one.h:3: error: this line of the struct \"Particle\" is not read by the translation for the GPU: "
      "write \"struct Name\", the braces and each member \"type name;\" on lines of their own";
  EXPECT_EQ(RunMember("cpu", "\tfloat x, y;").exitStatus, 0);
  EXPECT_THAT(RunMember("check", "\tfloat x, y;").errors, HasSubstr(text));
}

TEST_F(RunStructsTest, HalfFloatsWarnOfOldShaderModels) {
  const ToolResult result = RunMember("check", "\thalf a;\n\thalf3 b;");
  EXPECT_EQ(result.exitStatus, 0) << result.errors;
  EXPECT_THAT(result.output + result.errors, HasSubstr("the half floats of \"particles\" need shader model 6.2"));
  EXPECT_EQ(RunMember("cpu", "\thalf a;\n\thalf3 b;").exitStatus, 0);
}

TEST_F(RunStructsTest, AnUnknownTypeIsNamed) {
  EXPECT_THAT(RunMember("check", "\tFlot x;").errors, HasSubstr("Flot"));
  EXPECT_THAT(RunMember("check", "\tPlace x;").errors, HasSubstr(":3:2: error: unknown type \"Place\"\n\tPlace x;"));
}

}  // namespace
}  // namespace ostra

// Buffers of structs: the same bytes on the CPU, on the GPU and in files.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <type_traits>

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

// Integers of all sizes, as members, elements of arrays and members of other structs.
struct Counters {
  std::array<std::uint8_t, 4> flags;
  std::int16_t level;
  std::uint16_t mask;
};
struct Record {
  std::int64_t total;
  std::uint64_t bits;
  Counters first;
  Counters others[2];
  std::int8_t low;
  std::uint8_t high;
  std::int16_t step;
  std::int32_t k;
};
static_assert(sizeof(Record) == 48);

constexpr const char* kRecordKernel =
    "struct Counters\n{\n\tUInt8 flags[4];\n\tInt16 level;\n\tUInt16 mask;\n};\n\n"
    "struct Record\n{\n\tInt64 total;\n\tUInt64 bits;\n\tCounters first;\n\tCounters others[2];\n\tInt8 low;\n"
    "\tUInt8 high;\n\tInt16 step;\n\tint k;\n};\n\n"
    "#define KERNELINPUTS \\\n(const Block<Record>) source, \\\n(Block<Record>) target\n\n"
    "Counters Twist(Counters x, int by) { x.level = x.level * by; x.flags[1] += 200; return x; }\n\n"
    "OSTRA_PARALLEL_KERNEL(Records, KERNELINPUTS)\n{\n\tuint i = LinearInvocation();\n"
    "\tRecord r = UNIFORM_BUFFER(source)[i];\n"
    "\tr.total = r.total * 3 - r.low;\n\tr.bits ^= uint64_t(r.high) << 40;\n"
    "\tr.first = Twist(r.first, r.step);\n\tr.others[1].level++;\n"
    "\tr.others[0].flags[i & 3u] = r.low + r.high;\n\tr.low -= 100;\n"
    "\tr.k = r.low < 0 ? r.first.mask : -r.first.level;\n\tUNIFORM_BUFFER(target)[i] = r;\n"
    "\tUNIFORM_BUFFER(target)[i].step *= 7;\n\tUNIFORM_BUFFER(target)[i].first.flags[2] ^= 0x5a;\n"
    "\tUNIFORM_BUFFER(target)[i].high++;\n}\nOSTRA_PARALLEL_KERNEL_END\n";

Record Advance(Record r, std::size_t i) {
  const auto cut = [](auto& target, std::int64_t value) {
    target = static_cast<std::decay_t<decltype(target)>>(value);
  };
  r.total = static_cast<std::int64_t>(static_cast<std::uint64_t>(r.total) * 3 - static_cast<std::uint64_t>(r.low));
  r.bits ^= std::uint64_t{r.high} << 40;
  cut(r.first.level, std::int64_t{r.first.level} * r.step);
  cut(r.first.flags[1], r.first.flags[1] + 200);
  cut(r.others[1].level, r.others[1].level + 1);
  cut(r.others[0].flags[i % 4], r.low + r.high);
  cut(r.low, r.low - 100);
  r.k = r.low < 0 ? r.first.mask : -r.first.level;
  cut(r.step, std::int64_t{r.step} * 7);
  r.first.flags[2] ^= 0x5a;
  cut(r.high, r.high + 1);
  return r;
}

TEST_F(RunStructsTest, IntegersOfAllSizesAreMembers) {
  _folder.Write("net.example.records.krn", kRecordKernel);
  std::vector<Record> records(kCount), expected(kCount);
  std::uint32_t state = 1;
  for (std::size_t i = 0; i < kCount * sizeof(Record); ++i) {
    state = state * 1664525u + 1013904223u;
    reinterpret_cast<std::uint8_t*>(records.data())[i] = static_cast<std::uint8_t>(state >> 24);
  }
  for (std::size_t i = 0; i < kCount; ++i) expected[i] = Advance(records[i], i);
  _folder.Write("records.raw", BytesOf(records));
  for (const std::string backend : {"cpu", "gpu"}) {
    const ToolResult result =
        RunTool({"run", _folder / "net.example.records.krn", "--in", "source=" + _folder / "records.raw", "--out",
                 "target=" + _folder / (backend + ".raw"), "--size", std::to_string(kCount), "--backend", backend});
    if (backend == "gpu" && (result.errors.find("--backend cpu runs the kernel without one") != std::string::npos ||
                             result.errors.find(", which the GPU device does not support.") != std::string::npos))
      GTEST_SKIP() << result.errors;
    ASSERT_EQ(result.exitStatus, 0) << result.errors;
    EXPECT_EQ(_folder.Read(backend + ".raw"), BytesOf(expected)) << backend;
  }
}

TEST_F(RunStructsTest, IntegersThatALanguageLacksAreRefusedByName) {
  _folder.Write("net.example.records.krn", kRecordKernel);
  const auto check = [this](const std::string& target) {
    return RunTool({"check", _folder / "net.example.records.krn", "--target", target});
  };
  EXPECT_EQ(check("METAL").exitStatus, 0);
  EXPECT_THAT(check("HLSL").errors,
              HasSubstr(":10: error: the member \"total\" of the struct \"Record\" is Int64: HLSL text has no 64-bit "
                        "integers: keep two uint, or translate to GLSL or Metal"));
  EXPECT_THAT(RunMember("check", "\tInt16 a;\n\tInt16 b;").errors,
              HasSubstr("is Int16: HLSL text has no integers of 8 and 16 bits: pack several into a uint"));
  for (const std::string backend : {"cpu", "check"})
    EXPECT_THAT(RunMember(backend, "\tVec2<Int64> x;").errors,
                HasSubstr(":14: error: the member \"x\" of the struct \"Particle\" is Vec2<Int64>: structs in buffers "
                          "have no vectors of integers of 8, 16 and 64 bits"))
        << backend;
}

TEST_F(RunStructsTest, MembersMayHaveNamesThatALanguageKeeps) {
  _folder.Write("net.example.paths.krn",
                "struct Path\n{\n\tfloat length;\n\tint sample;\n\tvec2 texture;\n};\n\n"
                "#define KERNELINPUTS \\\n(Block<Path>) paths\n\nOSTRA_PARALLEL_KERNEL(Paths, KERNELINPUTS)\n{\n"
                "\tuint i = LinearInvocation();\n\tif (i > 1u) return;\n"
                "\tUNIFORM_BUFFER(paths)[i].length = 1.5;\n\tUNIFORM_BUFFER(paths)[i].sample += 7;\n"
                "\tUNIFORM_BUFFER(paths)[i].texture = vec2(2.0, UNIFORM_BUFFER(paths)[i].length);\n}\n"
                "OSTRA_PARALLEL_KERNEL_END\n");
  const std::string record = "[('length', '<f4'), ('sample', '<i4'), ('texture', '<f4', (2,))]";
  struct Path {
    float length;
    int sample;
    std::array<float, 2> texture;
  };
  const std::vector<Path> before = {{0.0f, 1, {}}, {0.0f, 2, {}}},
                          after = {{1.5f, 8, {2.0f, 1.5f}}, {1.5f, 9, {2.0f, 1.5f}}};
  _folder.Write("in.npy", MakeNpy(record, "(2,)", BytesOf(before)));
  for (const std::string backend : {"cpu", "gpu", "both"}) {
    const ToolResult result = RunTool({"run", _folder / "net.example.paths.krn", "--in", "paths=" + _folder / "in.npy",
                                       "--out", "paths=" + _folder / "out.npy", "--size", "2", "--backend", backend});
    if (result.errors.find("--backend cpu runs the kernel without one") != std::string::npos)
      GTEST_SKIP() << "There is no GPU device on this machine.";
    ASSERT_EQ(result.exitStatus, 0) << result.errors;
    EXPECT_EQ(_folder.Read("out.npy"), MakeNpy(record, "(2,)", BytesOf(after))) << backend;
  }
  const ToolResult checked = RunTool({"check", _folder / "net.example.paths.krn"});
  EXPECT_EQ(checked.exitStatus, 0) << checked.errors;
}

TEST_F(RunStructsTest, AnUnknownTypeIsNamed) {
  EXPECT_THAT(RunMember("check", "\tFlot x;").errors, HasSubstr("Flot"));
  EXPECT_THAT(RunMember("check", "\tPlace x;").errors, HasSubstr(":3:2: error: unknown type \"Place\"\n\tPlace x;"));
}

}  // namespace
}  // namespace ostra

// Bodies of a few lines whose numbers are those of C++, on the CPU and on the GPU, with checks and without.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/temporary_folder.h"
#include "tests/tool/tool_process.h"

namespace ostra {
namespace {

constexpr const char* kNoDevice = "There is no GPU device on this machine.";

struct Way {
  const char* name;
  std::vector<std::string> options;
};

class RunLanguageTest : public testing::TestWithParam<Way> {
 protected:
  // The elements of `out`, which one invocation writes: five of type int. `two` is 2, `flags` is true, false, true.
  std::string Run(const std::string& body, const std::string& before = "") {
    _folder.Write("net.example.body.krn",
                  "#define KERNELINPUTS \\\n(Int32) two, \\\n(bvec3) flags, \\\n(Block<Int32>) out\n\n" + before +
                      "OSTRA_PARALLEL_KERNEL(Body, KERNELINPUTS)\n{\n\tif (LinearInvocation() > 0u) return;\n" + body +
                      "\n}\nOSTRA_PARALLEL_KERNEL_END\n");
    std::vector<std::string> arguments = {"run",    _folder / "net.example.body.krn",
                                          "--in",   "out=zeros:5",
                                          "--out",  "out=" + _folder / "out.csv",
                                          "--size", "40",
                                          "--set",  "two=2",
                                          "--set",  "flags=1,0,1"};
    arguments.insert(arguments.end(), GetParam().options.begin(), GetParam().options.end());
    const ToolResult result = RunTool(arguments);
    if (result.errors.find("--backend cpu runs the kernel without one") != std::string::npos) return kNoDevice;
    if (result.errors.find(", which the GPU device does not support") != std::string::npos) return result.errors;
    EXPECT_EQ(result.exitStatus, 0) << result.errors << body;
    std::string numbers = _folder.Read("out.csv");
    for (char& c : numbers) c = c == '\n' ? ' ' : c;
    return numbers;
  }

  TemporaryFolder _folder;
};

#define EXPECT_NUMBERS(numbers, ...)                                                                      \
  do {                                                                                                    \
    const std::string given = Run(__VA_ARGS__);                                                           \
    if (given == kNoDevice || given.find("does not support") != std::string::npos) GTEST_SKIP() << given; \
    EXPECT_EQ(given, numbers);                                                                            \
  } while (false)

TEST_P(RunLanguageTest, NumbersWithAPointAreFloatsBeforeTheyAreDoubles) {
  EXPECT_NUMBERS("1000000014 2000000029 0 0 0 ", R"(
	Float64 d = 0.1;
	UNIFORM_BUFFER(out)[0] = int(d * 10000000000.0);
	UNIFORM_BUFFER(out)[1] = int(Float64(UNIFORM(two)) * 0.1 * 10000000000.0);)");
}

TEST_P(RunLanguageTest, RemaindersBehindCaseHaveTheSignOfTheDividend) {
  EXPECT_NUMBERS("1 -2 0 0 0 ", R"(
	int k = (UNIFORM(two) - 7) % 3;
	switch (k)
	{
		case -5 % 3:
			UNIFORM_BUFFER(out)[0] = 1;
			break;
		default:
			UNIFORM_BUFFER(out)[0] = 2;
	}
	UNIFORM_BUFFER(out)[1] = k;)");
}

TEST_P(RunLanguageTest, RemaindersHaveTheSignOfTheDividend) {
  EXPECT_NUMBERS("-2 2 -1 -63 3 ", R"(
	int k = UNIFORM(two) - 7;
	UNIFORM_BUFFER(out)[0] = k % 3;
	UNIFORM_BUFFER(out)[1] = 5 % (UNIFORM(two) - 5);
	k %= 4;
	UNIFORM_BUFFER(out)[2] = k;
	UNIFORM_BUFFER(out)[3] = -127;
	UNIFORM_BUFFER(out)[UNIFORM(two) + 1] %= 64;
	ivec2 v = ivec2(-7, 7);
	v.yx %= ivec2(4, UNIFORM(two) - 6);
	UNIFORM_BUFFER(out)[4] = v.y + (v.x == -3 ? 0 : 100);)");
}

TEST_P(RunLanguageTest, ComponentsOfBoolVectorsHaveIndices) {
  EXPECT_NUMBERS("101 5 0 110 1 ", R"(
	int k = UNIFORM(two);
	UNIFORM_BUFFER(out)[0] = (UNIFORM(flags)[0] ? 1 : 0) + (UNIFORM(flags)[k - 1] ? 10 : 0) + (UNIFORM(flags)[k] ? 100 : 0);
	bvec3 b = UNIFORM(flags);
	bvec4 all = bvec4(false);
	for (int i = 0; i < 3; ++i) UNIFORM_BUFFER(out)[1] += b[i] ? 1 << i : 0;
	b[0] = !b[0];
	b[k] = b[1];
	UNIFORM_BUFFER(out)[2] = any(b) ? 1 : 0;
	Turn(all[k]);
	Turn(all[1]);
	UNIFORM_BUFFER(out)[3] = (all[0] ? 1 : 0) + (all[1] ? 10 : 0) + (all[2] ? 100 : 0) + (all.w ? 1000 : 0);
	UNIFORM_BUFFER(out)[4] = (all[k--] = false) || !all[k] ? 0 : 1;)",
                 "inline void Turn(inout bool flag)\n{\n\tflag = !flag;\n}\n\n");
}

TEST_P(RunLanguageTest, ValuesAreComputedBeforePlaces) {
  EXPECT_NUMBERS("0 31 41 53 10 ", R"(
	int k = 0;
	float w[4];
	w[k++] = float(k);
	vec3 v[4];
	v[k++].xy = vec2(float(k));
	v[k].xy = vec2(float(k++));
	UNIFORM_BUFFER(out)[0] = int(w[0]);
	UNIFORM_BUFFER(out)[1] = 10 * k + int(v[1].x);
	v[--k].x = float(k);
	UNIFORM_BUFFER(out)[3] = 50 + int(v[2].x);
	k = 1;
	UNIFORM_BUFFER(out)[k] = k++ + 40;
	k = 3;
	UNIFORM_BUFFER(out)[4] = 5;
	UNIFORM_BUFFER(out)[k] *= ++k - 2;)");
}

TEST_P(RunLanguageTest, VectorsAreEqualWhereAllComponentsAre) {
  EXPECT_NUMBERS("1 0 1 0 1 ", R"(
	vec3 a = vec3(1.0, 2.0, float(UNIFORM(two)));
	int2 b = int2(UNIFORM(two), 3);
	bvec3 c = UNIFORM(flags);
	UNIFORM_BUFFER(out)[0] = a == vec3(1.0, 2.0, 2.0) ? 1 : 0;
	UNIFORM_BUFFER(out)[1] = a == vec3(1.0, 2.0, 3.0) ? 1 : 0;
	UNIFORM_BUFFER(out)[2] = b != int2(2, 4) ? 1 : 0;
	UNIFORM_BUFFER(out)[3] = b != int2(2, 3) ? 1 : 0;
	UNIFORM_BUFFER(out)[4] = c == bvec3(true, false, true) ? 1 : 0;)");
}

TEST_P(RunLanguageTest, MembersMayHaveNamesThatALanguageKeeps) {
  EXPECT_NUMBERS("7 2 3 0 0 ", R"(
	Path p = {UNIFORM(two), 2, {3, 4}};
	p.length += 5;
	UNIFORM_BUFFER(out)[0] = p.length;
	UNIFORM_BUFFER(out)[1] = p.sample;
	UNIFORM_BUFFER(out)[2] = p.buffer[0];)",
                 "struct Path { int length, sample; int buffer[2]; };\n");
}

TEST_P(RunLanguageTest, IntegersOf64BitsHaveLimits) {
  EXPECT_NUMBERS("-1 12 7 5 1 ", R"(
	int64_t far = int64_t(UNIFORM(two)) << 40, below = 0 - far;
	uint64_t high = uint64_t(far) << 22;
	UNIFORM_BUFFER(out)[0] = int(min(far, below) >> 41);
	UNIFORM_BUFFER(out)[1] = int(max(far, 0) >> 41) + int(abs(below - 1) >> 41) + 10 * (sign(far) - (sign(below) + 1));
	UNIFORM_BUFFER(out)[2] = int(clamp(below, -5, far) + 12);
	UNIFORM_BUFFER(out)[3] = int(clamp(high, 1u, 5u));
	UNIFORM_BUFFER(out)[4] = max(high, 1u) == high && min(high, uint64_t(far)) == uint64_t(far) ? 1 : 0;)");
}

TEST_P(RunLanguageTest, FloatsThatDoNotFitSmallIntegersAreCutAsInts) {
  EXPECT_NUMBERS("44 -127 212 -32671 41 ", R"(
	float x = float(UNIFORM(two)) * 150.0;
	UInt8 a = x;
	int8_t b = int8_t(x - 470.5 + 300.0);
	UInt8 c[2];
	c[1] = -x - 256.0;
	int16_t d = 32767;
	d += x - 201.25;
	UNIFORM_BUFFER(out)[0] = a;
	UNIFORM_BUFFER(out)[1] = b;
	UNIFORM_BUFFER(out)[2] = c[1];
	UNIFORM_BUFFER(out)[3] = d;
	UNIFORM_BUFFER(out)[4] = uint16_t(half(x) + 65277.0);)");
}

TEST_P(RunLanguageTest, StructsAreMadeOfArrays) {
  EXPECT_NUMBERS("1 30 7 6 42 ", R"(
	int tail[2];
	tail[0] = 30;
	tail[1] = UNIFORM(two);
	Path p = Path(1, tail, vec2(6.0, 7.0));
	tail[0] = 0;
	UNIFORM_BUFFER(out)[0] = p.length;
	UNIFORM_BUFFER(out)[1] = p.tail[0];
	UNIFORM_BUFFER(out)[2] = int(p.end.y);
	Path q = UNIFORM(two) == 2 ? Path(6, p.tail, p.end) : p;
	UNIFORM_BUFFER(out)[3] = q.length;
	UNIFORM_BUFFER(out)[4] = Sum(Path(10, q.tail, vec2(0.0)));)",
                 "struct Path { int length; int tail[2]; vec2 end; };\n"
                 "int Sum(Path p) { return p.length + p.tail[0] + p.tail[1]; }\n\n");
}

TEST_P(RunLanguageTest, ConstantsOfTheFileMayBeStructs) {
  EXPECT_NUMBERS("7 12 5 30 11 ", R"(
	Path p = Path(5, kTail, vec2(0.0));
	int row[kCount] = {1, 2};
	UNIFORM_BUFFER(out)[0] = kPath.length + kPath.tail[UNIFORM(two) - 1];
	UNIFORM_BUFFER(out)[1] = int(kPath.end.y) + kInner.at.tail[1] + kInner.weight;
	UNIFORM_BUFFER(out)[2] = p.length * row[0] + int(kTurned.w) - kMade.weight + kMade.at.tail[0];
	UNIFORM_BUFFER(out)[3] = p.tail[0];
	UNIFORM_BUFFER(out)[4] = Sum(kPath) - kInner.at.tail[0];)",
                 "const int kCount = 2;\n"
                 "const int kTail[kCount] = {30, 40};\n"
                 "struct Path { int length; int tail[kCount]; vec2 end; };\n"
                 "struct Inner { int weight; Path at; };\n"
                 "const Path kPath = {3, {0, 4}, vec2(1.0, 2.0)};\n"
                 "const mat2 kTurn = mat2(4.0);\n"
                 "const vec4 kTurned = vec4(kTurn[1].xy, 1, kTurn[0].x);\n"
                 "const Inner kMade = Inner(4, kPath);\n"
                 "static const Inner kInner = {4, {9, {-4, 6}, {0.5, 0.5}}};\n"
                 "int Sum(Path p) { return p.length + p.tail[0] + p.tail[1]; }\n\n");
}

TEST_P(RunLanguageTest, ConstantsOfTheFileMayBeStructsOfTables) {
  EXPECT_NUMBERS("74 45 21 30 43 ", R"(
	Path p = Path(kMade);
	p.tail[0] = 1;
	UNIFORM_BUFFER(out)[0] = kMade.tail[UNIFORM(two) - 1] + kMade.tail[0] + kMade.length;
	UNIFORM_BUFFER(out)[1] = kOuter.at.tail[UNIFORM(two) - 1] + kOuter.weight;
	UNIFORM_BUFFER(out)[2] = kRow.tail[0] + kRow.tail[1] + kRow.length;
	UNIFORM_BUFFER(out)[3] = Path(kBraced).tail[0] + Point(kPoint).x - int(Point(kPoint).at.y);
	UNIFORM_BUFFER(out)[4] = p.tail[0] + p.tail[1] + kOne.tail[0];)",
                 "static const int kTail[2] = {30, 40};\n"
                 "static const int kRows[2][2] = {{1, 2}, {7, 9}};\n"
                 "struct Path { int tail[2]; int length; };\n"
                 "struct Outer { int weight; Path at; };\n"
                 "struct Point { vec2 at; int x; };\n"
                 "struct One { int tail[1]; };\n"
                 "const Path kMade = Path(kTail, 4);\n"
                 "const Outer kOuter = Outer(5, Path(kTail, 6));\n"
                 "const Path kRow = Path(kRows[1], 5);\n"
                 "static const Path kBraced = {kTail, 3};\n"
                 "static const int kSingle[1] = {2};\n"
                 "const One kOne = One(kSingle);\n"
                 "const Point kFirst = {vec2(1.0, 2.0), 2};\n"
                 "const Point kPoint = Point(kFirst);\n\n");
}

TEST_P(RunLanguageTest, MembersMayHave64Bits) {
  EXPECT_NUMBERS("3 2 9 0 0 ", R"(
	Wide w;
	w.sum = 1.0;
	w.parts[1] = 0.25;
	w.sum += w.parts[1] * 8.0;
	w.count = Int64(UNIFORM(two)) << 40;
	UNIFORM_BUFFER(out)[0] = int(w.sum);
	UNIFORM_BUFFER(out)[1] = int(w.count >> 40);
	UNIFORM_BUFFER(out)[2] = Double(w);)",
                 "struct Wide { double sum; Float64 parts[2]; Int64 count; };\n"
                 "int Double(Wide w) { return int(w.sum * 3.0); }\n\n");
}

INSTANTIATE_TEST_SUITE_P(Ways, RunLanguageTest,
                         testing::Values(Way{"Cpu", {"--backend", "cpu"}},
                                         Way{"CpuWithChecks", {"--backend", "cpu", "--checked"}},
                                         Way{"Gpu", {"--backend", "gpu"}},
                                         Way{"GpuWithChecks", {"--backend", "gpu", "--checked"}}),
                         [](const auto& parameter) { return std::string(parameter.param.name); });

}  // namespace
}  // namespace ostra

// `ostra run --backend both --first-difference`: where a difference of CPU and GPU comes from.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "apps/ostra/run/first_difference.h"
#include "tests/support/temporary_folder.h"
#include "tests/tool/tool_process.h"

namespace ostra {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kHead = "#define KERNELINPUTS \\\n(Block<Float32>) target\n\n";
constexpr const char* kBegin = "OSTRA_PARALLEL_KERNEL(Body, KERNELINPUTS)\n{\n";
constexpr const char* kEnd = "}\nOSTRA_PARALLEL_KERNEL_END\n";

class FirstDifferenceTest : public testing::Test {
 protected:
  void SetUp() override {
    if (RunTool({"run", GetTestKernel("net.example.invert.krn"), "--in", "image=zeros:4x4", "--out",
                 "result=" + _folder / "out.csv", "--backend", "gpu"})
            .exitStatus != 0)
      GTEST_SKIP() << "There is no GPU device on this machine.";
  }

  ToolResult Run(const std::string& kernel, const std::string& size, const std::vector<std::string>& more = {}) {
    _folder.Write("body.krn", kernel);
    std::vector<std::string> command = {"run", _folder / "body.krn", "--out", "target=" + _folder / "out.csv", "--size",
                                        size,  "--backend",          "both"};
    command.insert(command.end(), more.begin(), more.end());
    return RunTool(command);
  }

  // The field firstDifference of a run that must succeed.
  json Find(const std::string& kernel, const std::string& size, const std::string& option = "--first-difference") {
    const ToolResult result = Run(kernel, size, {option, "--json"});
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    if (result.exitStatus != 0) return json();
    return json::parse(result.output)["firstDifference"];
  }

  TemporaryFolder _folder;
};

// "line name" of a value.
std::string NameValue(const json& value) {
  return std::to_string(value["line"].get<int>()) + " " + value["name"].get<std::string>();
}

// "line name" of all values, one a line.
std::string NameValues(const json& difference) {
  std::string text;
  for (const json& value : difference["values"]) text += NameValue(value) + "\n";
  return text;
}

// The first value that differs; whatever is before it is the same on both sides.
json TakeFirst(const json& difference) {
  const std::size_t first = difference["firstValue"].get<std::size_t>();
  for (std::size_t i = 0; i < first; ++i)
    EXPECT_EQ(difference["values"][i]["cpu"], difference["values"][i]["gpu"]) << difference["values"][i];
  EXPECT_NE(difference["values"][first]["cpu"], difference["values"][first]["gpu"]);
  return difference["values"][first];
}

// Last bits of tan are those of a device.
const std::string kTangent = std::string(kHead) + kBegin +
                             "\tuint i = LinearInvocation();\n"
                             "\tfloat x = float(i) * 7.0;\n"
                             "\tfloat y = tan(x);\n"
                             "\tUNIFORM_BUFFER(target)[i] = y + 1.0;\n" +
                             kEnd;

TEST_F(FirstDifferenceTest, TheFirstValueThatDiffersIsMarked) {
  const json difference = Find(kTangent, "200");
  ASSERT_FALSE(difference.is_null());
  EXPECT_EQ(NameValues(difference),
            "6 i\n7 x\n8 y\n9 target[" + std::to_string(difference["invocation"][0].get<int>()) + "]\n");
  EXPECT_EQ(NameValue(TakeFirst(difference)), "8 y");
  EXPECT_EQ(difference["values"][3]["cpu"], difference["cpu"]);
  EXPECT_EQ(difference["values"][3]["gpu"], difference["gpu"]);
  EXPECT_EQ(difference["notes"], json::array());
  EXPECT_EQ(difference["valuesLeftOut"], 0);

  const ToolResult shown = Run(kTangent, "200", {"--first-difference"});
  EXPECT_THAT(shown.output, HasSubstr("first difference: " + difference["place"].get<std::string>() + " is "));
  EXPECT_THAT(shown.output, testing::ContainsRegex("\n8 +y [^\n]*<-- first\n"));
  EXPECT_THAT(shown.output, Not(testing::ContainsRegex("\n7 +x [^\n]*<--")));
}

TEST_F(FirstDifferenceTest, EqualResultsHaveNone) {
  const std::string kernel = std::string(kHead) + kBegin +
                             "\tuint i = LinearInvocation();\n\tUNIFORM_BUFFER(target)[i] = float(i) * 0.5;\n" + kEnd;
  EXPECT_TRUE(Find(kernel, "20").is_null());
  EXPECT_THAT(Run(kernel, "20", {"--first-difference"}).output, HasSubstr("\nfirst difference: none\n"));
}

TEST_F(FirstDifferenceTest, ABoundLeavesSmallDifferencesOut) {
  EXPECT_TRUE(Find(kTangent, "200", "--first-difference=1000").is_null());
  const json difference = Find(kTangent, "200", "--first-difference=1e-30");
  ASSERT_FALSE(difference.is_null());
  EXPECT_EQ(NameValue(TakeFirst(difference)), "8 y");
}

// Element i is not that of invocation i.
TEST_F(FirstDifferenceTest, TheInvocationIsTheOneThatStored) {
  const json difference = Find(std::string(kHead) + kBegin +
                                   "\tuint i = LinearInvocation();\n"
                                   "\tUNIFORM_BUFFER(target)[199u - i] = tan(float(i) * 7.0);\n" +
                                   kEnd,
                               "200");
  ASSERT_FALSE(difference.is_null());
  const int invocation = difference["invocation"][0].get<int>();
  EXPECT_EQ(difference["place"], "target[" + std::to_string(199 - invocation) + "]");
  EXPECT_EQ(difference["values"][0]["cpu"], std::to_string(invocation));
}

TEST_F(FirstDifferenceTest, FunctionsAreLookedInto) {
  const json difference = Find(std::string(kHead) +
                                   "inline float Inner(float x)\n{\n\tfloat y = tan(x);\n\treturn y * 2.0;\n}\n\n"
                                   "inline void Outer(INOUT float x, float by)\n{\n\tx += Inner(by);\n}\n\n" +
                                   kBegin +
                                   "\tuint i = LinearInvocation();\n"
                                   "\tfloat x = 1.0;\n"
                                   "\tOuter(x, float(i) * 7.0);\n"
                                   "\tfloat z = Inner(0.0) - Inner(1.0);\n"
                                   "\tUNIFORM_BUFFER(target)[i] = x + z;\n" +
                                   kEnd,
                               "200");
  ASSERT_FALSE(difference.is_null());
  EXPECT_THAT(NameValues(difference),
              testing::StartsWith("17 i\n18 x\n10 Outer: x\n10 Outer: by\n4 Inner: x\n6 Inner: y\n7 Inner: return\n"
                                  "12 Outer: x\n19 x\n4 Inner: x\n6 Inner: y\n7 Inner: return\n4 Inner: x\n"));
  EXPECT_EQ(NameValue(TakeFirst(difference)), "6 Inner: y");
  EXPECT_EQ(difference["notes"], json::array());
}

TEST_F(FirstDifferenceTest, LoopsAreShownRoundByRound) {
  const json difference = Find(std::string(kHead) + kBegin +
                                   "\tuint i = LinearInvocation();\n"
                                   "\tfloat x = 0.0;\n"
                                   "\tint n = 0;\n"
                                   "\tfor (int k = 0; k < 500; ++k)\n"
                                   "\t\tx += float(k & 1);\n"
                                   "\twhile (n++ < 40)\n"
                                   "\t\tx += tan(float(n) * 7.0) * 16.0;\n"
                                   "\tUNIFORM_BUFFER(target)[i] = x;\n" +
                                   kEnd,
                               "1");
  ASSERT_FALSE(difference.is_null());
  EXPECT_EQ(difference["values"].size(), 3u + 2 * 500 + 2 * 40 + 1);
  EXPECT_EQ(NameValue(difference["values"][5]), "9 k");
  EXPECT_EQ(difference["values"][5]["cpu"], "1");
  EXPECT_EQ(NameValue(TakeFirst(difference)), "12 x");
  // People see the first values, and those around the first that differs.
  const ToolResult shown = Run(_folder.Read("body.krn"), "1", {"--first-difference"});
  EXPECT_THAT(shown.output, HasSubstr("<-- first"));
  EXPECT_THAT(shown.output, testing::ContainsRegex("\\.\\.\\. +[0-9]+ values left out"));
  EXPECT_LT(std::count(shown.output.begin(), shown.output.end(), '\n'), 90);
}

TEST_F(FirstDifferenceTest, StructsVectorsAndMatricesAreShown) {
  const json difference = Find(
      "#define KERNELINPUTS \\\n(Block<float4>) target\n\n"
      "struct Ray\n{\n\tvec3 origin;\n\tfloat reach;\n};\n\n"
      "inline void Move(INOUT Ray ray, float by)\n{\n\tray.origin.x += by;\n}\n\n"
      "GROUPSIZE(4, 4, 1)\n\n"
      "OSTRA_PARALLEL_KERNEL(Body, KERNELINPUTS)\n{\n"
      "\tuint2 at = InGlobalInvocationID.xy;\n"
      "\tRay ray;\n"
      "\tray.origin = vec3(1.0, 2.0, 3.0);\n"
      "\tray.reach = 4.0;\n"
      "\tMove(ray, 0.5);\n"
      "\tmat2 m = mat2(1.0);\n"
      "\tm[1].x = 3.0;\n"
      "\tfloat w[3] = {1.0, 2.0, 3.0};\n"
      "\tw[at.x % 2u] = 5.0;\n"
      "\tbool isFar = ray.reach > 1.0;\n"
      "\tbvec2 both = bvec2(isFar, false);\n"
      "\thalf h = half(0.5);\n"
      "\tvec4 c = vec4(ray.origin, 1.0);\n"
      "\tc.zw = c.wz;\n"
      "\tUNIFORM_BUFFER(target)[at.y * 16u + at.x].xyz = c.xyz;\n"
      "\tUNIFORM_BUFFER(target)[at.y * 16u + at.x].w = tan(float(at.y * 16u + at.x) * 7.0);\n"
      "}\nOSTRA_PARALLEL_KERNEL_END\n",
      "16x16");
  ASSERT_FALSE(difference.is_null());
  ASSERT_EQ(difference["invocation"].size(), 2u);
  const int x = difference["invocation"][0].get<int>(), y = difference["invocation"][1].get<int>();
  const std::string element = "target[" + std::to_string(y * 16 + x) + "]";
  EXPECT_EQ(difference["place"], element);
  std::string text;
  for (const json& value : difference["values"])
    text += value["name"].get<std::string>() + " = " + value["cpu"].get<std::string>() + "\n";
  const std::string last = element + ".w = ";
  EXPECT_EQ(text.substr(0, text.find(last)),
            "at = (" + std::to_string(x) + ", " + std::to_string(y) +
                ")\nray.origin = (1, 2, 3)\nray.reach = 4\n"
                "Move: ray = {origin = (1, 2, 3), reach = 4}\nMove: by = 0.5\nMove: ray.origin = (1.5, 2, 3)\n"
                "ray = {origin = (1.5, 2, 3), reach = 4}\nm = ((1, 0), (0, 1))\nm = ((1, 0), (3, 1))\n"
                "w = {1, 2, 3}\nw[" +
                std::to_string(x % 2) +
                "] = 5\nisFar = true\nboth = (true, false)\nh = 0.5\nc = (1.5, 2, 3, 1)\nc = (1.5, 2, 1, 3)\n" +
                element + " = (1.5, 2, 1, 0)\n");
  EXPECT_EQ(difference["values"][difference["firstValue"].get<std::size_t>()]["name"], element + ".w");
}

TEST_F(FirstDifferenceTest, SidesThatGoDifferentWaysAreTold) {
  const json difference = Find(std::string(kHead) + kBegin +
                                   "\tuint i = LinearInvocation();\n"
                                   "\tint bits = floatBitsToInt(tan(float(i) * 7.0)) & 1;\n"
                                   "\tfloat x = 0.0;\n"
                                   "\tif (bits == 1)\n"
                                   "\t\tx = 1.0;\n"
                                   "\telse\n"
                                   "\t\tx = 2.0;\n"
                                   "\tUNIFORM_BUFFER(target)[i] = x;\n" +
                                   kEnd,
                               "200");
  ASSERT_FALSE(difference.is_null());
  EXPECT_EQ(NameValue(TakeFirst(difference)), "7 bits");
  ASSERT_EQ(difference["notes"].size(), 1u);
  EXPECT_THAT(difference["notes"][0].get<std::string>(),
              HasSubstr("the sides go different ways behind line 8: the CPU to line 1"));
  // One of them is there on one side only.
  EXPECT_EQ(difference["values"][3]["cpu"].is_null(), !difference["values"][3]["gpu"].is_null());
}

TEST_F(FirstDifferenceTest, GroupsAndAtomicOperationsAreFollowed) {
  const json grouped = Find(std::string(kHead) + "GROUPSIZE(8, 1, 1)\n\n" + kBegin +
                                "\tGROUPSHAREDMEM(float, tile, 8)\n"
                                "\tuint i = InLocalInvocationID.x;\n"
                                "\ttile[i] = tan(float(InGlobalInvocationID.x) * 7.0);\n"
                                "\tgroupSharedBarrier;\n"
                                "\tfloat sum = tile[i] + tile[7u - i];\n"
                                "\tUNIFORM_BUFFER(target)[InGlobalInvocationID.x] = sum;\n" +
                                kEnd,
                            "200");
  ASSERT_FALSE(grouped.is_null());
  EXPECT_THAT(NameValues(grouped), HasSubstr("9 i\n10 tile["));
  EXPECT_THAT(NameValues(grouped), HasSubstr("12 sum\n13 target["));

  const json counted = Find("#define KERNELINPUTS \\\n(Block<UInt32>) target\n\n" + std::string(kBegin) +
                                "\tuint i = LinearInvocation();\n"
                                "\tif (i >= 200u)\n"
                                "\t\treturn;\n"
                                "\tuint bin = uint(floatBitsToInt(tan(float(i) * 7.0))) & 3u;\n"
                                "\tuint old = 0u;\n"
                                "\tAtomicAdd(UNIFORM_BUFFER(target)[bin], 1u, old);\n" +
                                kEnd,
                            "200");
  ASSERT_FALSE(counted.is_null());
  EXPECT_EQ(NameValue(TakeFirst(counted)), "9 bin");
  EXPECT_THAT(counted["notes"][0].get<std::string>(), HasSubstr("this invocation stores into the element on the "));
}

constexpr const char* kCountedHead = "#define KERNELINPUTS \\\n(AtomicUInt32*) hits, \\\n(Block<Float32>) target\n\n";

// Counts the invocations whose tangent has a last bit of 1.
std::string MakeCounting(const std::string& operation) {
  return std::string(kCountedHead) + kBegin +
         "\tuint i = LinearInvocation();\n"
         "\tif (i >= 200u)\n"
         "\t\treturn;\n"
         "\tUNIFORM_BUFFER(target)[i] = 1.0;\n"
         "\tuint bit = uint(floatBitsToInt(tan(float(i) * 7.0))) & 1u;\n"
         "\tuint old = 0u;\n" +
         operation + kEnd;
}

TEST_F(FirstDifferenceTest, ACounterShowsTheFirstInvocationThatCountsOnOneSideOnly) {
  const std::string kernel = MakeCounting("\tif (bit == 1u)\n\t\tAtomicAdd(GetAtomicCounter(hits), 1u, old);\n");
  const json difference = Find(kernel, "200");
  ASSERT_FALSE(difference.is_null());
  EXPECT_EQ(difference["place"], "hits");
  EXPECT_NE(difference["cpu"], difference["gpu"]);
  EXPECT_EQ(NameValue(TakeFirst(difference)), "11 bit");
  ASSERT_EQ(difference["notes"].size(), 2u) << difference["notes"];
  EXPECT_THAT(difference["notes"][0].get<std::string>(), HasSubstr("this invocation changes the counter on the "));
  EXPECT_THAT(NameValues(difference), HasSubstr("\n14 AtomicAdd(hits)\n"));
  // No invocation before it counts on one side only.
  const int first = difference["invocation"][0].get<int>();
  for (const char* side : {"cpu", "gpu"})
    EXPECT_EQ(difference["values"][0][side], std::to_string(first)) << difference["values"][0];
  EXPECT_THAT(Run(kernel, "200", {"--first-difference"}).output,
              HasSubstr("\nchanged by invocation " + std::to_string(first) + "\n"));
}

TEST_F(FirstDifferenceTest, ACounterShowsWhatIsAddedToIt) {
  const json difference = Find(MakeCounting("\tAtomicAdd(GetAtomicCounter(hits), bit + i, old);\n"), "200");
  ASSERT_FALSE(difference.is_null());
  EXPECT_EQ(NameValue(TakeFirst(difference)), "11 bit");
  const json last = difference["values"].back();
  EXPECT_EQ(last["name"], "AtomicAdd(hits)");
  EXPECT_NE(last["cpu"], last["gpu"]);
  const json bit = difference["values"][difference["firstValue"].get<std::size_t>()];
  const int invocation = difference["invocation"][0].get<int>();
  EXPECT_EQ(last["cpu"], std::to_string(std::stoi(bit["cpu"].get<std::string>()) + invocation));
  ASSERT_EQ(difference["notes"].size(), 1u) << difference["notes"];
  EXPECT_EQ(difference["notes"][0],
            "200 invocations change the counter; the first one that does so in another way on the GPU is shown");
}

// The last one to come decides: on the CPU the first one, which takes longer and has another thread; in order on
// llvmpipe.
TEST_F(FirstDifferenceTest, ACounterThatDependsOnTheOrderIsToldSo) {
  const std::string kernel = std::string(kCountedHead) + kBegin +
                             "\tuint i = LinearInvocation();\n"
                             "\tUNIFORM_BUFFER(target)[i] = 1.0;\n"
                             "\tuint old = 0u;\n"
                             "\tfloat x = float(i);\n"
                             "\tint steps = i == 0u ? 50000 : 0;\n"
                             "\tfor (int k = 0; k < steps; ++k)\n"
                             "\t\tx = tan(x) + pow(abs(x), 0.5);\n"
                             "\tif (i == 0u || i == 102399u)\n"
                             "\t\tAtomicExchange(GetAtomicCounter(hits), i + (x > 1e9 ? 1u : 2u), old);\n" +
                             kEnd;
  const json difference = Find(kernel, "102400");
  if (difference.is_null()) GTEST_SKIP() << "CPU and GPU took the invocations in one order.";
  ASSERT_FALSE(difference["notes"].empty());
  EXPECT_TRUE(difference["invocation"].is_null());
  EXPECT_THAT(difference["notes"][0].get<std::string>(), HasSubstr("its value depends on their order"));
}

TEST_F(FirstDifferenceTest, TheDispatchIsTheFirstThatDiffers) {
  const std::string kernel = "#define KERNELINPUTS \\\n(const Block<Float32>) now, \\\n(Block<Float32>) target\n\n" +
                             std::string(kBegin) +
                             "\tuint i = LinearInvocation();\n"
                             "\tfloat x = UNIFORM_BUFFER(now)[i] + 1.0;\n"
                             "\tif (x > 2.5)\n"
                             "\t\tx += tan(float(i) * 7.0);\n"
                             "\tUNIFORM_BUFFER(target)[i] = x;\n" +
                             kEnd;
  const ToolResult result =
      Run(kernel, "200",
          {"--in", "now=zeros:200", "--swap", "now,target", "--iterations", "5", "--first-difference", "--json"});
  ASSERT_EQ(result.exitStatus, 0) << result.errors;
  const json difference = json::parse(result.output)["firstDifference"];
  EXPECT_EQ(difference["dispatch"], 3);
  EXPECT_EQ(NameValue(difference["values"][1]), "8 x");
  EXPECT_EQ(difference["values"][1]["cpu"], "3");
  EXPECT_EQ(NameValue(TakeFirst(difference)), "10 x");
  EXPECT_THAT(
      Run(kernel, "200", {"--in", "now=zeros:200", "--swap", "now,target", "--iterations", "5", "--first-difference"})
          .output,
      HasSubstr(", after dispatch 3\n"));
}

TEST_F(FirstDifferenceTest, WhatCannotBeFollowedIsAnError) {
  const ToolResult moved =
      Run(std::string(kHead) + kBegin + "\tuint i = LinearInvocation();\n\tUNIFORM_BUFFER(target)[i++] = 1.0;\n" + kEnd,
          "4", {"--first-difference"});
  EXPECT_EQ(moved.exitStatus, 1);
  EXPECT_THAT(moved.errors, HasSubstr("body.krn:7:"));
  EXPECT_THAT(moved.errors, HasSubstr("a store whose index is changed by its own statement cannot be followed"));
  const ToolResult foreign = Run(std::string(kHead) + kBegin +
                                     "\tuint i = LinearInvocation();\n\tCPU_SCOPE_START\n\tstatic_cast<void>(i);\n"
                                     "\tCPU_SCOPE_END\n\tUNIFORM_BUFFER(target)[i] = 1.0;\n" +
                                     kEnd,
                                 "4", {"--first-difference"});
  EXPECT_EQ(foreign.exitStatus, 1);
  EXPECT_THAT(foreign.errors, HasSubstr("body.krn:7:2: error: a part for the CPU only (CPU_SCOPE_START) is not of the "
                                        "kernel language, and only kernels of it are traced"));
}

// The page's example runs as it is printed.
TEST_F(FirstDifferenceTest, ThePageShowsWhatTheToolShows) {
  std::ifstream file(OSTRA_TEST_DEBUGGING_PAGE);
  std::stringstream page;
  page << file.rdbuf();
  const std::string text = page.str();
  const std::size_t at = text.find("## First difference");
  ASSERT_NE(at, std::string::npos);
  const auto takeBlock = [&text](std::size_t from, const std::string& mark, std::size_t& end) {
    const std::size_t begin = text.find(mark + "\n", from) + mark.size() + 1;
    end = text.find("\n```", begin) + 1;
    return text.substr(begin, end - begin);
  };
  std::size_t end = 0;
  const std::string kernel = takeBlock(at, "```cpp", end);
  const std::string shown = takeBlock(end + 3, "```", end);
  _folder.Write("net.example.turn.krn", kernel);
  const ToolResult result = RunTool({"run", _folder / "net.example.turn.krn", "--out", "target=" + _folder / "out.csv",
                                     "--size", "64", "--backend", "both", "--first-difference"});
  ASSERT_EQ(result.exitStatus, 0) << result.errors;
  // Numbers are those of a device; lines, names and what is first are the same.
  const auto name = [](const std::string& lines) {
    std::string names;
    std::istringstream stream(lines.substr(lines.find("line ")));
    for (std::string line; std::getline(stream, line);) {
      std::istringstream words(line);
      std::string number, value;
      words >> number >> value;
      names += number + " " + value.substr(0, value.find('[')) + (line.ends_with("<-- first") ? " first\n" : "\n");
    }
    return names;
  };
  ASSERT_NE(shown.find("line "), std::string::npos) << shown;
  ASSERT_NE(result.output.find("line "), std::string::npos) << result.output;
  EXPECT_EQ(name(result.output), name(shown)) << result.output;
}

TEST(FirstDifferenceOptionTest, WrongUsesAreTold) {
  const std::string kernel = GetTestKernel("net.example.invert.krn");
  const auto run = [&kernel](std::vector<std::string> more) {
    more.insert(more.begin(), {"run", kernel});
    const ToolResult result = RunTool(more);
    EXPECT_EQ(result.exitStatus, 2) << result.errors;
    return result.errors;
  };
  EXPECT_THAT(run({"--first-difference"}), HasSubstr("--first-difference compares the CPU with the GPU"));
  EXPECT_THAT(run({"--first-difference=-1", "--backend", "both"}), HasSubstr("a bound is a number from 0 on"));
  EXPECT_THAT(run({"--first-difference=much", "--backend", "both"}), HasSubstr("a bound is a number from 0 on"));
  EXPECT_THAT(run({"--first-difference", "--checked", "--backend", "both"}), HasSubstr("with --checked"));
  EXPECT_THAT(run({"--first-difference", "--debug", "--backend", "both"}), HasSubstr("with --debug"));
  EXPECT_THAT(run({"--first-difference", "--repeat", "2", "--backend", "both"}), HasSubstr("--repeat"));
}

TEST(FirstDifferenceLinesTest, TheFirstThatDiffersIsAlwaysShown) {
  const auto list = [](Int count, Int first) {
    std::string text;
    for (const tool::ShownLines& part : tool::ChooseLines(count, first, 60))
      text += std::to_string(part.begin) + "-" + std::to_string(part.end) + " ";
    return text;
  };
  EXPECT_EQ(list(60, 59), "0-60 ");
  EXPECT_EQ(list(100, -1), "0-60 ");
  EXPECT_EQ(list(100, 10), "0-60 ");
  EXPECT_EQ(list(1000, 500), "0-15 485-530 ");
  EXPECT_EQ(list(1000, 999), "0-15 984-1000 ");
}

}  // namespace
}  // namespace ostra

// `ostra run` on the GPU, and on both.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "tests/support/temporary_folder.h"
#include "tests/tool/tool_process.h"

namespace ostra {
namespace {

using nlohmann::json;
using testing::HasSubstr;

// Whether the tool finds a device. What it says when it does not is looked at here, too.
bool HasDevice(const ToolResult& result) {
  if (result.exitStatus == 0) return true;
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_THAT(result.errors, HasSubstr("--backend cpu runs the kernel without one"));
  return false;
}

TEST(RunGpuTest, TheSameFileRunsOnTheGpu) {
  const TemporaryFolder folder;
  const ToolResult result = RunTool({"run", GetTestKernel("net.example.invert.krn"), "--in", "image=zeros:17x5",
                                     "--out", "result=" + folder / "out.csv", "--size", "17x5", "--set", "width=17",
                                     "--set", "height=5", "--backend", "gpu", "--json"});
  if (!HasDevice(result)) GTEST_SKIP() << "There is no GPU device on this machine.";
  const json report = json::parse(result.output);
  EXPECT_EQ(report["backend"], "gpu");
  const ToolResult cpu =
      RunTool({"run", GetTestKernel("net.example.invert.krn"), "--in", "image=zeros:17x5", "--out",
               "result=" + folder / "cpu.csv", "--size", "17x5", "--set", "width=17", "--set", "height=5"});
  ASSERT_EQ(cpu.exitStatus, 0) << cpu.errors;
  EXPECT_EQ(folder.Read("out.csv"), folder.Read("cpu.csv"));
}

TEST(RunGpuTest, NumbersOf64BitsAreElementsAndValuesOnBothSides) {
  const TemporaryFolder folder;
  folder.Write(
      "net.example.wide.krn",
      "#define KERNELINPUTS \\\n(UInt32) count, \\\n(int64_t) offset, \\\n(UInt64) mask, \\\n(double) scale, \\\n"
      "(const Block<int64_t>) source, \\\n(Block<UInt64>) bits, \\\n(Block<Float64>) shares\n\n"
      "OSTRA_PARALLEL_KERNEL(Wide, KERNELINPUTS)\n{\n\tuint i = LinearInvocation();\n"
      "\tif (i >= UNIFORM(count)) return;\n"
      "\tint64_t x = UNIFORM_BUFFER(source)[i] + UNIFORM(offset);\n"
      "\tUNIFORM_BUFFER(bits)[i] = uint64_t(x) & UNIFORM(mask);\n"
      "\tUNIFORM_BUFFER(shares)[i] = UNIFORM(scale) * (x > 5000000000 ? 2 : 4);\n}\n"
      "OSTRA_PARALLEL_KERNEL_END\n");
  folder.Write("in.csv", "9007199254740991\n9223372036854775807\n");
  for (const std::string backend : {"cpu", "gpu"}) {
    const ToolResult result = RunTool({"run",       folder / "net.example.wide.krn",
                                       "--in",      "source=" + folder / "in.csv",
                                       "--out",     "bits=" + folder / "bits.csv",
                                       "--out",     "shares=" + folder / "shares.csv",
                                       "--size",    "2",
                                       "--set",     "count=2",
                                       "--set",     "offset=-4611686018427387905",
                                       "--set",     "mask=18446744073709551600",
                                       "--set",     "scale=0.1",
                                       "--backend", backend});
    if (result.errors.find("64-bit") != std::string::npos) {
      EXPECT_THAT(result.errors, HasSubstr("which the GPU device does not support"));
      GTEST_SKIP() << result.errors;
    }
    if (backend != "cpu" && !HasDevice(result)) GTEST_SKIP() << "There is no GPU device on this machine.";
    ASSERT_EQ(result.exitStatus, 0) << result.errors;
    EXPECT_EQ(folder.Read("bits.csv"), "13844065254536904688\n4611686018427387888\n") << backend;
    EXPECT_EQ(folder.Read("shares.csv"), "0.4\n0.2\n") << backend;
    std::filesystem::remove(folder / "bits.csv");
  }
}

TEST(RunGpuTest, HlslTextRefusesIntegersThatItLacksByName) {
  const TemporaryFolder folder;
  const auto check = [&](const std::string& parameter, const std::string& line) {
    folder.Write("net.example.sizes.krn", "#define KERNELINPUTS \\\n(Block<UInt32>) target, \\\n" + parameter +
                                              "\n\nOSTRA_PARALLEL_KERNEL(Sizes, KERNELINPUTS)\n{\n\t" + line +
                                              "\n\tUNIFORM_BUFFER(target)[0] = 1u;\n}\nOSTRA_PARALLEL_KERNEL_END\n");
    return RunTool({"check", folder / "net.example.sizes.krn", "--target", "HLSL"}).errors;
  };
  constexpr const char* kLong = ": HLSL text has no 64-bit integers: keep two uint, or translate to GLSL or Metal";
  EXPECT_THAT(check("(Block<UInt64>) a", ""),
              HasSubstr(std::string(":3: error: the elements of \"a\" are UInt64") + kLong));
  EXPECT_THAT(check("(Int64) a", ""), HasSubstr(std::string(":3: error: the value \"a\" is Int64") + kLong));
  EXPECT_THAT(check("(UInt32) a", "Int64 x = 5;"), HasSubstr(std::string(":7: error: Int64") + kLong));
  EXPECT_THAT(check("(Block<UInt8>) a", ""),
              HasSubstr(":3: error: the elements of \"a\" are UInt8: HLSL text has no integers of 8 and 16 bits: pack "
                        "several into a uint, or give each an int"));
  EXPECT_THAT(check("(UInt8) a", "UInt8 x = UNIFORM(a) + 1;"), testing::Not(HasSubstr("error")));
}

TEST(RunGpuTest, TheGpuNeedsNoCompilerForTheCpu) {
  const TemporaryFolder folder;
  setenv("CXX", "no-such-compiler", 1);
  const ToolResult result =
      RunTool({"run", GetTestKernel("net.example.invert.krn"), "--in", "image=ones:17x5", "--out",
               "result=" + folder / "out.csv", "--backend", "gpu", "--json", "--cache-dir", folder / "cache"});
  unsetenv("CXX");
  if (!HasDevice(result)) GTEST_SKIP() << "There is no GPU device on this machine.";
  EXPECT_EQ(json::parse(result.output)["compiled"], false);
  EXPECT_EQ(json::parse(result.output)["size"], json({17, 5, 1}));
  EXPECT_FALSE(std::filesystem::exists(folder / "cache"));
  EXPECT_THAT(folder.Read("out.csv"), testing::StartsWith("0,0,0,1\n"));
}

TEST(RunGpuTest, ATemplateRunsWithTheArgumentInItsNameAndWithTheOption) {
  const TemporaryFolder folder;
  folder.Write("net.example.twice.krn",
               "#define KERNELINPUTS \\\n(UInt32) count, \\\n(Block<TYPE>) values\n\n"
               "OSTRA_PARALLEL_KERNEL(Twice, KERNELINPUTS)\n{\n\tuint i = LinearInvocation();\n"
               "\tif (i < UNIFORM(count))\n\t{\n\t\tUNIFORM_BUFFER(values)[i] = UNIFORM_BUFFER(values)[i] + "
               "UNIFORM_BUFFER(values)[i];\n\t}\n}\nOSTRA_PARALLEL_KERNEL_END\n");
  folder.Write("in.csv", "1.5\n-2\n");
  const auto run = [&](const char* name, const std::string& backend, const std::vector<std::string>& more) {
    std::vector<std::string> command = {"run",    folder / name, "--in",  "values=" + folder / "in.csv",
                                        "--set",  "count=2",     "--out", "values=" + folder / "out.csv",
                                        "--json", "--backend",   backend};
    command.insert(command.end(), more.begin(), more.end());
    return RunTool(command);
  };
  for (const std::string backend : {"cpu", "gpu", "both"}) {
    const ToolResult named = run("net.example.twice_float_T_.krn", backend, {});
    if (backend != "cpu" && !HasDevice(named)) GTEST_SKIP() << "There is no GPU device on this machine.";
    ASSERT_EQ(named.exitStatus, 0) << named.errors;
    EXPECT_EQ(folder.Read("out.csv"), "3\n-4\n");
    std::filesystem::remove(folder / "out.csv");
    const ToolResult given = run("net.example.twice.krn", backend, {"--template-argument", "float"});
    ASSERT_EQ(given.exitStatus, 0) << given.errors;
    EXPECT_EQ(folder.Read("out.csv"), "3\n-4\n");
  }
  // Whole numbers are other elements.
  EXPECT_THAT(run("net.example.twice_int_T_.krn", "cpu", {}).errors, HasSubstr("1.5"));
  folder.Write("net.example.wrong.krn",
               "#define KERNELINPUTS \\\n(Block<TYPE>) values\n\nOSTRA_PARALLEL_KERNEL(Wrong, KERNELINPUTS)\n{\n"
               "\tUNIFORM_BUFFER(values)[0u] = missing;\n}\nOSTRA_PARALLEL_KERNEL_END\n");
  const ToolResult wrong =
      RunTool({"run", folder / "net.example.wrong_float_T_.krn", "--in", "values=zeros:1", "--backend", "gpu"});
  EXPECT_THAT(wrong.errors, HasSubstr(folder / "net.example.wrong.krn:6"));
}

TEST(RunGpuTest, BothAreComparedAndTimed) {
  const TemporaryFolder folder;
  const ToolResult result = RunTool({"run", GetTestKernel("net.example.invert.krn"), "--in", "image=ones:17x5", "--out",
                                     "result=" + folder / "out.csv", "--size", "17x5", "--set", "width=17", "--set",
                                     "height=5", "--backend", "both", "--json", "--repeat", "2"});
  if (!HasDevice(result)) GTEST_SKIP() << "There is no GPU device on this machine.";
  const json report = json::parse(result.output);
  EXPECT_EQ(report["backend"], "both");
  EXPECT_EQ(report["milliseconds"]["all"].size(), 2u);
  EXPECT_EQ(report["gpuMilliseconds"]["all"].size(), 2u);
  EXPECT_EQ(report["difference"]["largest"], 0.0);
  EXPECT_EQ(report["difference"]["place"], "");
}

TEST(RunGpuTest, AKernelThatIsNoShaderSaysWhere) {
  const TemporaryFolder folder;
  const std::string kernel = folder.Write("net.example.lambda.krn",
                                          "#define KERNELINPUTS \\\n(Block<Float32>) values\n\n"
                                          "OSTRA_PARALLEL_KERNEL(Lambda, KERNELINPUTS)\n{\n"
                                          "\tauto twice = [](float x) { return x * 2; };\n"
                                          "\tUNIFORM_BUFFER(values)[0] = twice(4.0);\n"
                                          "}\nOSTRA_PARALLEL_KERNEL_END\n");
  const auto run = [&](const char* backend) {
    return RunTool({"run", kernel, "--in", "values=zeros:1", "--size", "1", "--out", "values=" + folder / "out.csv",
                    "--backend", backend, "--json"});
  };
  const ToolResult cpu = run("cpu");
  ASSERT_EQ(cpu.exitStatus, 0) << cpu.errors;
  const ToolResult gpu = run("gpu");
  ASSERT_EQ(gpu.exitStatus, 1);
  if (gpu.errors.find("--backend cpu") != std::string::npos) GTEST_SKIP() << "There is no GPU device on this machine.";
  EXPECT_THAT(gpu.errors,
              testing::StartsWith("ostra: The kernel \"net.example.lambda.krn\" cannot run because it could "
                                  "not be compiled: "));
  EXPECT_THAT(gpu.errors, HasSubstr("net.example.lambda.krn:6"));
  EXPECT_EQ(gpu.errors.find("A job failed"), std::string::npos) << gpu.errors;
}

TEST(InfoGpuTest, EveryDeviceIsListedWithWhatItCanDoOrTheReasonWhyThereIsNone) {
  const ToolResult table = RunTool({"info"});
  ASSERT_EQ(table.exitStatus, 0) << table.errors;
  const ToolResult result = RunTool({"info", "--json"});
  ASSERT_EQ(result.exitStatus, 0) << result.errors;
  const json information = json::parse(result.output);
  const json& devices = information.at("devices");
  if (devices.empty()) {
    const auto reason = information.at("noDevice").get<std::string>();
    EXPECT_NE(reason, "");
    EXPECT_THAT(table.output, HasSubstr("  no device: " + reason + "\n"));
    GTEST_SKIP() << "There is no GPU device on this machine: " << reason;
  }
  EXPECT_EQ(information.at("noDevice"), "");
  for (const json& device : devices) {
    EXPECT_THAT(table.output, HasSubstr(device.at("name").get<std::string>()));
    EXPECT_THAT(device.at("kind"), testing::AnyOf("discrete", "integrated", "virtual", "other", "software"));
    EXPECT_EQ(device.at("backend"), "Vulkan");
    EXPECT_GT(device.at("memory").at("total").get<Int64>(), 0);
    EXPECT_TRUE(device.at("canDraw").is_boolean());
    if (const auto problem = device.at("problem").get<std::string>(); problem != "") {
      const std::string what = device.at("usable") ? "     does not start: " : "     cannot be used: ";
      EXPECT_THAT(table.output, HasSubstr(what + problem + "\n"));
      continue;
    }
    EXPECT_THAT(device.at("features"), testing::Contains("compute shaders"));
    // Floats and bytes with four channels can be sampled everywhere.
    EXPECT_GE(device.at("formats").at("sampled").get<Int>(), 2);
    EXPECT_LE(device.at("formats").at("shaderReadWrite"), 26);
  }
}

TEST(InfoGpuTest, WithoutADriverTheReasonIsOneLine) {
  // The tool inherits the environment; both names, as loaders of either age read them.
  for (const char* name : {"VK_DRIVER_FILES", "VK_ICD_FILENAMES"}) ASSERT_EQ(setenv(name, "/nonexistent.json", 1), 0);
  const ToolResult result = RunTool({"info"});
  for (const char* name : {"VK_DRIVER_FILES", "VK_ICD_FILENAMES"}) ASSERT_EQ(unsetenv(name), 0);
  ASSERT_EQ(result.exitStatus, 0) << result.errors;
  EXPECT_THAT(result.output, HasSubstr("GPU devices\n  no device: "));
}

TEST(RunGpuTest, TexturesOfSeveralLayersAreRefusedBeforeAnythingRuns) {
  const TemporaryFolder folder;
  for (const char* backend : {"gpu", "both"}) {
    const ToolResult result = RunTool({"run", GetTestKernel("net.example.layers.krn"), "--in", "sheets=zeros:3x2",
                                       "--in", "sheets=ones:3x2", "--texture", "sheets:size=3x2", "--size", "3",
                                       "--out", "corners=" + folder / "out.csv", "--backend", backend});
    if (result.exitStatus == 1 && !HasDevice(result)) GTEST_SKIP() << "There is no GPU device on this machine.";
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_EQ(result.errors,
              "ostra: --backend: the texture \"sheets\" has 2 layers, and textures on the GPU have one\n");
    EXPECT_FALSE(std::filesystem::exists(folder / "out.csv"));
  }
}

TEST(RunGpuTest, AnUnknownBackendIsWrongUsage) {
  EXPECT_EQ(RunTool({"run", GetTestKernel("net.example.invert.krn"), "--backend", "abacus"}).exitStatus, 2);
}

}  // namespace
}  // namespace ostra

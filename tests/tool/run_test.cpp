#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <iostream>
#include <nlohmann/json.hpp>

#include "ostra/image/picture_format.h"
#include "ostra/io/file.h"
#include "ostra/math/data_types.h"
#include "plans/buffers/buffer_file.h"
#include "tests/support/result_matchers.h"
#include "tests/support/temporary_folder.h"
#include "tests/tool/tool_process.h"

namespace ostra {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;

template <class T>
std::vector<T> LoadValues(const std::string& file) {
  const auto contents = plans::LoadBuffer(file, GetDataType<T>());
  EXPECT_THAT(contents, IsOk());
  if (!contents) return {};
  const T* first = static_cast<const T*>(contents->elements.GetFirst());
  return std::vector<T>(first, first + contents->elements.GetCount());
}

Image MakePicture(Int width, Int height) {
  Image image = Image::Create(width, height).GetValue();
  for (Int i = 0; i < image.rgba.GetCount(); ++i) image.rgba[i] = static_cast<Float32>(i * 7 % 256) / 255;
  return image;
}

TEST(RunTest, APictureGoesThroughAKernelWithItsSizeSetByItself) {
  const TemporaryFolder folder;
  const Image picture = MakePicture(23, 9);
  ASSERT_THAT(WriteImage(folder.MakeUrl("in.png"), picture), IsOk());
  const ToolResult result = RunTool({"run", GetTestKernel("net.example.invert.krn"), "--in",
                                     "image=" + folder / "in.png", "--out", "result=" + folder / "out.exr"});
  ASSERT_EQ(result.exitStatus, 0) << result.errors;
  EXPECT_EQ(result.errors, "");
  EXPECT_THAT(result.output, HasSubstr("23 x 9"));
  const auto inverted = ReadImage(folder.MakeUrl("out.exr"));
  ASSERT_THAT(inverted, IsOk());
  ASSERT_EQ(inverted->width, 23);
  ASSERT_EQ(inverted->height, 9);
  for (Int i = 0; i < picture.rgba.GetCount(); ++i)
    ASSERT_EQ(inverted->rgba[i], i % 4 == 3 ? picture.rgba[i] : 1 - picture.rgba[i]) << i;
}

TEST(RunTest, PicturesOfEveryKindGoThroughAKernel) {
  Image picture = Image::Create(20, 12).GetValue();
  for (Int i = 0; i < picture.rgba.GetCount(); ++i) picture.rgba[i] = i % 4 == 3 ? 1 : 51.0f / 255;
  for (const PictureFormat& format : GetPictureFormats()) {
    const TemporaryFolder folder;
    const std::string suffix = "." + std::string(format.suffixes[0]);
    if (!WriteImage(folder.MakeUrl("in" + suffix), picture)) {
      std::cout << format.name << " is left out: its library was not found when this was built.\n";
      continue;
    }
    const ToolResult result =
        RunTool({"run", GetTestKernel("net.example.invert.krn"), "--in", "image=" + folder / ("in" + suffix), "--out",
                 "result=" + folder / ("out" + suffix)});
    ASSERT_EQ(result.exitStatus, 0) << result.errors;
    const auto inverted = ReadImage(folder.MakeUrl("out" + suffix));
    ASSERT_THAT(inverted, IsOk());
    ASSERT_EQ(inverted->width, 20);
    for (Int i = 0; i < picture.rgba.GetCount(); ++i)
      ASSERT_NEAR(inverted->rgba[i], i % 4 == 3 ? 1 : 204.0f / 255, 1.1f / 255) << format.name << " " << i;
  }
}

TEST(RunTest, ValuesOfOptionsReachTheKernelInTheirTypes) {
  const TemporaryFolder folder;
  folder.Write("in.csv", "1\n2\n-3.5\n");
  const ToolResult result =
      RunTool({"run", GetTestKernel("net.example.scale.krn"), "--in", "values=" + folder / "in.csv", "--set",
               "factor=2.5", "--set", "offset=100,-1", "--out", "values=" + folder / "out.npy"});
  ASSERT_EQ(result.exitStatus, 0) << result.errors;
  EXPECT_THAT(LoadValues<Float32>(folder / "out.npy"), ElementsAre(1.5f, 4.0f, -9.75f));
}

TEST(RunTest, ExplainSaysHowManyInvocationsRunAtATime) {
  const TemporaryFolder folder;
  const auto run = [&folder](const std::string& kernel, std::vector<std::string> options) {
    std::vector<std::string> arguments = {"run", kernel, "--in", "values=zeros:3", "--explain"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    ToolResult result = RunTool(arguments);
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    return result;
  };
  const auto write = [&folder](const std::string& name, const std::string& body) {
    return folder.Write("net.example." + name + ".krn",
                        "#define KERNELINPUTS \\\n(Block<Float32>) values\n\n"
                        "OSTRA_PARALLEL_KERNEL(Kernel, KERNELINPUTS)\n{\n" +
                            body + "}\nOSTRA_PARALLEL_KERNEL_END\n");
  };
  const std::string wide =
      write("root", "\tUNIFORM_BUFFER(values)[LinearInvocation()] = sqrt(float(LinearInvocation()));\n");
  const ToolResult result = run(wide, {});
  EXPECT_THAT(result.output, testing::ContainsRegex("invocations +(4|8|16) at a time"));
  EXPECT_EQ(result.errors, "");
  const ToolResult checked = run(wide, {"--checked"});
  EXPECT_THAT(checked.output, testing::ContainsRegex("invocations +one at a time"));
  EXPECT_THAT(checked.errors, HasSubstr(": note: the kernel has a wide form, which is left out here"));
  const std::string scalar = write("lambda",
                                   "\tauto twice = [](float x) { return 2.0f * x; };\n"
                                   "\tUNIFORM_BUFFER(values)[LinearInvocation()] = twice(1.0f);\n");
  const ToolResult explained = run(scalar, {"--json"});
  EXPECT_THAT(explained.output, HasSubstr("no wide form because of"));
  EXPECT_THAT(explained.errors, HasSubstr(scalar + ":6:"));
}

TEST(RunTest, SignedIntegersWrapAroundAndDoublesKeepTheirDigits) {
  const TemporaryFolder folder;
  folder.Write("in.csv", "2147483647\n5\n-2147483648\n");
  const std::string kernel = folder.Write("net.example.ends.krn",
                                          "#define KERNELINPUTS \\\n(const Block<Int32>) values, \\\n"
                                          "(Block<Int32>) isMore, \\\n(Block<Float64>) roots\n\n"
                                          "OSTRA_PARALLEL_KERNEL(Ends, KERNELINPUTS)\n{\n"
                                          "\tuint i = LinearInvocation();\n"
                                          "\tint k = UNIFORM_BUFFER(values)[i];\n"
                                          "\tUNIFORM_BUFFER(isMore)[i] = k + 1 > k ? 1 : 0;\n"
                                          "\tFloat64 x = k;\n"
                                          "\tUNIFORM_BUFFER(roots)[i] = sqrt(abs(x));\n"
                                          "}\nOSTRA_PARALLEL_KERNEL_END\n");
  for (const char* speed : {"--fast", ""}) {
    std::vector<std::string> arguments = {"run",    kernel,
                                          "--in",   "values=" + folder / "in.csv",
                                          "--out",  "isMore=" + folder / "more.csv",
                                          "--out",  "roots=" + folder / "roots.npy",
                                          "--size", "3"};
    if (*speed) arguments.emplace_back(speed);
    const ToolResult result = RunTool(arguments);
    ASSERT_EQ(result.exitStatus, 0) << result.errors;
    EXPECT_THAT(LoadValues<Int32>(folder / "more.csv"), ElementsAre(0, 1, 1)) << speed;
  }
  EXPECT_THAT(LoadValues<Float64>(folder / "roots.npy"),
              ElementsAre(std::sqrt(2147483647.0), std::sqrt(5.0), std::sqrt(2147483648.0)));
}

TEST(RunTest, ExchangedBuffersCarryTheResultFromDispatchToDispatch) {
  const TemporaryFolder folder;
  folder.Write("in.csv", "10\n20\n30\n40\n");
  const auto run = [&](const std::string& iterations, const std::string& repeat) {
    const ToolResult result =
        RunTool({"run", GetTestKernel("net.example.step.krn"), "--in", "now=" + folder / "in.csv", "--out",
                 "next=" + folder / "out.csv", "--swap", "now,next", "--iterations", iterations, "--repeat", repeat});
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    return LoadValues<Int32>(folder / "out.csv");
  };
  EXPECT_THAT(run("1", "1"), ElementsAre(41, 11, 21, 31));
  EXPECT_THAT(run("2", "1"), ElementsAre(32, 42, 12, 22));
  EXPECT_THAT(run("5", "1"), ElementsAre(45, 15, 25, 35));
  // Repeating measures the same work again and does not change the result.
  EXPECT_THAT(run("5", "3"), ElementsAre(45, 15, 25, 35));
  EXPECT_THAT(run("2", "2"), ElementsAre(32, 42, 12, 22));
}

TEST(RunTest, CountersAreReportedAndStartWhereTheyAreSet) {
  const TemporaryFolder folder;
  folder.Write("in.csv", "1\n5\n7\n2\n");
  const std::vector<std::string> arguments = {
      "run",   GetTestKernel("net.example.count.krn"), "--in", "values=" + folder / "in.csv", "--set", "limit=1.5",
      "--json"};
  const auto count = [](const std::vector<std::string>& all) {
    const ToolResult result = RunTool(all);
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    return json::parse(result.output).at("counters").at("hits").get<int>();
  };
  EXPECT_EQ(count(arguments), 3);
  std::vector<std::string> changed = arguments;
  changed.insert(changed.end(), {"--set", "hits=100", "--repeat", "3"});
  EXPECT_EQ(count(changed), 103);
}

TEST(RunTest, TheReportAsJsonNamesEverything) {
  const TemporaryFolder folder;
  const ToolResult result =
      RunTool({"run", GetTestKernel("net.example.scale.krn"), "--in", "values=ones:5x2", "--set", "factor=3", "--set",
               "offset=0,1", "--out", "values=" + folder / "out.raw", "--repeat", "4", "--json"});
  ASSERT_EQ(result.exitStatus, 0) << result.errors;
  const json report = json::parse(result.output);
  EXPECT_EQ(report.at("kernel"), "net.example.scale.krn");
  EXPECT_EQ(report.at("size"), (json{10, 1, 1}));
  EXPECT_EQ(report.at("uniforms").at("offset"), (json{{"type", "2 x int32"}, {"value", "0,1"}}));
  EXPECT_EQ(report.at("inputs").at("values"), "ones:5x2");
  EXPECT_EQ(report.at("outputs").at(0).at("count"), 10);
  EXPECT_EQ(report.at("milliseconds").at("all").size(), 4u);
  EXPECT_LE(report.at("milliseconds").at("best"), report.at("milliseconds").at("median"));
  EXPECT_GE(report.at("threads"), 1);
  EXPECT_EQ(LoadValues<Float32>(folder / "out.raw"), std::vector<Float32>(10, 4.0f));
}

TEST(RunTest, AKernelThatIsNotToldTheWidthGetsThePixelsOfAPictureInOneLine) {
  const TemporaryFolder folder;
  const Image picture = MakePicture(70, 5);
  ASSERT_THAT(WriteImage(folder.MakeUrl("a.png"), picture), IsOk());
  const ToolResult result = RunTool({"run", GetTestKernel("net.example.blend.krn"), "--in", "first=" + folder / "a.png",
                                     "--in", "second=" + folder / "a.png", "--out", "result=" + folder / "out.png"});
  ASSERT_EQ(result.exitStatus, 0) << result.errors;
  const auto same = ReadImage(folder.MakeUrl("out.png"));
  ASSERT_THAT(same, IsOk());
  ASSERT_EQ(same->width, 70);
  for (Int i = 0; i < picture.rgba.GetCount(); ++i) ASSERT_EQ(same->rgba[i], picture.rgba[i]) << i;
}

TEST(RunTest, TheSizeOfTheRunMayDifferFromThatOfThePictures) {
  const TemporaryFolder folder;
  ASSERT_THAT(WriteImage(folder.MakeUrl("a.png"), MakePicture(4, 4)), IsOk());
  ASSERT_THAT(WriteImage(folder.MakeUrl("b.png"), MakePicture(8, 2)), IsOk());
  const ToolResult result =
      RunTool({"run", GetTestKernel("net.example.blend.krn"), "--in", "first=" + folder / "a.png", "--in",
               "second=" + folder / "b.png", "--size", "16", "--out", "result=" + folder / "out.npy"});
  ASSERT_EQ(result.exitStatus, 0) << result.errors;
  EXPECT_EQ(LoadValues<Vector4d32>(folder / "out.npy").size(), 16u);
}

TEST(InfoTest, TheListsNameTheProgramItsInterfacesAndTheConfiguration) {
  const ToolResult table = RunTool({"info"});
  ASSERT_EQ(table.exitStatus, 0) << table.errors;
  const ToolResult result = RunTool({"info", "--json", "--config", "g_trackSpinlocks=true"});
  ASSERT_EQ(result.exitStatus, 0) << result.errors;
  const json information = json::parse(result.output);
  EXPECT_THAT(information.at("classes"), testing::Contains("net.ostra.drawportmisc.cpuprogram"));
  EXPECT_THAT(information.at("kernelClasses"), testing::Contains("net.ostra.kernelclasses.base"));
  EXPECT_THAT(information.at("interfaces"), testing::Contains("net.ostra.interface.kernelinterface"));
  EXPECT_EQ(information.at("modules").at(0).at("id"), "net.ostra.parallelprogram");
  for (const char* list : {"classes", "kernelClasses", "interfaces"})
    for (const auto& id : information.at(list)) EXPECT_THAT(table.output, HasSubstr(id.get<std::string>()));
  Bool isFound = false;
  for (const auto& variable : information.at("configuration"))
    if (variable.at("name") == "g_trackSpinlocks")
      isFound = variable.at("value") == true && variable.at("configured") == true;
  EXPECT_TRUE(isFound);
}

TEST(HelpTest, EveryCommandExplainsItselfAndRunShowsAnExample) {
  const ToolResult all = RunTool({"--help"});
  EXPECT_EQ(all.exitStatus, 0);
  for (const char* command : {"run", "info"}) {
    EXPECT_THAT(all.output, HasSubstr(command));
    const ToolResult result = RunTool({command, "--help"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_THAT(result.output, HasSubstr("--json"));
    EXPECT_EQ(result.errors, "");
  }
  EXPECT_THAT(RunTool({"run", "--help"}).output, HasSubstr("ostra run net.example.blur.krn --in image=photo.png"));
  const std::string info = RunTool({"info", "--help"}).output;
  for (const char* text : {"OSTRA_VULKAN_DEVICE", "OSTRA_VULKAN_VALIDATION", "OSTRA_GPU_CACHE",
                           "OSTRA_GPU_PROGRAM_LIMIT", "OSTRA_CONFIG_FILE", "CXX", "Exit status"})
    EXPECT_THAT(info, HasSubstr(text));
}

}  // namespace
}  // namespace ostra

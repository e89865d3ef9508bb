// Wrong input of every kind: the exit status, one clear line on standard error, nothing on standard output, and no
// file.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "ostra/image/image.h"
#include "ostra/io/file.h"
#include "ostra/process/command.h"
#include "tests/support/result_matchers.h"
#include "tests/support/temporary_folder.h"
#include "tests/tool/tool_process.h"

namespace ostra {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

constexpr int kFailed = 1, kBadUsage = 2;

class RunErrorsTest : public testing::Test {
 protected:
  void SetUp() override {
    Image image = Image::Create(4, 3).GetValue();
    ASSERT_THAT(WriteImage(_folder.MakeUrl("a.png"), image), IsOk());
    ASSERT_THAT(WriteImage(_folder.MakeUrl("b.png"), Image::Create(3, 4).GetValue()), IsOk());
    _folder.Write("text.png", "no picture");
    _folder.Write("values.csv", "1\n2\n-3\n");
  }

  // Runs a test kernel and expects one line that has `text` in it.
  void Expect(int exitStatus, const std::string& text, const std::string& kernel,
              const std::vector<std::string>& options) {
    std::vector<std::string> arguments = {"run", kernel};
    arguments.insert(arguments.end(), options.begin(), options.end());
    ExpectResult(exitStatus, text, RunTool(arguments));
  }
  void ExpectResult(int exitStatus, const std::string& text, const ToolResult& result) {
    EXPECT_EQ(result.exitStatus, exitStatus) << result.errors;
    EXPECT_THAT(result.errors, StartsWith("ostra: "));
    EXPECT_THAT(result.errors, HasSubstr(text));
    EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
    EXPECT_EQ(result.output, "");
    EXPECT_FALSE(std::filesystem::exists(_folder / "out.png"));
  }

  std::string In(const std::string& name, const std::string& file) const { return name + "=" + _folder / file; }

  TemporaryFolder _folder;
  const std::string _invert = GetTestKernel("net.example.invert.krn");
  const std::string _blend = GetTestKernel("net.example.blend.krn");
  const std::string _scale = GetTestKernel("net.example.scale.krn");
};

TEST_F(RunErrorsTest, FilesThatCannotBeReadFail) {
  Expect(kFailed, "none.krn cannot be read: No such file", _folder / "none.krn", {});
  Expect(kFailed, "cannot be read: Is a directory", _folder.GetPath().string(), {});
  Expect(kFailed, "none.png cannot be read: No such file", _invert,
         {"--in", In("image", "none.png"), "--out", In("result", "out.png")});
  Expect(kFailed, "text.png cannot be read: its first bytes are those of no known picture", _invert,
         {"--in", In("image", "text.png"), "--out", In("result", "out.png")});
  Expect(kFailed, "line 1: \"no\" is not a number", _scale,
         {"--in", "values=" + _folder.Write("bad.csv", "no"), "--set", "factor=1", "--set", "offset=0,0"});
}

TEST_F(RunErrorsTest, PicturesOfDifferentSizesFail) {
  Expect(kBadUsage, "b.png for \"second\" has 3 x 4; give --size", _blend,
         {"--in", In("first", "a.png"), "--in", In("second", "b.png"), "--out", In("result", "out.png")});
  Expect(kFailed, "a.png is a picture, which makes elements of 4 x float32, but float32 is needed", _scale,
         {"--in", In("values", "a.png")});
}

TEST_F(RunErrorsTest, NamesThatTheKernelDoesNotHaveComeWithTheNearestOne) {
  Expect(kBadUsage, "--in: the kernel has no buffer \"imag\"; did you mean \"image\"?", _invert,
         {"--in", In("imag", "a.png")});
  Expect(kBadUsage, "--out: the kernel has no buffer \"reslt\"; did you mean \"result\"?", _invert,
         {"--out", In("reslt", "out.png")});
  Expect(kBadUsage, "--set: the kernel has no uniform \"facto\"; did you mean \"factor\"?", _scale,
         {"--set", "facto=1"});
  Expect(kBadUsage, "--set: \"values\" is a buffer, not a uniform", _scale, {"--set", "values=1"});
  Expect(kBadUsage, "--swap: the kernel has no buffer \"x\"", _blend, {"--swap", "x,first", "--iterations", "2"});
  Expect(kBadUsage, "there is no configuration variable \"g_trackSpinlock\"; did you mean \"g_trackSpinlocks\"?",
         _scale, {"--config", "g_trackSpinlock=true"});
  ExpectResult(kBadUsage, "there is no command \"rum\"; did you mean \"run\"?", RunTool({"rum"}));
}

TEST_F(RunErrorsTest, ValuesOfTheWrongTypeAreRefused) {
  Expect(kBadUsage, "--set factor: \"red\" is not a number, and the type is float32", _scale,
         {"--in", In("values", "values.csv"), "--set", "factor=red", "--set", "offset=1,2"});
  Expect(kBadUsage, "--set offset: \"1\" has 1 numbers, and the type 2 x int32 has 2", _scale,
         {"--in", In("values", "values.csv"), "--set", "factor=1", "--set", "offset=1"});
  Expect(kBadUsage, "\"1.5\" is not a whole number", _scale,
         {"--in", In("values", "values.csv"), "--set", "factor=1", "--set", "offset=1.5,1"});
  Expect(kBadUsage, "--set: \"factor\" is given twice", _scale,
         {"--in", In("values", "values.csv"), "--set", "factor=1", "--set", "factor=2"});
}

TEST_F(RunErrorsTest, ParametersWithoutAValueAreNamed) {
  Expect(kBadUsage, "the uniform \"factor\" (float32) has no value: give --set factor=VALUE", _scale,
         {"--in", In("values", "values.csv"), "--set", "offset=1,2"});
  Expect(kBadUsage, "the buffer \"image\" (4 x float32) has no elements", _invert,
         {"--size", "4x4", "--out", In("result", "out.png")});
  Expect(kBadUsage, "the size of the run is not known", _invert, {"--out", In("result", "out.png")});
}

TEST_F(RunErrorsTest, OutputsThatCannotBeWrittenFailBeforeTheRun) {
  Expect(kFailed, "there is no folder", _invert, {"--in", In("image", "a.png"), "--out", In("result", "none/out.png")});
  Expect(kBadUsage, "has no suffix that says how to write it", _invert,
         {"--in", In("image", "a.png"), "--out", In("result", "out.gif")});
  Expect(kFailed, "a picture needs elements of 4 x float32", _scale,
         {"--in", In("values", "values.csv"), "--set", "factor=1", "--set", "offset=1,2", "--out",
          In("values", "out.png")});
  std::filesystem::create_directory(_folder / "folder.png");
  Expect(kFailed, "folder.png cannot be written: Is a directory", _invert,
         {"--in", In("image", "a.png"), "--out", In("result", "folder.png")});
}

TEST_F(RunErrorsTest, WrongUsageIsExplained) {
  ExpectResult(kBadUsage, "see ostra --help", RunTool({}));
  ExpectResult(kBadUsage, "kernel is required; see ostra run --help", RunTool({"run"}));
  Expect(kBadUsage, "--blur", _invert, {"--blur"});
  Expect(kBadUsage, "--backend", _invert, {"--backend", "tpu"});
  Expect(kBadUsage, "--repeat", _invert, {"--repeat", "0"});
  Expect(kBadUsage, "--iterations", _invert, {"--iterations", "many"});
  Expect(kBadUsage, "--size: the size \"4x\" is not of the form", _invert, {"--size", "4x"});
  Expect(kBadUsage, "--set needs name=value, but got \"factor\"", _scale, {"--set", "factor"});
  Expect(kBadUsage, "--swap needs the names of two buffers", _blend, {"--swap", "first", "--iterations", "2"});
}

TEST_F(RunErrorsTest, MisspeltOptionsAndTheirWordsComeWithTheNearestOne) {
  Expect(kBadUsage, "there is no option \"--bakend\"; did you mean \"--backend\"?\n", _invert, {"--bakend", "cpu"});
  Expect(kBadUsage, "there is no option \"--iteration\"; did you mean \"--iterations\"?\n", _invert, {"--iteration=2"});
  Expect(kBadUsage, "there is no option \"--blur\"; see ostra run --help\n", _invert, {"--blur"});
  ExpectResult(kBadUsage, "there is no option \"--verison\"; did you mean \"--version\"?\n", RunTool({"--verison"}));
  Expect(kBadUsage, "--backend: there is no \"gup\"; did you mean \"gpu\"?\n", _invert, {"--backend", "gup"});
  Expect(kBadUsage,
         "--backend: there is no \"nothing\"; there are \"cpu\", \"gpu\" and \"both\"; see ostra run --help\n", _invert,
         {"--backend", "nothing"});
  ExpectResult(kBadUsage, "--target: there is no \"METL\"; did you mean \"METAL\"?\n",
               RunTool({"translate", _invert, "--target", "METL"}));
  ExpectResult(kBadUsage, "there is no option \"--tagret\"; did you mean \"--target\"?\n",
               RunTool({"translate", _invert, "--tagret", "METAL"}));
  ExpectResult(kBadUsage, "--show: there is no \"asembled\"; did you mean \"assembled\"?\n",
               RunTool({"check", _invert, "--show", "asembled"}));
}

TEST_F(RunErrorsTest, AKernelFileThatIsNotThereComesWithASimilarOne) {
  _folder.Write("net.example.glow.krn", "");
  const std::string hint = "; did you mean \"" + _folder / "net.example.glow.krn" + "\"?\n";
  for (const char* name : {"net.example.glwo.krn", "net.exmple.glow.krn", "glow.krn", "net.example.glow"}) {
    Expect(kFailed, std::string(name) + " cannot be read: No such file or directory" + hint, _folder / name, {});
    ExpectResult(kFailed, hint, RunTool({"encode", _folder / name, "-o", _folder / "encoded"}));
  }
  Expect(kFailed, "net.example.blur.krn cannot be read: No such file or directory.\n", _folder / "net.example.blur.krn",
         {});
}

TEST_F(RunErrorsTest, ValuesThatAConfigurationVariableCannotHaveAreBadUsage) {
  Expect(kBadUsage, "--config: the value \"maybe\" of g_trackSpinlocks is not one of", _scale,
         {"--config", "g_trackSpinlocks=maybe"});
  Expect(kBadUsage, "--config: \"g_trackSpinlocks\" is not of the form name=value", _scale,
         {"--config", "g_trackSpinlocks"});
  ExpectResult(kBadUsage, "is not one of", RunTool({"info", "--config", "g_trackSpinlocks=2"}));
}

TEST_F(RunErrorsTest, TheVersionIsAnswered) {
  const ToolResult result = RunTool({"--version"});
  EXPECT_EQ(result.exitStatus, 0);
  EXPECT_EQ(result.output, "ostra " OSTRA_TEST_VERSION "\n");
  EXPECT_EQ(result.errors, "");
}

TEST_F(RunErrorsTest, HelpOfTheSmallProgramsIsAnswerAndNoWork) {
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(_folder.GetPath());
  for (const char* program : {OSTRA_TEST_KERNELC, OSTRA_TEST_NOISE_PICTURES}) {
    const auto result = RunCommand({program, "--help"});
    ASSERT_THAT(result, IsOk());
    EXPECT_EQ(result->exitStatus, 0) << program;
    EXPECT_THAT(result->output, StartsWith("usage: ")) << program;
    EXPECT_EQ(RunCommand({program, "--hlep"})->exitStatus, kBadUsage) << program;
  }
  std::filesystem::current_path(before);
  EXPECT_FALSE(std::filesystem::exists(_folder / "--help"));
}

TEST_F(RunErrorsTest, AnErrorOfTheKernelIsTheResult) {
  Expect(kFailed, "element 2 is below zero", GetTestKernel("net.example.fail.krn"),
         {"--in", In("values", "values.csv")});
}

TEST_F(RunErrorsTest, AFileThatIsNoKernelIsAnError) {
  const std::string file = _folder.Write("none.krn", "int x;\n");
  const ToolResult result = RunTool({"run", file, "--size", "1"});
  EXPECT_EQ(result.exitStatus, kFailed);
  EXPECT_THAT(result.errors, StartsWith(file + ":1:6: error: the file has no kernel"));
  EXPECT_THAT(result.errors, testing::EndsWith("\nint x;\n     ^\nostra: the kernel does not compile\n"));
  EXPECT_EQ(result.output, "");
}

TEST_F(RunErrorsTest, AFailedRunKeepsTheOldOutput) {
  _folder.Write("old.npy", "old");
  Expect(kFailed, "element 2 is below zero", GetTestKernel("net.example.fail.krn"),
         {"--in", In("values", "values.csv"), "--out", In("values", "old.npy")});
  EXPECT_EQ(_folder.Read("old.npy"), "old");
}

TEST_F(RunErrorsTest, PipesAndDevicesInPlaceOfFilesAreRefusedWithoutWaiting) {
  for (const char* name : {"pipe.npy", "kernel.h", "pipe.json"}) ASSERT_EQ(mkfifo((_folder / name).c_str(), 0600), 0);
  ASSERT_EQ(symlink("/dev/zero", (_folder / "endless.raw").c_str()), 0);
  const std::string kernel =
      _folder.Write("kernel.krn",
                    "#include \"kernel.h\"\n\n#define KERNELINPUTS \\\n(Block<Float32>) "
                    "values\n\nOSTRA_PARALLEL_KERNEL(Nothing, KERNELINPUTS)\n{\n}\nOSTRA_PARALLEL_KERNEL_END\n");
  const std::string plain = GetTestKernel("net.example.scale.krn");
  const std::vector<std::vector<std::string>> commands = {
      {"run", plain, "--in", "values=" + _folder / "pipe.npy"},
      {"run", plain, "--in", "values=" + _folder / "endless.raw"},
      {"run", kernel},
      {"check", kernel},
      {"run", _folder / "pipe.json"},
      {"render", _folder / "pipe.json", "--out", _folder / "out.png"},
  };
  for (const std::vector<std::string>& command : commands) {
    const ToolResult result = RunTool(command);
    EXPECT_EQ(result.exitStatus, 1) << command[1];
    EXPECT_THAT(result.errors + result.output, HasSubstr("only regular files are read")) << command[1];
  }
}

TEST_F(RunErrorsTest, AReadOnlyResultIsRefusedBeforeTheKernelRuns) {
  const std::string target = _folder.Write("out.csv", "kept");
  ASSERT_EQ(chmod(target.c_str(), 0444), 0);
  const ToolResult result = RunTool({"run", GetTestKernel("net.example.scale.krn"), "--in", "values=zeros:4", "--set",
                                     "factor=1", "--set", "offset=0,0", "--out", "values=" + target});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_THAT(result.errors, HasSubstr("out.csv cannot be written: it is there already and read-only."));
  EXPECT_EQ(_folder.Read("out.csv"), "kept");
}

TEST_F(RunErrorsTest, MessagesRepeatNoMegabytesAndNoControlCharacters) {
  const std::string huge(200000, 'x');
  _folder.Write("huge.csv", "1\n" + huge + huge + huge + "\n");
  _folder.Write("colours.csv", "\x1B[31m1\n");
  const auto load = [&](const std::string& file) {
    return RunTool({"run", GetTestKernel("net.example.scale.krn"), "--in", "values=" + _folder / file, "--set",
                    "factor=1", "--set", "offset=0,0"});
  };
  const ToolResult huges = load("huge.csv");
  EXPECT_EQ(huges.exitStatus, 1);
  EXPECT_LT(huges.errors.size(), 2000u);
  EXPECT_THAT(huges.errors, HasSubstr("huge.csv cannot be read: line 2: \"xxx"));
  const ToolResult colours = load("colours.csv");
  EXPECT_THAT(colours.errors, HasSubstr("\\x1B[31m1"));
  EXPECT_EQ(colours.errors.find('\x1B'), std::string::npos);
}

TEST_F(RunErrorsTest, SourceFilesWithControlCharactersInTheirNamesAreRefused) {
  const std::string kernel = _folder.Write("net.example.\n\x1B[31m.krn", "");
  for (const std::vector<std::string>& command :
       {std::vector<std::string>{"run", kernel}, {"check", kernel}, {"translate", kernel, "--target", "GLSL"}}) {
    const ToolResult result = RunTool(command);
    EXPECT_EQ(result.exitStatus, 1) << command[0];
    EXPECT_THAT(result.errors, HasSubstr("names of source files are UTF-8 without control characters")) << command[0];
    EXPECT_EQ(result.errors.find('\x1B'), std::string::npos);
  }
  const auto compiled = RunCommand({OSTRA_TEST_KERNELC, kernel, _folder / "out.cpp"});
  ASSERT_THAT(compiled, IsOk());
  EXPECT_EQ(compiled->exitStatus, 1);
  EXPECT_THAT(compiled->output, HasSubstr("without control characters"));
}

TEST_F(RunErrorsTest, IdsInATableOfKernelsAreEscaped) {
  const auto made = RunCommand(
      {OSTRA_TEST_KERNELC, "--table", "app", _folder / "table.cpp", _folder / "table.h", "net.example.a\"b\\c\n.krn"});
  ASSERT_THAT(made, IsOk());
  EXPECT_EQ(made->exitStatus, 0) << made->output;
  EXPECT_THAT(_folder.Read("table.cpp"), HasSubstr(R"({"net.example.a\"b\\c\012.krn", &)"));
}

TEST_F(RunErrorsTest, MemoryBeyondTheLimitIsRefusedWithItsNumbers) {
  setenv("OSTRA_MEMORY_LIMIT", "64M", 1);
  const ToolResult zeros = RunTool({"run", _scale, "--in", "values=zeros:20000000", "--set", "factor=1", "--set",
                                    "offset=0,0", "--out", "values=" + _folder / "out.png"});
  const ToolResult fits =
      RunTool({"run", _scale, "--in", "values=zeros:4000000", "--set", "factor=1", "--set", "offset=0,0"});
  setenv("OSTRA_MEMORY_LIMIT", "much", 1);
  const ToolResult wrong = RunTool({"run", _scale});
  unsetenv("OSTRA_MEMORY_LIMIT");
  ExpectResult(kFailed, "76.3 MiB more memory are needed, and ", zeros);
  EXPECT_THAT(zeros.errors,
              HasSubstr(" of the limit of 64.0 MiB are in use; OSTRA_MEMORY_LIMIT=SIZE in the environment "));
  EXPECT_EQ(fits.exitStatus, 0) << fits.errors;
  ExpectResult(kBadUsage, "OSTRA_MEMORY_LIMIT: \"much\" is no size of memory such as 512M or 8G", wrong);
}

}  // namespace
}  // namespace ostra

#include "parallelprogram/kernelruntime/kernel_runtime.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "ostra/object/class.h"
#include "parallelprogram/program/parallel_program.h"
#include "tests/support/result_matchers.h"
#include "tests/support/temporary_folder.h"

namespace ostra {
namespace {

using testing::Each;
using testing::HasSubstr;

// Sets each value to `expression`, whose operands are `i` and the uniform `number`.
std::string WriteKernel(const std::string& expression) {
  return "#define KERNELINPUTS \\\n(UInt32) count, \\\n(Float32) number, \\\n(Block<Float32>) values\n\n"
         "OSTRA_PARALLEL_KERNEL(Fill, KERNELINPUTS)\n{\n"
         "\tuint i = LinearInvocation();\n\tif (i >= UNIFORM(count))\n\t{\n\t\treturn;\n\t}\n"
         "\tUNIFORM_BUFFER(values)[i] = " +
         expression + ";\n}\nOSTRA_PARALLEL_KERNEL_END\n";
}

class KernelRuntimeTest : public testing::Test {
 protected:
  void SetUp() override {
    auto host = Host::Create({.readsEnvironment = false});
    ASSERT_THAT(host, IsOk());
    _host.emplace(std::move(*host));
    ASSERT_THAT(_host->LoadModule("parallelprogram"), IsOk());
    _runtime = MakeRuntime();
  }

  std::optional<KernelRuntime> MakeRuntime(KernelRuntimeSettings settings = {}) {
    if (settings.cacheFolder.empty()) settings.cacheFolder = OSTRA_TEST_CACHE;
    auto runtime = KernelRuntime::Create(*_host, std::move(settings));
    EXPECT_THAT(runtime, IsOk());
    return std::optional<KernelRuntime>(std::move(*runtime));
  }

  Url WriteFile(const std::string& name, const std::string& text) {
    const std::string path = _folder / name;
    std::ofstream(path, std::ios::binary) << text;
    return *Url::Create(path);
  }

  // The three values that a kernel fills, with `number` 2.
  static std::vector<Float32> Run(const LoadedKernel& kernel) {
    auto program = CreateObject<ParallelProgramInterface>(kCpuProgramClass);
    EXPECT_THAT(program, IsOk());
    EXPECT_THAT((*program)->Init(Url(), nullptr, 0, false), IsOk());
    EXPECT_THAT((*program)->AddKernel("fill"_iid, kernel.GetUrl(), true), IsOk());
    return RunAgain(**program);
  }

  static std::vector<Float32> RunAgain(ParallelProgramInterface& program) {
    EXPECT_THAT(program.CreateUniformBuffer("values"_iid, GetDataType<Float32>(), 3), IsOk());
    EXPECT_THAT(program.SetBufferToActiveKernelSameId("values"_iid), IsOk());
    EXPECT_THAT(program.SetUniform("count"_iid, UInt32(3)), IsOk());
    EXPECT_THAT(program.SetUniform("number"_iid, Float32(2)), IsOk());
    EXPECT_THAT(program.UpdateUniforms(), IsOk());
    EXPECT_THAT(program.DispatchKernel(3, 1, 1, false), IsOk());
    const auto data = program.GetGlobalBufferData("values"_iid);
    EXPECT_THAT(data, IsOk());
    const Array<Generic>& array = *data->Get<Array<Generic>>();
    std::vector<Float32> values;
    for (Int i = 0; i < array.GetCount(); ++i) values.push_back(array.operator[]<Float32>(i));
    return values;
  }

  TemporaryFolder _folder;
  std::optional<Host> _host;
  std::optional<KernelRuntime> _runtime;
};

TEST_F(KernelRuntimeTest, AFileBecomesAClassWithItsName) {
  const auto kernel = _runtime->Load(WriteFile("net.example.fill.krn", WriteKernel("UNIFORM(number)")));
  ASSERT_THAT(kernel, IsOk());
  EXPECT_EQ(kernel->GetClassId(), "net.example.fill.krn"_s);
  EXPECT_THAT(Run(*kernel), testing::ElementsAre(2, 2, 2));
}

TEST_F(KernelRuntimeTest, ATextBecomesAClassWithTheNameThatItIsGiven) {
  const auto kernel = _runtime->LoadText("net.example.text.krn", WriteKernel("UNIFORM(number) * float(i)"));
  ASSERT_THAT(kernel, IsOk());
  EXPECT_EQ(kernel->GetClassId(), "net.example.text.krn"_s);
  EXPECT_THAT(Run(*kernel), testing::ElementsAre(0, 2, 4));
}

TEST_F(KernelRuntimeTest, AKernelSaysWhatItWritesAndHowManyAxesItLooksAt) {
  std::string text = WriteKernel("float(InGlobalInvocationID.y)");
  text.insert(text.find("(Block<Float32>)"), "(const Block<Float32>) source, \\\n");
  const auto kernel = _runtime->LoadText("net.example.axes.krn", text);
  ASSERT_THAT(kernel, IsOk());
  EXPECT_EQ(kernel->GetAxisCount(), 2);
  EXPECT_TRUE(kernel->MayWrite("values"));
  EXPECT_FALSE(kernel->MayWrite("source"));
  EXPECT_FALSE(kernel->MayWrite("number"));
  EXPECT_FALSE(kernel->MayWrite("nothing"));
}

TEST_F(KernelRuntimeTest, AnUnchangedKernelKeepsItsClass) {
  const Url file = WriteFile("net.example.same.krn", WriteKernel("1.0"));
  const auto first = _runtime->Load(file), second = _runtime->Load(file);
  ASSERT_THAT(first, IsOk());
  ASSERT_THAT(second, IsOk());
  EXPECT_EQ(*first, *second);
  EXPECT_FALSE(second->WasCompiled());
}

TEST_F(KernelRuntimeTest, AnEditedFileBecomesANewClassAndProgramsKeepTheOldOne) {
  const Url file = WriteFile("net.example.edited.krn", WriteKernel("3.0"));
  const auto before = _runtime->Load(file);
  ASSERT_THAT(before, IsOk());
  auto program = *CreateObject<ParallelProgramInterface>(kCpuProgramClass);
  ASSERT_THAT(program->Init(Url(), nullptr, 0, false), IsOk());
  ASSERT_THAT(program->AddKernel("old"_iid, before->GetUrl(), true), IsOk());

  WriteFile("net.example.edited.krn", WriteKernel("4.0"));
  const auto after = _runtime->Load(file);
  ASSERT_THAT(after, IsOk());
  EXPECT_FALSE(*before == *after);
  EXPECT_EQ(after->GetClassId(), "net.example.edited-2.krn"_s);
  EXPECT_THAT(Run(*after), Each(4));
  EXPECT_THAT(RunAgain(*program), Each(3));
  ASSERT_THAT(program->AddKernel("new"_iid, after->GetUrl(), true), IsOk());
  EXPECT_THAT(RunAgain(*program), Each(4));

  // What was loaded before is there again.
  WriteFile("net.example.edited.krn", WriteKernel("3.0"));
  const auto again = _runtime->Load(file);
  ASSERT_THAT(again, IsOk());
  EXPECT_EQ(*before, *again);
}

TEST_F(KernelRuntimeTest, AnEditedHeaderBecomesANewClass) {
  WriteFile("net.example.header.h", "#define VALUE 5.0\n");
  const Url file =
      WriteFile("net.example.withheader.krn", "#include \"net.example.header.h\"\n" + WriteKernel("VALUE"));
  const auto before = _runtime->Load(file);
  ASSERT_THAT(before, IsOk());
  EXPECT_THAT(Run(*before), Each(5));
  WriteFile("net.example.header.h", "#define VALUE 6.0\n");
  const auto after = _runtime->Load(file);
  ASSERT_THAT(after, IsOk());
  EXPECT_THAT(Run(*after), Each(6));
}

TEST_F(KernelRuntimeTest, AMistakeIsToldWithTheLineOfTheKernelAndTheOldClassStays) {
  const Url file = WriteFile("net.example.wrong.krn", WriteKernel("7.0"));
  const auto before = _runtime->Load(file);
  ASSERT_THAT(before, IsOk());
  WriteFile("net.example.wrong.krn", WriteKernel("UNIFORM(numbr)"));
  const auto wrong = _runtime->Load(file);
  ASSERT_FALSE(wrong);
  EXPECT_EQ(wrong.GetError().GetKind(), kIllegalArgumentError);
  EXPECT_THAT(std::string(wrong.GetError().GetMessage().GetView()), HasSubstr("net.example.wrong.krn:13:"));
  EXPECT_THAT(std::string(wrong.GetError().GetMessage().GetView()), HasSubstr("numbr"));
  EXPECT_THAT(Run(*before), Each(7));
}

TEST_F(KernelRuntimeTest, AMistakeInATextIsToldWithItsName) {
  const auto wrong = _runtime->LoadText("net.example.wrongtext.krn", WriteKernel("nothing"));
  ASSERT_FALSE(wrong);
  EXPECT_THAT(std::string(wrong.GetError().GetMessage().GetView()), HasSubstr("net.example.wrongtext.krn:13:"));
}

TEST_F(KernelRuntimeTest, ATextThatIsNotUtf8IsRefused) {
  const auto wrong = _runtime->LoadText("net.example.bytes.krn", WriteKernel("\xFF"));
  ASSERT_FALSE(wrong);
  EXPECT_THAT(std::string(wrong.GetError().GetMessage().GetView()), HasSubstr("net.example.bytes.krn: error: "));
}

TEST_F(KernelRuntimeTest, AMissingFileIsNamed) {
  const auto missing = _runtime->Load(*Url::Create(_folder / "net.example.missing.krn"));
  ASSERT_FALSE(missing);
  EXPECT_THAT(std::string(missing.GetError().GetMessage().GetView()), HasSubstr("net.example.missing.krn"));
}

TEST_F(KernelRuntimeTest, ATemplateIsLoadedForSeveralTypes) {
  std::string text = WriteKernel("TYPE(2.75)");
  text.replace(text.find("(Float32) number"), 16, "(TYPE) number");
  const auto real = _runtime->LoadText("net.example.template.krn", text, "Float32");
  ASSERT_THAT(real, IsOk());
  EXPECT_THAT(Run(*real), Each(2.75f));
}

TEST_F(KernelRuntimeTest, RuntimesWithOtherSettingsHaveClassesOfTheirOwn) {
  const Url file = WriteFile("net.example.settings.krn", WriteKernel("UNIFORM(number) + 1.0"));
  auto fast = MakeRuntime({.isFast = true});
  const auto exact = _runtime->Load(file), quick = fast->Load(file);
  ASSERT_THAT(exact, IsOk());
  ASSERT_THAT(quick, IsOk());
  EXPECT_FALSE(*exact == *quick);
  EXPECT_THAT(Run(*exact), Each(3));
  EXPECT_THAT(Run(*quick), Each(3));
}

TEST_F(KernelRuntimeTest, TheCacheHasWhatWasCompiledBefore) {
  const std::string cache = _folder / "cache";
  const std::string text = WriteKernel("UNIFORM(number) - 1.0");
  auto first = MakeRuntime({.cacheFolder = cache});
  const auto compiled = first->LoadText("net.example.cached.krn", text);
  ASSERT_THAT(compiled, IsOk());
  EXPECT_TRUE(compiled->WasCompiled());
  // Another host finds the module.
  first.reset();
  _runtime.reset();
  _host.reset();
  SetUp();
  auto second = MakeRuntime({.cacheFolder = cache});
  const auto found = second->LoadText("net.example.cached.krn", text);
  ASSERT_THAT(found, IsOk());
  EXPECT_FALSE(found->WasCompiled());
  EXPECT_THAT(Run(*found), Each(1));
}

TEST_F(KernelRuntimeTest, ACacheThatCannotBeMadeIsAnErrorThatNamesTheSetting) {
  WriteFile("file", "no folder");
  auto runtime = MakeRuntime({.cacheFolder = _folder / "file/cache"});
  EXPECT_THAT(runtime->LoadText("net.example.uncached.krn", WriteKernel("2.0")),
              IsErrorContaining(kIllegalStateError,
                                "cannot be written; name another one with KernelRuntimeSettings::cacheFolder"));
}

TEST_F(KernelRuntimeTest, AnObserverIsToldTheSteps) {
  struct Recorder final : KernelBuildObserver {
    void Begin(KernelBuildStep step, const Url&) override { steps.push_back(step); }
    void End(KernelBuildStep step) override { EXPECT_EQ(step, steps.back()); }
    void Note(std::string_view) override {}
    std::vector<KernelBuildStep> steps;
  } recorder;
  auto runtime = MakeRuntime({.cacheFolder = _folder / "own", .observer = &recorder});
  ASSERT_THAT(runtime->LoadText("net.example.observed.krn", WriteKernel("8.0")), IsOk());
  EXPECT_THAT(recorder.steps,
              testing::IsSupersetOf({KernelBuildStep::kFrontEnd, KernelBuildStep::kCompile, KernelBuildStep::kLoad}));
}

TEST(KernelRuntimeWithoutModuleTest, TheModuleIsMissed) {
  auto host = Host::Create({.readsEnvironment = false});
  ASSERT_THAT(host, IsOk());
  const auto runtime = KernelRuntime::Create(*host);
  ASSERT_FALSE(runtime);
  EXPECT_THAT(std::string(runtime.GetError().GetMessage().GetView()), HasSubstr("load the module \"parallelprogram\""));
}

}  // namespace
}  // namespace ostra

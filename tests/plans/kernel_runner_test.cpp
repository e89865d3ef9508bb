// Kernel files run from a program, on files and arrays; on the GPU where there is one.
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>

#include "ostra/image/image.h"
#include "plans/run_kernel.h"
#include "plans/usage_error.h"
#include "tests/support/result_matchers.h"
#include "tests/support/temporary_folder.h"

namespace ostra {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Pair;

constexpr const char* kScale = OSTRA_TEST_KERNELS "/net.example.scale.krn";
constexpr const char* kInvert = OSTRA_TEST_KERNELS "/net.example.invert.krn";

class KernelRunnerTest : public testing::TestWithParam<bool> {
 protected:
  void SetUp() override {
    auto host = Host::Create({.readsEnvironment = false});
    ASSERT_THAT(host, IsOk());
    _host.emplace(std::move(*host));
    ASSERT_THAT(_host->LoadModule("parallelprogram"), IsOk());
    MakeRunner({});
    if (!GetParam()) return;
    const auto tried = Run(kScale, {.inputs = kOnes, .values = kValues});
    if (!tried && Message(tried).find("there is no GPU") != std::string::npos) GTEST_SKIP() << Message(tried);
  }
  void MakeRunner(KernelRunnerSettings settings) {
    settings.cacheFolder = OSTRA_TEST_CACHE;
    auto runner = KernelRunner::Create(*_host, settings);
    ASSERT_THAT(runner, IsOk());
    _runner.emplace(std::move(*runner));
  }
  Result<KernelRunResult> Run(const std::string& path, KernelRunRequest request) {
    request.isOnGpu = GetParam();
    return _runner->Run(*Url::Create(path), request);
  }
  // Of a file with this text.
  Result<KernelRunResult> RunText(const std::string& name, const std::string& text, const KernelRunRequest& request) {
    const std::string path = _folder / name;
    std::ofstream(path, std::ios::binary) << text;
    return Run(path, request);
  }
  static std::string ReadScale() {
    std::stringstream text;
    text << std::ifstream(kScale).rdbuf();
    return text.str();
  }
  template <class T>
  static std::string Message(const Result<T>& result) {
    return result ? "no error" : std::string(result.GetError().GetMessage().GetView());
  }
  static std::vector<Float32> Numbers(const KernelRunResult& result, std::string_view name) {
    const Array<Generic>* const array = result.FindBuffer(name);
    if (!array) return {};
    const Block<Float32> block = array->GetFirstBlock<Float32>();
    return {block.GetFirst(), block.GetFirst() + block.GetCount()};
  }

  const KernelRunRequest::Texts kOnes = {{"source", "ones:5"}, {"target", "zeros:5"}};
  const KernelRunRequest::Texts kValues = {{"count", "5"}, {"factor", "2.5"}};
  TemporaryFolder _folder;
  std::optional<Host> _host;
  std::optional<KernelRunner> _runner;
};

TEST_P(KernelRunnerTest, BuffersCountersAndPrintsComeBack) {
  const auto result = Run(kScale, {.inputs = kOnes, .values = kValues, .results = {"target"}});
  ASSERT_THAT(result, IsOk());
  EXPECT_THAT(Numbers(*result, "target"), ElementsAre(2.5f, 2.5f, 2.5f, 2.5f, 2.5f));
  EXPECT_EQ(result->FindBuffer("source"), nullptr);
  EXPECT_THAT(result->counters, ElementsAre(Pair("hits", 5u)));
  EXPECT_THAT(result->prints, ElementsAre(HasSubstr("net.example.scale.krn:18: invocation 2: i = 2")));
  EXPECT_GE(result->milliseconds, 0);
}

TEST_P(KernelRunnerTest, AnOutputIsAFileThatTheNextRunReads) {
  const std::string file = _folder / "scaled.npy";
  ASSERT_THAT(Run(kScale, {.inputs = kOnes, .outputs = {{"target", file}}, .values = kValues}), IsOk());
  const auto again =
      Run(kScale, {.inputs = {{"source", file}, {"target", "zeros:5"}}, .values = kValues, .results = {"target"}});
  ASSERT_THAT(again, IsOk());
  EXPECT_THAT(Numbers(*again, "target"), testing::Each(6.25f));
}

TEST_P(KernelRunnerTest, DispatchesExchangeBuffers) {
  const auto result = Run(kScale, {.inputs = kOnes,
                                   .values = kValues,
                                   .swaps = {{"source", "target"}},
                                   .results = {"target"},
                                   .iterationCount = 3});
  ASSERT_THAT(result, IsOk());
  EXPECT_THAT(Numbers(*result, "target"), testing::Each(15.625f));
  EXPECT_THAT(result->counters, ElementsAre(Pair("hits", 15u)));
}

TEST_P(KernelRunnerTest, APictureIsATextureAndAResultAPicture) {
  Image image = *Image::Create(16, 16);
  for (Int i = 0; i < image.rgba.GetCount(); ++i) image.rgba[i] = i % 4 == 3 ? 1 : Float32(i % 3) / 4;
  const std::string source = _folder / "in.exr", target = _folder / "out.exr";
  ASSERT_THAT(WriteImage(*Url::Create(source), image), IsOk());
  const auto result = Run(kInvert, {.inputs = {{"image", source}, {"target", "zeros:16x16"}},
                                    .outputs = {{"target", target}},
                                    .textures = {{"image", "wrap=clamp"}},
                                    .size = {16, 16}});
  ASSERT_THAT(result, IsOk());
  const auto inverted = ReadImage(*Url::Create(target));
  ASSERT_THAT(inverted, IsOk());
  for (Int i = 0; i < image.rgba.GetCount(); ++i) ASSERT_EQ(inverted->rgba[i], i % 4 == 3 ? 1 : 1 - image.rgba[i]) << i;
}

TEST_P(KernelRunnerTest, AnEditedFileIsAnotherKernel) {
  for (const char* factor : {"2.0", "4.0"}) {
    std::string text = ReadScale();
    text.replace(text.find("* UNIFORM(factor);"), 18, std::string("* ") + factor + ";");
    const auto result =
        RunText("net.example.edited.krn", text, {.inputs = kOnes, .values = kValues, .results = {"target"}});
    ASSERT_THAT(result, IsOk());
    EXPECT_THAT(Numbers(*result, "target"), testing::Each(std::stof(factor)));
  }
}

TEST_P(KernelRunnerTest, ATypeTakesThePlaceOfTheWord) {
  std::string text = ReadScale();
  for (std::size_t at = text.find("Block<Float32>"); at != std::string::npos; at = text.find("Block<Float32>"))
    text.replace(at, 14, "Block<TYPE>");
  const auto result = RunText("net.example.typed.krn", text,
                              {.inputs = kOnes, .values = kValues, .results = {"target"}, .type = "float"});
  ASSERT_THAT(result, IsOk());
  EXPECT_THAT(Numbers(*result, "target"), testing::Each(2.5f));
}

TEST_P(KernelRunnerTest, WhatDoesNotSuitTheKernelIsAUsageErrorWithTheNearestName) {
  const auto refuse = [&](const KernelRunRequest& request) {
    const auto result = Run(kScale, request);
    EXPECT_TRUE(!result && result.GetError().GetKind() == plans::kUsageError) << Message(result);
    return Message(result);
  };
  EXPECT_THAT(refuse({.inputs = {{"sorce", "ones:5"}}, .values = kValues}), HasSubstr("\"source\""));
  EXPECT_THAT(refuse({.inputs = kOnes, .values = {{"count", "5"}}}), HasSubstr("factor"));
  EXPECT_THAT(refuse({.inputs = kOnes, .values = kValues, .results = {"taget"}}), HasSubstr("\"target\""));
  EXPECT_THAT(refuse({.inputs = kOnes, .values = kValues, .size = {0}}), HasSubstr("0"));
  EXPECT_THAT(refuse({.inputs = kOnes, .values = kValues, .iterationCount = 0}),
              HasSubstr("once or more, not 0 times"));
}

TEST_P(KernelRunnerTest, AFailedRunSaysTheLineAndWritesNothing) {
  const std::string file = _folder / "none.npy";
  EXPECT_THAT(
      Message(
          Run(kScale, {.inputs = kOnes, .outputs = {{"target", file}}, .values = {{"count", "5"}, {"factor", "-1"}}})),
      HasSubstr("net.example.scale.krn:19:2: error: the ASSERT does not hold: factors are positive"));
  EXPECT_FALSE(std::filesystem::exists(file));
  EXPECT_THAT(Message(RunText("net.example.wrong.krn", "no kernel", {})), HasSubstr("net.example.wrong.krn"));
  EXPECT_THAT(Message(_runner->Run(*Url::Create(_folder / "missing.krn"), {.isOnGpu = GetParam()})),
              HasSubstr("missing.krn"));
}

TEST_P(KernelRunnerTest, ACheckedKernelFindsAnIndexOutsideOfABuffer) {
  MakeRunner({.isChecked = true});
  EXPECT_THAT(Message(Run(kScale, {.inputs = kOnes, .values = {{"count", "7"}, {"factor", "1"}}, .size = {7}})),
              HasSubstr("is outside the 5 elements of the buffer"));
}

// Stops the work before its second dispatch.
class Stopping final : public plans::WorkObserver {
 public:
  Bool IsStopped() const override { return ++_asked > 1; }

 private:
  mutable int _asked = 0;
};

TEST_P(KernelRunnerTest, AnObserverStopsARun) {
  Stopping observer;
  MakeRunner({.observer = &observer});
  EXPECT_THAT(Message(Run(kScale, {.inputs = kOnes, .values = kValues, .iterationCount = 1000})),
              HasSubstr("The work was stopped"));
}

INSTANTIATE_TEST_SUITE_P(Backends, KernelRunnerTest, testing::Bool(),
                         [](const auto& one) { return one.param ? "Gpu" : "Cpu"; });

}  // namespace
}  // namespace ostra

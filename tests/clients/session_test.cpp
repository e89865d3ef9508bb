#include "clients/cpp/session.h"

#include <gmock/gmock.h>

#include <numeric>
#include <string>
#include <vector>

#include "net.example.blur.kernel.h"
#include "net.example.count.kernel.h"
#include "net.example.particles.kernel.h"
#include "net.example.ramp.kernel.h"
#include "net.example.report.kernel.h"
#include "net.example.sample.kernel.h"
#include "net.example.scale.kernel.h"
#include "net.ostra.test.templated.kernel.h"
#include "ostra/image/image.h"
#include "tests/support/result_matchers.h"
#include "tests/support/temporary_folder.h"

namespace ostra {
namespace {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::SizeIs;

class SessionTest : public testing::TestWithParam<Backend> {
 protected:
  void SetUp() override {
    auto session = Session::TryCreate({.backend = GetParam()});
    if (!session && GetParam() == Backend::kGpu)
      GTEST_SKIP() << "There is no GPU device on this machine: " << session.GetError().GetMessage().GetView();
    ASSERT_THAT(session, IsOk());
    _session.emplace(std::move(*session));
  }

  static std::vector<Float32> Copy(std::span<const Float32> values) { return {values.begin(), values.end()}; }

  std::optional<Session> _session;
};

INSTANTIATE_TEST_SUITE_P(Backends, SessionTest, testing::Values(Backend::kCpu, Backend::kGpu),
                         [](const auto& test) { return test.param == Backend::kCpu ? "Cpu" : "Gpu"; });

TEST_P(SessionTest, AChainOfKernelsGivesTheExpectedNumbers) {
  const auto ramp = _session->Load<kernels::Ramp>();
  const auto blur = _session->Load<kernels::Blur>();
  const auto scale = _session->Load<kernels::Scale>();
  auto values = _session->MakeBuffer<Float32>(5), blurred = _session->MakeBuffer<Float32>(5);
  ramp({.count = 5, .values = values});
  blur({.count = 5, .source = values, .target = blurred});
  scale({.count = 5, .factor = 3, .values = blurred});
  EXPECT_THAT(Copy(values.Read()), ElementsAre(0, 1, 2, 3, 4));
  EXPECT_THAT(Copy(blurred.Read()), ElementsAre(0, 3, 6, 9, 12));
}

TEST_P(SessionTest, PrintsArriveAtTheListenerBeforeACallReturnsAndThoseOfAFailedOneToo) {
  const auto report = _session->Load<kernels::Report>();
  auto source = _session->MakeBuffer(std::vector<Float32>{0.25f, 0.5f, 4}), target = _session->MakeBuffer<Float32>(3);
  std::vector<std::string> lines;
  _session->SetPrintListener([&](const KernelPrints& prints) {
    EXPECT_EQ(prints.lostCount, 0);
    for (const KernelPrint& print : prints.prints) lines.push_back(FormatKernelPrint(print));
  });
  report({.count = 2, .scale = 1, .limit = 3, .source = source, .target = target});
  ASSERT_THAT(lines, SizeIs(8));
  EXPECT_THAT(lines[0], EndsWith("net.example.report.krn:21: invocation 0: i = 0, x = 0.25, 100%"));
  EXPECT_THAT(lines[4], EndsWith("invocation 1: i = 1, x = 0.5, 100%"));
  lines.clear();
  const auto failed = report.TryRun({.count = 3, .scale = 1, .limit = 3, .source = source, .target = target});
  EXPECT_THAT(failed, IsErrorContaining(kIllegalStateError, "small"));
  EXPECT_THAT(lines, Contains(EndsWith("invocation 2: i = 2, x = 4, 100%")));
}

TEST_P(SessionTest, PrintsGoToStandardErrorUnlessTheyAreTaken) {
  const auto report = _session->Load<kernels::Report>();
  auto source = _session->MakeBuffer(std::vector<Float32>{0.25f}), target = _session->MakeBuffer<Float32>(1);
  testing::internal::CaptureStderr();
  report({.count = 1, .scale = 1, .limit = 3, .source = source, .target = target});
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("invocation 0: i = 0, x = 0.25, 100%\n"));
}

TEST_P(SessionTest, SwappedBuffersIterateWithoutLeavingTheDevice) {
  const auto blur = _session->Load<kernels::Blur>();
  auto source = _session->MakeBuffer(std::vector<Float32>{0, 0, 27, 0, 0}), target = _session->MakeBuffer<Float32>(5);
  for (int i = 0; i < 2; ++i) {
    blur({.count = 5, .source = source, .target = target});
    std::swap(source, target);
  }
  EXPECT_THAT(Copy(source.Read()), ElementsAre(0, 6, 9, 6, 0));
}

TEST_P(SessionTest, BuffersAreWrittenInPart) {
  auto buffer = _session->MakeBuffer<Float32>(4);
  const std::vector<Float32> part = {1, 2};
  buffer.Write(part, 1);
  EXPECT_THAT(Copy(buffer.Read()), ElementsAre(0, 1, 2, 0));
  const auto wrong = buffer.TryWrite(part, 3);
  ASSERT_THAT(wrong, IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(std::string(wrong.GetError().GetMessage().GetView()),
              HasSubstr("2 elements from 3 on do not fit into a buffer of 4."));
  EXPECT_THAT(Copy(buffer.Read()), ElementsAre(0, 1, 2, 0));
}

TEST_P(SessionTest, SharedMemoryOfTheClientHoldsTheResult) {
  const auto scale = _session->Load<kernels::Scale>();
  std::vector<Float32> memory = {1, 2, 3};
  auto shared = _session->ShareBuffer(std::span<Float32>(memory));
  scale({.count = 3, .factor = 2, .values = shared});
  const std::span<const Float32> result = shared.Read();
  EXPECT_THAT(Copy(result), ElementsAre(2, 4, 6));
  if (GetParam() == Backend::kCpu) {
    EXPECT_EQ(result.data(), memory.data()) << "The elements are copied.";
  } else {
    EXPECT_THAT(memory, ElementsAre(1, 2, 3));
  }
}

TEST_P(SessionTest, AKernelForgetsSharedMemoryWithItsBuffer) {
  const auto scale = _session->Load<kernels::Scale>();
  {
    std::vector<Float32> memory = {1, 2, 3};
    auto shared = _session->ShareBuffer(std::span<Float32>(memory));
    scale({.count = 3, .factor = 2, .values = shared});
  }
  if (GetParam() == Backend::kCpu) {
    EXPECT_FALSE(scale.TryRun({.count = 3, .factor = 2, .values = nullptr}, {3}));
  }
  auto values = _session->MakeBuffer(std::vector<Float32>{5});
  scale({.count = 1, .factor = 2, .values = values});
  EXPECT_EQ(values.Read()[0], 10);
}

TEST_P(SessionTest, ResultsOfTheCpuAreReadWhereTheyAre) {
  if (GetParam() == Backend::kGpu) GTEST_SKIP() << "Memory of a GPU is copied.";
  const auto scale = _session->Load<kernels::Scale>();
  auto values = _session->MakeBuffer(std::vector<Float32>{1, 2});
  const std::span<const Float32> before = values.Read();
  scale({.count = 2, .factor = 5, .values = values});
  EXPECT_THAT(before, ElementsAre(5, 10));
  EXPECT_EQ(values.Read().data(), before.data());
}

TEST_P(SessionTest, CountersCount) {
  const auto count = _session->Load<kernels::Count>();
  auto values = _session->MakeBuffer(std::vector<Float32>(64, 3.0f));
  auto hits = _session->MakeCounter("hits", 100);
  count({.limit = 2, .values = values, .hits = hits});
  EXPECT_EQ(hits.Read(), 164u);
  hits.Write(1);
  EXPECT_EQ(hits.Read(), 1u);
  auto other = _session->MakeCounter("misses");
  const auto wrong = count.TryRun({.limit = 2, .values = values, .hits = other});
  ASSERT_FALSE(wrong);
  EXPECT_THAT(std::string(wrong.GetError().GetMessage().GetView()), HasSubstr("\"misses\""));
}

TEST_P(SessionTest, BuffersHoldStructs) {
  const auto change = _session->Load<kernels::Particles>();
  auto source = _session->MakeBuffer<kernelstructs::Particle>(2),
       target = _session->MakeBuffer<kernelstructs::Particle>(2);
  auto bodies = _session->MakeBuffer<kernelstructs::Body>(2);
  kernelstructs::Particle first{};
  first.id = 41;
  source.Write({&first, 1});
  change({.count = 2, .source = source, .bodies = bodies, .target = target}, {2});
  EXPECT_EQ(target.Read()[0].id, 42u);
  EXPECT_EQ(target.Read()[1].id, 1u);
  EXPECT_EQ(target.Read()[0].body.spin.x, 0.25f);
}

TEST_P(SessionTest, TexturesAreSampled) {
  const auto sample = _session->Load<kernels::Sample>();
  const std::vector<Float32> texels(4 * 4, 0.5f);  // 2 x 2, four channels
  TextureBindData description;
  description._data = reinterpret_cast<const Byte*>(texels.data());
  description._dataSize = Int(texels.size() * sizeof(Float32));
  description._dimensions = {2, 2, 1};
  description._format = TextureFormat::F32;
  description._numChannels = 4;
  auto image = _session->MakeTexture(description);
  auto result = _session->MakeBuffer<Vec4<Float32>>(16);
  sample({.width = 4, .height = 4, .image = image, .result = result}, {4, 4});
  for (const Vec4<Float32>& texel : result.Read()) EXPECT_EQ(texel, Vec4<Float32>(0.5f, 0.5f, 0.5f, 0.5f));
}

TEST_P(SessionTest, BuffersAreLoadedFromFilesAndSaved) {
  const TemporaryFolder folder;
  const auto scale = _session->Load<kernels::Scale>();
  _session->MakeBuffer(std::vector<Float32>{1, 2, 3, 4, 5, 6}).Save(folder / "a.npy", {3, 2, 1});
  for (const char* name : {"b.npy", "b.raw"}) {
    auto values = _session->LoadBuffer<Float32>(folder / "a.npy");
    EXPECT_EQ(values.GetCount(), 6);
    EXPECT_EQ(values.GetExtent().width, 3);
    EXPECT_EQ(values.GetExtent().height, 2);
    scale({.count = 6, .factor = 2, .values = values});
    values.Save(folder / name);
    auto again = _session->LoadBuffer<Float32>(folder / name);
    EXPECT_THAT(Copy(again.Read()), ElementsAre(2, 4, 6, 8, 10, 12));
    EXPECT_EQ(again.GetExtent().width, name[2] == 'n' ? 3 : 6);
  }
  const auto wrong = _session->TryLoadBuffer<Int32>(folder / "a.npy");
  ASSERT_FALSE(wrong);
  EXPECT_THAT(std::string(wrong.GetError().GetMessage().GetView()),
              testing::AllOf(HasSubstr("session_test.cpp:"),
                             HasSubstr("a.npy holds numbers of the type float32, but int32 is needed.")));
  EXPECT_THAT(_session->TryLoadBuffer<Float32>(folder / "missing.raw"), IsErrorOfKind(kIllegalStateError));
  EXPECT_THAT(_session->MakeBuffer<Float32>(3).TrySave(folder / "c.png"), IsErrorOfKind(kIllegalArgumentError));
}

TEST_P(SessionTest, StructsAreSavedAsRecords) {
  const TemporaryFolder folder;
  auto particles = _session->MakeBuffer<kernelstructs::Particle>(2);
  kernelstructs::Particle second{};
  second.id = 41;
  second.body.spin.x = 0.5f;
  particles.Write({&second, 1}, 1);
  particles.Save(folder / "particles.npy");
  auto again = _session->LoadBuffer<kernelstructs::Particle>(folder / "particles.npy");
  EXPECT_EQ(again.Read()[0].id, 0u);
  EXPECT_EQ(again.Read()[1].id, 41u);
  EXPECT_EQ(again.Read()[1].body.spin.x, 0.5f);
  EXPECT_THAT(_session->TryLoadBuffer<kernelstructs::Body>(folder / "particles.npy"),
              IsErrorOfKind(kIllegalArgumentError));
}

TEST_P(SessionTest, PicturesBecomeTexturesAndBuffersPictures) {
  const TemporaryFolder folder;
  const Vec4<Float32> colour(0.2f, 0.4f, 0.6f, 1);
  _session->MakeBuffer(std::vector<Vec4<Float32>>(6, colour)).Save(folder / "a.png", {3, 2, 1});
  const auto sample = _session->Load<kernels::Sample>();
  auto result = _session->MakeBuffer<Vec4<Float32>>(16);
  const auto expectColour = [&](Vec4<Float32> expected) {
    for (const Vec4<Float32>& texel : result.TryRead().GetValue())
      for (int i = 0; i < 4; ++i) EXPECT_NEAR(texel[i], expected[i], 1e-6f);
  };
  const auto image = _session->LoadTexture(folder / "a.png");
  sample({.width = 4, .height = 4, .image = image, .result = result}, {4, 4});
  expectColour(colour);
  const auto turned = _session->LoadTexture(folder / "a.png", {}, "bgra");
  sample({.width = 4, .height = 4, .image = turned, .result = result}, {4, 4});
  expectColour({0.6f, 0.4f, 0.2f, 1});
  EXPECT_THAT(_session->TryLoadTexture(folder / "a.png", {}, "bgrx"), IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(_session->TryLoadTexture(folder / "a.png", {._format = TextureFormat::I32}),
              IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(_session->TryLoadTexture(folder / "missing.png"), IsErrorOfKind(kIllegalStateError));
}

TEST_P(SessionTest, TemplatesRunWithTheirType) {
  const auto twice = _session->Load<kernels::Templated>();
  auto source = _session->MakeBuffer(std::vector<Float32>(64, 1.5f)), target = _session->MakeBuffer<Float32>(64);
  twice({.source = source, .target = target});
  EXPECT_THAT(target.Read(), Each(3.0f));
}

TEST_P(SessionTest, WithBuffersOfDifferentCountsTheSizeIsAskedFor) {
  const auto blur = _session->Load<kernels::Blur>();
  auto source = _session->MakeBuffer<Float32>(5), target = _session->MakeBuffer<Float32>(6);
  const auto wrong = blur.TryRun({.count = 5, .source = source, .target = target});
  ASSERT_THAT(wrong, IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(std::string(wrong.GetError().GetMessage().GetView()), HasSubstr("say how many invocations run"));
  EXPECT_THAT(blur.TryRun({.count = 5, .source = source, .target = target}, {5}), IsOk());
}

TEST_P(SessionTest, ErrorsSayWhereTheClientHasCalled) {
  const auto blur = _session->Load<kernels::Blur>();
  auto source = _session->MakeBuffer<Float32>(5);
  const int line = __LINE__ + 2;
  try {
    blur({.count = 5, .source = source, .target = nullptr}, {5});
    FAIL() << "A buffer that the kernel uses is missing.";
  } catch (const Exception& exception) {
    EXPECT_THAT(exception.what(), HasSubstr("session_test.cpp:" + std::to_string(line) + ": "));
    EXPECT_THAT(exception.what(), HasSubstr("target"));
  }
  EXPECT_THROW(_session->MakeBuffer<Float32>(0), Exception);
}

TEST_P(SessionTest, ABufferOfAnEarlierCallDoesNotStandForOneThatIsLeftOut) {
  const auto scale = _session->Load<kernels::Scale>();
  auto values = _session->MakeBuffer(std::vector<Float32>{1});
  scale({.count = 1, .factor = 2, .values = values});
  const auto wrong = scale.TryRun({.count = 1, .factor = 2, .values = nullptr}, {1});
  ASSERT_THAT(wrong, IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(std::string(wrong.GetError().GetMessage().GetView()),
              HasSubstr("An earlier call gave the parameter \"values\""));
  const auto fresh = _session->Load<kernels::Scale>();
  EXPECT_FALSE(fresh.TryRun({.count = 1, .factor = 2, .values = nullptr}, {1}));
  EXPECT_THAT(Copy(values.Read()), ElementsAre(2));
}

TEST_P(SessionTest, ABufferMayBeGoneBeforeTheNextCall) {
  const auto scale = _session->Load<kernels::Scale>();
  {
    auto values = _session->MakeBuffer(std::vector<Float32>{1});
    scale({.count = 1, .factor = 2, .values = values});
  }
  auto values = _session->MakeBuffer(std::vector<Float32>{3});
  scale({.count = 1, .factor = 2, .values = values});
  EXPECT_THAT(Copy(values.Read()), ElementsAre(6));
}

TEST_P(SessionTest, ResourcesOfAnotherSessionAreRefused) {
  auto other = Session::TryCreate({.backend = GetParam()});
  ASSERT_THAT(other, IsOk());
  const auto scale = _session->Load<kernels::Scale>();
  auto values = other->MakeBuffer<Float32>(3);
  const auto wrong = scale.TryRun({.count = 3, .factor = 2, .values = values});
  ASSERT_FALSE(wrong);
  EXPECT_THAT(std::string(wrong.GetError().GetMessage().GetView()), HasSubstr("belongs to another session"));
}

TEST_P(SessionTest, WhatASessionHasMadeOutlivesIt) {
  auto values = _session->MakeBuffer(std::vector<Float32>{1, 2});
  const auto scale = _session->Load<kernels::Scale>();
  _session.reset();
  scale({.count = 2, .factor = 2, .values = values});
  EXPECT_THAT(Copy(values.Read()), ElementsAre(2, 4));
}

TEST_P(SessionTest, ManyCallsAreInFlight) {
  const auto scale = _session->Load<kernels::Scale>();
  auto values = _session->MakeBuffer(std::vector<Float32>{1});
  for (int i = 0; i < 20; ++i) scale({.count = 1, .factor = 2, .values = values});
  _session->Wait();
  EXPECT_THAT(Copy(values.Read()), ElementsAre(1 << 20));
}

TEST(SessionHostTest, TheClientsOwnHostIsUsed) {
  auto host = Host::Create({.readsEnvironment = false});
  ASSERT_THAT(host, IsOk());
  auto session = Session::TryCreate({.host = &*host});
  ASSERT_THAT(session, IsOk());
  auto values = session->MakeBuffer(std::vector<Float32>{4});
  session->Load<kernels::Scale>()({.count = 1, .factor = 2, .values = values});
  EXPECT_EQ(values.Read()[0], 8);
}

TEST(SessionHostTest, ASecondHostIsAnErrorAtTheCall) {
  auto host = Host::Create({.readsEnvironment = false});
  ASSERT_THAT(host, IsOk());
  const auto session = Session::TryCreate();
  ASSERT_THAT(session, IsErrorOfKind(kIllegalStateError));
  EXPECT_THAT(std::string(session.GetError().GetMessage().GetView()), HasSubstr("session_test.cpp:"));
}

}  // namespace
}  // namespace ostra

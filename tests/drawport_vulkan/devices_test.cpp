// Several devices: drawports of each, when they start, and what is said about those that do not. Every device of the
// machine is there twice, so that one is enough.
#include <atomic>
#include <cstdlib>
#include <set>
#include <thread>

#include "ostra/drawport_vulkan/device_list.h"
#include "tests/drawport_vulkan/internal_fixture.h"

using namespace ostra;
using namespace ostra::vulkan;
using testing::HasSubstr;

namespace {

class DevicesTest : public DriverTest {
 protected:
  void SetUp() override {
    Driver::Pretend({.hasEveryDeviceTwice = true});
    DriverTest::SetUp();
    if (!IsSkipped()) _cache = Take(_cacheClass->CreateObject<DrawportCacheInterface>());
  }
  void TearDown() override {
    _cache = {};
    SetDrawportStagingCapacity(0);
    DriverTest::TearDown();
    Driver::Pretend({});
  }
  void Restart(const PretendedMachine& machine) {
    _driver = {};
    Driver::Pretend(machine);
    _driver = Take(Driver::Get());
  }
  DrawportRef AllocDrawport() { return Take(_cache->AllocDrawport(kDrawportTypeVulkan, kDrawportSubtypeSystem)); }

  DrawportCacheRef _cache;
};

TEST_F(DevicesTest, EachDeviceHasOneDrawport) {
  const DrawportRef drawport = AllocDrawport();
  EXPECT_EQ(AllocDrawport(), drawport);
  const DrawportContextRef own = Take(drawport->CreateOffscreenRenderContext(true, 0));
  EXPECT_EQ(own->GetDrawport(), drawport);
  const DrawportContextRef one = Take(drawport->CreateOffscreenRenderContext(true, 1));
  const DrawportContextRef two = Take(drawport->CreateOffscreenRenderContext(true, 1));
  EXPECT_NE(one->GetDrawport(), drawport);
  EXPECT_EQ(one->GetDrawport(), two->GetDrawport());
  EXPECT_EQ(one->GetDrawport()->GetDrawportCache(), _cache);
  EXPECT_EQ(&static_cast<Context&>(*one).GetDevice(), &static_cast<Context&>(*two).GetDevice());
  EXPECT_NE(&static_cast<Context&>(*one).GetDevice(), &static_cast<Context&>(*own).GetDevice());
  // And back again.
  EXPECT_EQ(Take(one->GetDrawport()->CreateOffscreenRenderContext(true, 0))->GetDrawport(), drawport);
  const DrawportCacheRef other = Take(_cacheClass->CreateObject<DrawportCacheInterface>());
  EXPECT_NE(Take(other->AllocDrawport(kDrawportTypeVulkan, kDrawportSubtypeSystem)), drawport);
  const Int places = _driver->GetDeviceCount();
  EXPECT_THAT(drawport->CreateOffscreenRenderContext(false, static_cast<Int32>(places)),
              IsErrorContaining(kIllegalArgumentError, "There is no GPU device "));
}

// Without it nothing would tell that tests on pretended devices really ran on the driver itself.
TEST_F(DevicesTest, APretendedDeviceIsTheOneThatIsUsed) {
  if (!std::getenv("OSTRA_PRETENDED_DEVICE")) GTEST_SKIP() << "No device is pretended.";
  EXPECT_THAT(std::string(_driver->GetSnapshot(0).name.GetView()), testing::StartsWith("Pretended "));
}

TEST_F(DevicesTest, DrawportsGoWithTheirHolders) {
  const DrawportRef drawport = AllocDrawport();
  const auto visit = [&] { Take(drawport->CreateOffscreenRenderContext(true, 1)); };
  visit();
  const Int before = AllocationFaults::GetLiveCount();
  for (int i = 0; i < 3; ++i) visit();
  EXPECT_EQ(AllocationFaults::GetLiveCount(), before);
}

TEST_F(DevicesTest, SeveralThreadsGetTheSameDrawports) {
  const DrawportRef drawport = AllocDrawport();
  const DrawportContextRef other = Take(drawport->CreateOffscreenRenderContext(true, 1));
  std::atomic<Int> wrong{0};
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 3; ++thread) {
    threads.emplace_back([&, thread] {
      const DrawportCacheRef own = Take(_cacheClass->CreateObject<DrawportCacheInterface>());
      for (int i = 0; i < 6; ++i) {
        // Those of the common cache are held, those of the thread's own come and go.
        const DrawportContextRef context = Take(AllocDrawport()->CreateOffscreenRenderContext(true, (thread + i) % 2));
        wrong += context->GetDrawport() != ((thread + i) % 2 == 0 ? drawport : other->GetDrawport());
        const DrawportRef mine = Take(own->AllocDrawport(kDrawportTypeVulkan, kDrawportSubtypeSystem));
        wrong += Take(mine->CreateOffscreenRenderContext(true, 1))->GetDrawport() == mine;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
}

TEST_F(DevicesTest, OtherSettingsMakeAnotherDrawport) {
  const DrawportRef drawport = AllocDrawport();
  SetDrawportStagingCapacity(1 << 20);
  const DrawportRef small = AllocDrawport();
  EXPECT_NE(small, drawport);
  EXPECT_EQ(small->GetCapabilities().GetValue(DrawportCapability::BufferTransferChunk), 1 << 20);
  EXPECT_EQ(AllocDrawport(), small);
  SetDrawportStagingCapacity(0);
  EXPECT_EQ(AllocDrawport(), drawport);
}

TEST_F(DevicesTest, ADeviceStartsWithItsFirstContext) {
  const auto fails = [] { CallFaults::FailNth(1, VK_ERROR_INITIALIZATION_FAILED); };
  fails();
  const DrawportRef drawport = AllocDrawport();
  EXPECT_GT(drawport->GetCapabilities().GetValue(DrawportCapability::SubBufferAlignment), 0);
  EXPECT_FALSE(CallFaults::HasFired());
  EXPECT_THAT(drawport->CreateOffscreenRenderContext(true, 0), IsErrorOfKind(kIllegalStateError));
  EXPECT_TRUE(CallFaults::HasFired());
  const DrawportContextRef other = Take(drawport->CreateOffscreenRenderContext(true, 1));  // the first is not needed
  EXPECT_THAT(drawport->CreateOffscreenRenderContext(true, 0), IsOk());                    // nor lost for good
}

TEST_F(DevicesTest, AllContextsInThePlaceOfALostDeviceShareADrawport) {
  const DrawportRef drawport = AllocDrawport();
  const DrawportContextRef lost = Take(drawport->CreateOffscreenRenderContext(true, 1));
  Take(static_cast<Context&>(*lost).GetCommands().GetRecorder().BeginBatch());
  CallFaults::FailNth(2, VK_ERROR_DEVICE_LOST);  // after the end of recording
  EXPECT_THAT(lost->GetCommandList().Execute(true), IsErrorWith(kIllegalStateError, "The GPU device is lost."));
  CallFaults::Disable();
  const DrawportContextRef fresh = Take(drawport->CreateOffscreenRenderContext(true, 1));
  EXPECT_NE(fresh->GetDrawport(), lost->GetDrawport());
  EXPECT_EQ(Take(lost->GetDrawport()->CreateOffscreenRenderContext(true, 1))->GetDrawport(), fresh->GetDrawport());
}

TEST_F(DevicesTest, TheListHasDevicesThatWorkAndTheReasonOfThoseThatDoNot) {
  std::set<Int> seen;
  for (Int n = 1;; ++n) {
    SCOPED_TRACE(n);
    CallFaults::FailNth(n, VK_ERROR_INITIALIZATION_FAILED);
    const auto devices = ListDevices(*_cache);
    const Bool fired = CallFaults::HasFired();
    CallFaults::Disable();
    ASSERT_THAT(devices, IsOk());
    ASSERT_EQ(devices->GetCount(), _driver->GetDeviceCount());
    for (Int i = 0; i < devices->GetCount(); ++i) {
      const DrawportDeviceInformation& device = (*devices)[i];
      EXPECT_EQ(device.name, _driver->GetSnapshot(i).name);
      EXPECT_EQ(device.problem.IsEmpty(), device.features.IsPopulated());
      if (device.problem.IsEmpty()) continue;
      EXPECT_THAT(device.problem.GetView(), HasSubstr("VK_ERROR_INITIALIZATION_FAILED"));
      EXPECT_TRUE(fired);
      seen.insert(i);
    }
    if (!fired) break;
  }
  EXPECT_EQ(static_cast<Int>(seen.size()), _driver->GetDeviceCount());
}

TEST_F(DevicesTest, AMachineWhoseOnlyDeviceDoesNotStartSaysWhy) {
  Restart({});
  if (_driver->GetDeviceCount() > 1) GTEST_SKIP() << "There is more than one device.";
  CallFaults::FailNth(1, VK_ERROR_INITIALIZATION_FAILED);
  EXPECT_THAT(ListDevices(*_cache), IsErrorContaining(kIllegalStateError, "VK_ERROR_INITIALIZATION_FAILED"));
}

TEST_F(DevicesTest, ADeviceThatCannotBeUsedIsListedLastWithTheReason) {
  Restart({.hasEveryDeviceTwice = true, .firstIsUnusable = true});
  const Int usable = _driver->GetDeviceCount();
  const auto devices = Take(ListDevices(*_cache));
  ASSERT_EQ(devices.GetCount(), usable + 1);
  for (Int i = 0; i < usable; ++i) EXPECT_TRUE(devices[i].isUsable);
  const DrawportDeviceInformation& last = devices[usable];
  EXPECT_FALSE(last.isUsable);
  EXPECT_EQ(last.problem, "no timeline semaphores"_s);
  EXPECT_EQ(last.name, _driver->GetSnapshot(usable).name);
  EXPECT_THAT(AllocDrawport()->CreateOffscreenRenderContext(false, static_cast<Int32>(usable)),
              IsErrorContaining(kIllegalArgumentError, "cannot be used: no timeline semaphores"));
}

TEST_F(DevicesTest, AMachineWithoutAUsableDeviceSaysWhyEachCannotBeUsed) {
  _driver = {};
  Driver::Pretend({});
  if (Take(Driver::Get())->GetListedCount() > 1) GTEST_SKIP() << "There is more than one device.";
  const std::string name(Take(Driver::Get())->GetSnapshot(0).name.GetView());
  Driver::Pretend({.firstIsUnusable = true});
  EXPECT_THAT(ListDevices(*_cache), IsErrorWith(kIllegalStateError, "There is no usable GPU device on this machine: " +
                                                                        name + " (no timeline semaphores)."));
}

TEST_F(DevicesTest, DrawsOnTheFirstDeviceThatCan) {
  if (!CanDraw(_driver->GetSnapshot(0))) GTEST_SKIP() << "The first device cannot draw.";
  EXPECT_EQ(AllocDrawport()->GetDrawingDevice(), 0);
  Restart({.hasEveryDeviceTwice = true, .firstCannotDraw = true});
  const DrawportRef drawport = AllocDrawport();
  const Int32 index = drawport->GetDrawingDevice();
  EXPECT_GT(index, 0);
  DrawportRenderTargetDescription description{.width = 2, .height = 2};
  description.colorFormats[0] = Take(GetPixelFormat("net.ostra.image.pixelformat.rgba.f32"_id));
  const auto createTarget = [&](Int32 device) {
    return _cache->CreateRenderTarget(*Take(drawport->CreateOffscreenRenderContext(false, device)), description);
  };
  EXPECT_THAT(createTarget(0), IsErrorWith(kIllegalStateError, "The GPU device cannot draw."));
  EXPECT_THAT(createTarget(index), IsOk());
  const auto devices = Take(ListDevices(*_cache));
  EXPECT_FALSE(devices[0].canDraw);
  EXPECT_TRUE(devices[index].canDraw);
}

}  // namespace

// What `ostra info` says about devices that are not those of this machine.
#include <gmock/gmock.h>

#include "apps/ostra/info/info_command.h"
#include "tests/support/result_matchers.h"

namespace ostra::tool {
namespace {

using testing::HasSubstr;

TEST(InfoTest, DevicesThatCannotBeUsedHaveNoNumberButAReason) {
  BaseArray<DrawportDeviceInformation> devices;
  for (const char* name : {"Good", "Broken", "Old"}) {
    DrawportDeviceInformation device;
    device.name = *String::Create(name);
    device.kind = "discrete"_s;
    ASSERT_THAT(devices.Append(std::move(device)), IsOk());
  }
  devices[1].problem = "VK_ERROR_INITIALIZATION_FAILED"_s;
  devices[2].isUsable = false;
  devices[2].problem = "no timeline semaphores"_s;
  devices[0].canDraw = true;
  ASSERT_THAT(devices[0].missing.Append("64-bit floats"_s), IsOk());
  ASSERT_THAT(devices[0].missing.Append("tessellation"_s), IsOk());
  const std::string text = FormatDevices(devices, "");
  EXPECT_THAT(text, HasSubstr("     lacks     64-bit floats, tessellation\n"));
  EXPECT_THAT(text, HasSubstr("  0  Good\n"));
  EXPECT_THAT(text, HasSubstr("  1  Broken\n     does not start: VK_ERROR_INITIALIZATION_FAILED\n"));
  EXPECT_THAT(text, HasSubstr("  -  Old\n     cannot be used: no timeline semaphores\n"));
  EXPECT_EQ(FormatDevices({}, "why"), "\nGPU devices\n  no device: why\n");
}

}  // namespace
}  // namespace ostra::tool

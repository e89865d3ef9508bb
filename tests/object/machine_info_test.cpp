#include "ostra/object/machine_info.h"

#include <gmock/gmock.h>

#include <fstream>
#include <sstream>
#include <string>

#include "ostra/object/interface_reference.h"
#include "tests/support/result_matchers.h"

namespace ostra {
namespace {

TEST(MachineInfoTest, TheTenFlagsComeInTheirOrder) {
  ASSERT_EQ(MachineInfo::kFlags.size(), 10U);
  EXPECT_THAT(
      MachineInfo::kFlags,
      testing::ElementsAre("net.ostra.machineinfo.supportsse2"_id, "net.ostra.machineinfo.supportsse3"_id,
                           "net.ostra.machineinfo.supportssse3"_id, "net.ostra.machineinfo.supportsse41"_id,
                           "net.ostra.machineinfo.supportsse42"_id, "net.ostra.machineinfo.supportavx"_id,
                           "net.ostra.machineinfo.supportfma"_id, "net.ostra.machineinfo.supportaes"_id,
                           "net.ostra.machineinfo.supportpclmulqdq"_id, "net.ostra.machineinfo.supportavx2"_id));
  for (const Id& flag : MachineInfo::kFlags) EXPECT_THAT(MachineInfo::GetFlag(flag), IsOk());
}

TEST(MachineInfoTest, AnUnknownFlagIsAnError) {
  EXPECT_THAT(MachineInfo::GetFlag("net.ostra.machineinfo.supportmagic"_id),
              IsErrorWith(kIllegalArgumentError, "There is no machine flag \"net.ostra.machineinfo.supportmagic\"."));
}

#if defined(__x86_64__)
TEST(MachineInfoTest, FlagsAgreeWithWhatTheKernelSaysOfTheProcessor) {
  std::ifstream file("/proc/cpuinfo");
  std::string line;
  std::string words;
  while (std::getline(file, line)) {
    if (line.starts_with("flags")) words = line.append(" ");
  }
  if (words.empty()) GTEST_SKIP() << "/proc/cpuinfo names no processor flags here";
  const char* names[] = {"sse2", "pni", "ssse3", "sse4_1", "sse4_2", "avx", "fma", "aes", "pclmulqdq", "avx2"};
  for (std::size_t i = 0; i < std::size(names); ++i) {
    const bool expected = words.find(std::string(" ").append(names[i]).append(" ")) != std::string::npos;
    EXPECT_EQ(*MachineInfo::GetFlag(MachineInfo::kFlags[i]), expected) << names[i];
  }
}
#endif

TEST(MachineInfoTest, ModulesReadFlagsThroughTheInterface) {
  ASSERT_THAT(MachineInfo::PublishInterface(), IsOk());
  HostMethod<Result<Bool>(const Id&)> getFlag("GetFlag");
  const std::array<HostMethodBase*, 1> methods{&getFlag};
  InterfaceReference reference{kMachineInfoInterface, methods};
  ASSERT_TRUE(HostInterfaces::Resolve(reference));
  EXPECT_EQ(*getFlag(MachineInfo::kFlags[0]), *MachineInfo::GetFlag(MachineInfo::kFlags[0]));
  MachineInfo::WithdrawInterface();
  EXPECT_FALSE(HostInterfaces::Resolve(reference));
}

}  // namespace
}  // namespace ostra

#include "ostra/object/machine_info.h"

#include "ostra/core/format.h"
#include "ostra/object/interface_reference.h"

OSTRA_UNIT("machineinfo");

namespace ostra {
namespace {

using Values = std::array<Bool, MachineInfo::kFlags.size()>;

Values ReadFlags() {
#if defined(__x86_64__) || defined(__i386__)
  __builtin_cpu_init();
  const auto has = [](int supported) { return supported != 0; };
  return {has(__builtin_cpu_supports("sse2")),   has(__builtin_cpu_supports("sse3")),
          has(__builtin_cpu_supports("ssse3")),  has(__builtin_cpu_supports("sse4.1")),
          has(__builtin_cpu_supports("sse4.2")), has(__builtin_cpu_supports("avx")),
          has(__builtin_cpu_supports("fma")),    has(__builtin_cpu_supports("aes")),
          has(__builtin_cpu_supports("pclmul")), has(__builtin_cpu_supports("avx2"))};
#else
  return {};
#endif
}

const std::array kMethods = {MakeHostFunction<&MachineInfo::GetFlag>("GetFlag")};

}  // namespace

Result<Bool> MachineInfo::GetFlag(const Id& name) {
  static const Values values = ReadFlags();
  for (std::size_t i = 0; i < kFlags.size(); ++i) {
    if (kFlags[i] == name) return values[i];
  }
  return OSTRA_ILLEGAL_ARGUMENT("There is no machine flag \"@\".", name);
}

Result<void> MachineInfo::PublishInterface() { return HostInterfaces::Publish(kMachineInfoInterface, kMethods); }
void MachineInfo::WithdrawInterface() { HostInterfaces::Withdraw(kMachineInfoInterface); }

}  // namespace ostra

#include "ostra/drawport_vulkan/device_fault.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstdio>
#include <cstdlib>

#include "ostra/core/format.h"

OSTRA_UNIT("drawport_vulkan");

namespace ostra::vulkan {
namespace {

constexpr UInt32 kMaxAddresses = 4;  // that a message has

std::string_view GetAddressText(VkDeviceFaultAddressTypeEXT type) {
  switch (type) {
    case VK_DEVICE_FAULT_ADDRESS_TYPE_READ_INVALID_EXT:
      return "invalid read";
    case VK_DEVICE_FAULT_ADDRESS_TYPE_WRITE_INVALID_EXT:
      return "invalid write";
    case VK_DEVICE_FAULT_ADDRESS_TYPE_EXECUTE_INVALID_EXT:
      return "invalid instruction";
    case VK_DEVICE_FAULT_ADDRESS_TYPE_INSTRUCTION_POINTER_UNKNOWN_EXT:
    case VK_DEVICE_FAULT_ADDRESS_TYPE_INSTRUCTION_POINTER_INVALID_EXT:
    case VK_DEVICE_FAULT_ADDRESS_TYPE_INSTRUCTION_POINTER_FAULT_EXT:
      return "instruction";
    default:
      return "address";
  }
}

// The address is known to a power of two, its precision.
Result<void> AppendAddress(String& text, const VkDeviceFaultAddressInfoEXT& address) {
  const UInt64 precision = std::max<UInt64>(std::bit_floor(UInt64{address.addressPrecision}), 1);
  const UInt64 first = address.reportedAddress & ~(precision - 1);
  char range[64];
  std::snprintf(range, sizeof(range), "0x%llx to 0x%llx", static_cast<unsigned long long>(first),
                static_cast<unsigned long long>(first + (precision - 1)));
  OSTRA_ASSIGN_OR_RETURN(const String entry, Format("@@ at @", text.IsEmpty() ? "" : "; ",
                                                    GetAddressText(address.addressType), std::string_view(range)));
  return text.Append(entry);
}

}  // namespace

Result<String> DescribeFault(VkDevice device) {
  const auto ask =
      reinterpret_cast<PFN_vkGetDeviceFaultInfoEXT>(vkGetDeviceProcAddr(device, "vkGetDeviceFaultInfoEXT"));
  VkDeviceFaultCountsEXT counts = {VK_STRUCTURE_TYPE_DEVICE_FAULT_COUNTS_EXT};
  if (!ask || ask(device, &counts, nullptr) < VK_SUCCESS) return String();
  VkDeviceFaultAddressInfoEXT addresses[kMaxAddresses] = {};
  counts.addressInfoCount = std::min(counts.addressInfoCount, kMaxAddresses);
  counts.vendorInfoCount = 0;
  counts.vendorBinarySize = 0;
  VkDeviceFaultInfoEXT info = {VK_STRUCTURE_TYPE_DEVICE_FAULT_INFO_EXT};
  info.pAddressInfos = addresses;
  if (ask(device, &counts, &info) < VK_SUCCESS) return String();
  OSTRA_ASSIGN_OR_RETURN(String text, String::Create(info.description));
  for (UInt32 i = 0; i < counts.addressInfoCount; ++i) OSTRA_RETURN_IF_ERROR(AppendAddress(text, addresses[i]));
  return text;
}

Result<std::optional<UInt64>> ReadTimeLimit() {
  const char* const chosen = std::getenv("OSTRA_GPU_TIME_LIMIT");
  if (!chosen) return std::optional<UInt64>();
  if (std::string_view(chosen) == "off") return std::optional<UInt64>(0);
  const std::string_view text = chosen;
  Float64 seconds = 0;
  const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), seconds);
  if (code == std::errc() && end == text.data() + text.size() && seconds >= 1e-6 && seconds <= 1e6)
    return std::optional<UInt64>(static_cast<UInt64>(seconds * 1e9));
  return OSTRA_ILLEGAL_ARGUMENT("OSTRA_GPU_TIME_LIMIT is \"@\": give seconds from 0.000001 to 1000000, or off.",
                                chosen);
}

}  // namespace ostra::vulkan

#include "tests/pretended_device/layer_state.h"

#include <cstdio>
#include <cstdlib>

namespace ostra::pretended {
namespace {

// Never destroyed: devices may live until the process ends.
template <class State>
struct States {
  std::mutex mutex;
  std::map<void*, std::unique_ptr<State>> byKey;

  void Add(void* key, std::unique_ptr<State> state) {
    const std::scoped_lock lock(mutex);
    byKey[key] = std::move(state);
  }
  State& Get(void* key) {
    const std::scoped_lock lock(mutex);
    return *byKey.at(key);
  }
  std::unique_ptr<State> Take(void* key) {
    const std::scoped_lock lock(mutex);
    auto node = byKey.extract(key);
    return node.empty() ? nullptr : std::move(node.mapped());
  }
};

States<InstanceState>& GetInstances() {
  static auto* const states = new States<InstanceState>;
  return *states;
}
States<DeviceState>& GetLogicalDevices() {
  static auto* const states = new States<DeviceState>;
  return *states;
}

// Which software device of the driver each handle is.
struct Numbers {
  std::mutex mutex;
  std::map<VkPhysicalDevice, std::size_t> byHandle;
};
Numbers& GetNumbers() {
  static auto* const numbers = new Numbers;
  return *numbers;
}

const PretendedDevice& GetTableAt(std::size_t number) {
  // Asked anew each time: a process may pretend one device after the other.
  const std::vector<const PretendedDevice*> chosen = FindChosenDevices();
  if (number < chosen.size() && chosen[number]) return *chosen[number];
  std::fputs("OSTRA_PRETENDED_DEVICE names none of the devices that can be pretended.\n", stderr);
  std::abort();
}

std::vector<Receiver> CopyReceivers(InstanceState& instance) {
  const std::scoped_lock lock(instance.mutex);
  std::vector<Receiver> receivers;
  for (const auto& entry : instance.receivers) receivers.push_back(entry.second);
  return receivers;
}

}  // namespace

void AddInstance(void* key, std::unique_ptr<InstanceState> state) { GetInstances().Add(key, std::move(state)); }
InstanceState& GetInstance(void* key) { return GetInstances().Get(key); }
std::unique_ptr<InstanceState> TakeInstance(void* key) { return GetInstances().Take(key); }
void AddDevice(void* key, std::unique_ptr<DeviceState> state) { GetLogicalDevices().Add(key, std::move(state)); }
DeviceState& GetDevice(void* key) { return GetLogicalDevices().Get(key); }
std::unique_ptr<DeviceState> TakeDevice(void* key) { return GetLogicalDevices().Take(key); }

void NumberPhysicalDevice(VkPhysicalDevice device, std::size_t number) {
  const std::scoped_lock lock(GetNumbers().mutex);
  GetNumbers().byHandle[device] = number;
}

const PretendedDevice& GetTable(VkPhysicalDevice device) {
  const std::scoped_lock lock(GetNumbers().mutex);
  const auto found = GetNumbers().byHandle.find(device);
  return GetTableAt(found == GetNumbers().byHandle.end() ? 0 : found->second);
}

const PretendedDevice& GetFirstTable() { return GetTableAt(0); }

uint64_t ReadNumber(const char* variable) {
  const char* const value = std::getenv(variable);
  return value ? std::strtoull(value, nullptr, 10) : 0;
}

VkDeviceSize CountUsed(VkPhysicalDevice device, uint32_t heap) {
  States<DeviceState>& devices = GetLogicalDevices();
  const std::scoped_lock lock(devices.mutex);
  VkDeviceSize used = 0;
  for (const auto& entry : devices.byKey) {
    if (entry.second->physicalDevice != device) continue;
    const std::scoped_lock deviceLock(entry.second->mutex);
    if (const auto found = entry.second->used.find(heap); found != entry.second->used.end()) used += found->second;
  }
  return used;
}

void ReportViolation(const DeviceState& device, const std::string& text) {
  ReportViolation(*device.instance, *device.table, text);
}

void ReportViolation(InstanceState& instance, const PretendedDevice& table, const std::string& text) {
  const std::string message = "Violation of the pretended device \"" + std::string(table.key) + "\": " + text;
  std::fprintf(stderr, "%s\n", message.c_str());
  VkDebugUtilsMessengerCallbackDataEXT data = {VK_STRUCTURE_TYPE_DEBUG_UTILS_MESSENGER_CALLBACK_DATA_EXT};
  data.pMessageIdName = "pretended device";
  data.pMessage = message.c_str();
  for (const Receiver& receiver : CopyReceivers(instance))
    receiver.callback(VK_DEBUG_UTILS_MESSAGE_SEVERITY_ERROR_BIT_EXT, VK_DEBUG_UTILS_MESSAGE_TYPE_VALIDATION_BIT_EXT,
                      &data, receiver.user);
}

}  // namespace ostra::pretended

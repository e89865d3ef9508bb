// Memory of the pretended types, all of it really of the driver's first type.
#include "tests/pretended_device/intercepted.h"

namespace ostra::pretended {
namespace {

// The types that `isForImages` leaves, as bits; those of the driver where the table says nothing.
void AnswerRequirements(const DeviceState& state, VkMemoryRequirements& requirements, bool isImage) {
  const std::vector<Type>& types = state.table->types;
  if (types.empty()) return;
  requirements.memoryTypeBits = 0;
  for (uint32_t i = 0; i < types.size(); ++i)
    if (!isImage || types[i].isForImages) requirements.memoryTypeBits |= 1u << i;
}

std::string FindMistake(DeviceState& state, const VkMemoryAllocateInfo& info) {
  const PretendedDevice& table = *state.table;
  if (info.memoryTypeIndex >= table.types.size())
    return "vkAllocateMemory asks for the memory type " + std::to_string(info.memoryTypeIndex);
  const VkDeviceSize heapSize = table.heaps[table.types[info.memoryTypeIndex].heap].size;
  if (info.allocationSize > heapSize)
    return "vkAllocateMemory asks for " + std::to_string(info.allocationSize) + " bytes of a heap of " +
           std::to_string(heapSize);
  const std::scoped_lock lock(state.mutex);
  if (state.memory.size() >= state.limits.maxMemoryAllocationCount)
    return "vkAllocateMemory makes more pieces than the device has room for";
  return "";
}

uint64_t FindOwner(const VkMemoryAllocateInfo& info) {
  const auto* alone =
      FindInChain<VkMemoryDedicatedAllocateInfo>(info.pNext, VK_STRUCTURE_TYPE_MEMORY_DEDICATED_ALLOCATE_INFO);
  if (!alone) return 0;
  return alone->buffer ? reinterpret_cast<uint64_t>(alone->buffer) : reinterpret_cast<uint64_t>(alone->image);
}

bool NeedsOwnMemory(const DeviceState& state, VkDeviceSize size) {
  return state.table->dedicatedFrom > 0 && size >= state.table->dedicatedFrom;
}

void AnswerDedicated(const DeviceState& state, VkMemoryRequirements2& requirements) {
  auto* const found =
      FindInChain<VkMemoryDedicatedRequirements>(requirements.pNext, VK_STRUCTURE_TYPE_MEMORY_DEDICATED_REQUIREMENTS);
  if (!found || !NeedsOwnMemory(state, requirements.memoryRequirements.size)) return;
  found->prefersDedicatedAllocation = found->requiresDedicatedAllocation = VK_TRUE;
}

void CheckOwner(DeviceState& state, VkDeviceSize size, VkDeviceMemory memory, uint64_t object) {
  if (!NeedsOwnMemory(state, size)) return;
  const auto isOwn = [&] {
    const std::scoped_lock lock(state.mutex);
    return state.memory[memory].owner == object;
  };
  if (!isOwn()) ReportViolation(state, "what needs memory of its own is bound to memory that it shares");
}

}  // namespace

VkResult BindBufferMemory(VkDevice device, VkBuffer buffer, VkDeviceMemory memory, VkDeviceSize offset) {
  DeviceState& state = GetDevice(GetKey(device));
  VkMemoryRequirements requirements;
  state.GetBufferMemoryRequirements(device, buffer, &requirements);
  CheckOwner(state, requirements.size, memory, reinterpret_cast<uint64_t>(buffer));
  return state.BindBufferMemory(device, buffer, memory, offset);
}

VkResult BindImageMemory(VkDevice device, VkImage image, VkDeviceMemory memory, VkDeviceSize offset) {
  DeviceState& state = GetDevice(GetKey(device));
  VkMemoryRequirements requirements;
  state.GetImageMemoryRequirements(device, image, &requirements);
  CheckOwner(state, requirements.size, memory, reinterpret_cast<uint64_t>(image));
  return state.BindImageMemory(device, image, memory, offset);
}

VkResult AllocateMemory(VkDevice device, const VkMemoryAllocateInfo* info, const VkAllocationCallbacks* callbacks,
                        VkDeviceMemory* memory) {
  DeviceState& state = GetDevice(GetKey(device));
  const PretendedDevice& table = *state.table;
  if (table.types.empty()) return state.AllocateMemory(device, info, callbacks, memory);
  if (const std::string mistake = FindMistake(state, *info); !mistake.empty()) {
    ReportViolation(state, mistake);
    return VK_ERROR_OUT_OF_DEVICE_MEMORY;
  }
  const uint32_t heap = table.types[info->memoryTypeIndex].heap;
  // Counted first, so that two threads do not overfill the heap together.
  const auto count = [&](VkDeviceSize bytes) {
    const std::scoped_lock lock(state.mutex);
    state.used[heap] += bytes;
  };
  count(info->allocationSize);
  VkResult result = VK_ERROR_OUT_OF_DEVICE_MEMORY;
  if (CountUsed(state.physicalDevice, heap) <= table.heaps[heap].size) {
    VkMemoryAllocateInfo changed = *info;
    changed.memoryTypeIndex = 0;
    result = state.AllocateMemory(device, &changed, callbacks, memory);
  }
  if (result != VK_SUCCESS) {
    count(-info->allocationSize);
    return result;
  }
  const std::scoped_lock lock(state.mutex);
  state.memory[*memory] = {info->memoryTypeIndex, info->allocationSize, FindOwner(*info)};
  return VK_SUCCESS;
}

void FreeMemory(VkDevice device, VkDeviceMemory memory, const VkAllocationCallbacks* callbacks) {
  DeviceState& state = GetDevice(GetKey(device));
  {
    const std::scoped_lock lock(state.mutex);
    if (const auto found = state.memory.find(memory); found != state.memory.end()) {
      state.used[state.table->types[found->second.type].heap] -= found->second.size;
      state.memory.erase(found);
    }
  }
  state.FreeMemory(device, memory, callbacks);
}

VkResult MapMemory(VkDevice device, VkDeviceMemory memory, VkDeviceSize offset, VkDeviceSize size,
                   VkMemoryMapFlags flags, void** mapped) {
  DeviceState& state = GetDevice(GetKey(device));
  const auto isHidden = [&] {
    const std::scoped_lock lock(state.mutex);
    const auto found = state.memory.find(memory);
    if (found == state.memory.end()) return false;
    return (state.table->types[found->second.type].flags & VK_MEMORY_PROPERTY_HOST_VISIBLE_BIT) == 0;
  };
  if (isHidden()) {
    ReportViolation(state, "vkMapMemory maps memory that the host does not see");
    return VK_ERROR_MEMORY_MAP_FAILED;
  }
  IsLostNow(state);  // mapping itself cannot fail by it
  return state.MapMemory(device, memory, offset, size, flags, mapped);
}

void GetBufferMemoryRequirements(VkDevice device, VkBuffer buffer, VkMemoryRequirements* requirements) {
  const DeviceState& state = GetDevice(GetKey(device));
  state.GetBufferMemoryRequirements(device, buffer, requirements);
  AnswerRequirements(state, *requirements, false);
}

void GetBufferMemoryRequirements2(VkDevice device, const VkBufferMemoryRequirementsInfo2* info,
                                  VkMemoryRequirements2* requirements) {
  const DeviceState& state = GetDevice(GetKey(device));
  state.GetBufferMemoryRequirements2(device, info, requirements);
  AnswerRequirements(state, requirements->memoryRequirements, false);
  AnswerDedicated(state, *requirements);
}

void GetImageMemoryRequirements(VkDevice device, VkImage image, VkMemoryRequirements* requirements) {
  const DeviceState& state = GetDevice(GetKey(device));
  state.GetImageMemoryRequirements(device, image, requirements);
  AnswerRequirements(state, *requirements, true);
}

void GetImageMemoryRequirements2(VkDevice device, const VkImageMemoryRequirementsInfo2* info,
                                 VkMemoryRequirements2* requirements) {
  const DeviceState& state = GetDevice(GetKey(device));
  state.GetImageMemoryRequirements2(device, info, requirements);
  AnswerRequirements(state, requirements->memoryRequirements, true);
  AnswerDedicated(state, *requirements);
}

}  // namespace ostra::pretended

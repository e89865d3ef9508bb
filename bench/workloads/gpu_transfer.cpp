// 256 MiB from the host to a buffer of the device, into a new one, and back into memory that is new each time.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <stdexcept>

#include "bench/gpu_program.h"
#include "bench/workloads/workloads.h"
#include "ostra/core/large_pages.h"

namespace bench {
namespace {

using ostra::BaseArray;
using ostra::Float32;

constexpr std::int64_t kBytes = std::int64_t{1} << 28;
constexpr std::int64_t kCount = kBytes / 4;
constexpr std::int64_t kChunk = std::int64_t{8} << 20;

using Elements = BaseArray<Float32>;
using Bytes = std::unique_ptr<std::uint8_t[]>;

float GetValue(std::int64_t index) { return static_cast<float>(index & 0xFFFFFF); }

bool IsRight(const void* bytes) {
  const auto* values = static_cast<const float*>(bytes);
  for (std::int64_t i = 0; i < kCount; ++i) {
    if (values[i] != GetValue(i)) return false;
  }
  return true;
}

std::shared_ptr<Elements> MakeElements() {
  auto elements = std::make_shared<Elements>();
  Need(elements->Resize(kCount));
  for (std::int64_t i = 0; i < kCount; ++i) (*elements)[i] = GetValue(i);
  return elements;
}

double GetThroughput(double seconds) { return kBytes / seconds / 1e9; }

ostra::ParallelProgramRef MakeProgramWithBuffer() {
  ostra::ParallelProgramRef program = MakeGpuProgram("net.ostra.bench.count.krn");
  Need(program->CreateUniformBuffer(Need(ostra::InternedId::Create("data")), ostra::GetDataType<Float32>(), kCount));
  return program;
}

void CopyWithAllThreads(void* target, const void* source) {
#pragma omp parallel for schedule(static)
  for (std::int64_t chunk = 0; chunk < kBytes / kChunk; ++chunk)
    std::memcpy(static_cast<char*>(target) + chunk * kChunk, static_cast<const char*>(source) + chunk * kChunk, kChunk);
}

// Two pieces of staging memory in turn: the device copies one while the host fills or empties the other.
class StagedTransfer {
 public:
  StagedTransfer(RawDeviceRef device, RawBufferRef buffer, RawMemory kind)
      : _device(std::move(device)), _buffer(std::move(buffer)) {
    for (Slot& slot : _slots) {
      slot.staging = std::make_unique<RawBuffer>(_device, kChunk, kind);
      slot.commands = _device->MakeCommandBuffer();
      slot.fence = _device->MakeFence();
    }
  }

  void Upload(const std::uint8_t* source) {
    for (std::int64_t done = 0; done < kBytes; done += kChunk) {
      Slot& slot = GetSlot(done);
      if (done >= 2 * kChunk) _device->Wait(slot.fence);
      std::memcpy(slot.staging->GetMapped(), source + done, kChunk);
      Submit(slot, slot.staging->GetHandle(), 0, _buffer->GetHandle(), done);
    }
    for (Slot& slot : _slots) _device->Wait(slot.fence);
  }

  void ReadBack(std::uint8_t* target) {
    const auto fetch = [&](std::int64_t offset) {
      Slot& slot = GetSlot(offset);
      Submit(slot, _buffer->GetHandle(), offset, slot.staging->GetHandle(), 0);
    };
    fetch(0);
    fetch(kChunk);
    for (std::int64_t done = 0; done < kBytes; done += kChunk) {
      Slot& slot = GetSlot(done);
      _device->Wait(slot.fence);
      std::memcpy(target + done, slot.staging->GetMapped(), kChunk);
      if (done + 2 * kChunk < kBytes) fetch(done + 2 * kChunk);
    }
  }

 private:
  struct Slot {
    std::unique_ptr<RawBuffer> staging;
    VkCommandBuffer commands = VK_NULL_HANDLE;
    VkFence fence = VK_NULL_HANDLE;
  };
  Slot& GetSlot(std::int64_t offset) { return _slots[offset / kChunk % 2]; }

  void Submit(Slot& slot, VkBuffer source, std::int64_t sourceOffset, VkBuffer target, std::int64_t targetOffset) {
    BeginCommands(slot.commands);
    const VkBufferCopy region = {static_cast<VkDeviceSize>(sourceOffset), static_cast<VkDeviceSize>(targetOffset),
                                 static_cast<VkDeviceSize>(kChunk)};
    vkCmdCopyBuffer(slot.commands, source, target, 1, &region);
    VkMemoryBarrier barrier = {VK_STRUCTURE_TYPE_MEMORY_BARRIER};
    barrier.srcAccessMask = VK_ACCESS_TRANSFER_WRITE_BIT;
    barrier.dstAccessMask = VK_ACCESS_HOST_READ_BIT | VK_ACCESS_MEMORY_READ_BIT;
    vkCmdPipelineBarrier(slot.commands, VK_PIPELINE_STAGE_TRANSFER_BIT,
                         VK_PIPELINE_STAGE_HOST_BIT | VK_PIPELINE_STAGE_ALL_COMMANDS_BIT, 0, 1, &barrier, 0, nullptr, 0,
                         nullptr);
    CheckVulkan(vkEndCommandBuffer(slot.commands), "vkEndCommandBuffer");
    _device->Submit(slot.commands, slot.fence);
  }

  RawDeviceRef _device;
  RawBufferRef _buffer;
  Slot _slots[2];
};

// Null, with the reason on standard error, where the host does not see the device's memory.
RawBufferRef TryMapped(const Options& options, const RawDeviceRef& device) {
  try {
    return std::make_shared<RawBuffer>(device, kBytes, RawMemory::Mapped);
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "%s: vulkan-mapped is skipped: %s\n", options.workload.c_str(), exception.what());
    return nullptr;
  }
}

bool CheckBuffer(const RawBufferRef& buffer) {
  const Bytes bytes(new std::uint8_t[kBytes]);
  buffer->Read(bytes.get());
  return IsRight(bytes.get());
}

}  // namespace

bool RunUpload(const Options& options) {
  const std::string name = FindGpu(options);
  if (name.empty()) return true;
  Contest contest("upload", "2^28", "throughput", "GB/s");
  const auto source = MakeElements();
  const auto program = MakeProgramWithBuffer();
  contest.Add(
      "ours-gpu",
      [=] {
        return program->UpdateUniformBufferData(Need(ostra::InternedId::Create("data")), 0, *source).IsOk() &&
               program->Execute(true).IsOk();
      },
      [=] { return IsRight(ReadBuffer(*program, "data").data()); });

  const auto device = std::make_shared<RawDevice>(name);
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(source->GetFirst());
  const auto buffer = std::make_shared<RawBuffer>(device, kBytes, RawMemory::Device);
  const auto staged = std::make_shared<StagedTransfer>(device, buffer, RawMemory::Upload);
  contest.Add(
      "vulkan-staged",
      [=] {
        staged->Upload(bytes);
        return true;
      },
      [=] { return CheckBuffer(buffer); });
  if (const RawBufferRef mapped = TryMapped(options, device)) {
    contest.Add(
        "vulkan-mapped",
        [=] {
          std::memcpy(mapped->GetMapped(), bytes, kBytes);
          return true;
        },
        [=] {
          const bool isRight = CheckBuffer(mapped);
          std::memset(mapped->GetMapped(), 0, kBytes);  // the next contestant writes to the same buffer
          return isRight;
        });
    contest.Add(
        "vulkan-mapped-openmp",
        [=] {
          CopyWithAllThreads(mapped->GetMapped(), bytes);
          return true;
        },
        [=] { return CheckBuffer(mapped); });
  }
  return contest.Run(options, &GetThroughput);
}

// Into a buffer that is new each time: the GPU program finds buffers by what was stored in them.
bool RunStore(const Options& options) {
  const std::string name = FindGpu(options);
  if (name.empty()) return true;
  Contest contest("store", "2^28", "throughput", "GB/s");
  const auto source = MakeElements();
  const auto program = MakeGpuProgram("net.ostra.bench.count.krn");
  const auto data = Need(ostra::InternedId::Create("data"));
  const auto last = std::make_shared<std::int64_t>(kCount - 1);
  contest.Add(
      "ours-gpu",
      [=] {
        // An element that is not checked makes other bytes of them.
        (*source)[kCount - 1] = GetValue(++*last);
        return program->StoreUniformBufferData(data, *source).IsOk() && program->Execute(true).IsOk();
      },
      [=] {
        const std::vector<std::uint8_t> bytes = ReadBuffer(*program, "data");
        return std::memcmp(bytes.data(), source->GetFirst(), kBytes) == 0;
      });
  const auto device = std::make_shared<RawDevice>(name);
  if (TryMapped(options, device)) {
    const auto buffer = std::make_shared<RawBufferRef>();
    contest.Add(
        "vulkan-mapped",
        [=] {
          buffer->reset();
          *buffer = std::make_shared<RawBuffer>(device, kBytes, RawMemory::Mapped);
          std::memcpy((*buffer)->GetMapped(), source->GetFirst(), kBytes);
          return true;
        },
        [=] {
          const Bytes bytes(new std::uint8_t[kBytes]);
          (*buffer)->Read(bytes.get());
          return std::memcmp(bytes.get(), source->GetFirst(), kBytes) == 0;
        });
  }
  return contest.Run(options, &GetThroughput);
}

bool RunReadBack(const Options& options) {
  const std::string name = FindGpu(options);
  if (name.empty()) return true;
  Contest contest("readback", "2^28", "throughput", "GB/s");
  const auto source = MakeElements();
  const auto program = MakeProgramWithBuffer();
  const ostra::InternedId data = Need(ostra::InternedId::Create("data"));
  Need(program->UpdateUniformBufferData(data, 0, *source));
  Need(program->Execute(true));
  // What was read before goes first, for all contestants alike.
  const auto ours = std::make_shared<ostra::Data>();
  contest.Add(
      "ours-gpu",
      [=] {
        *ours = ostra::Data();
        auto read = program->GetGlobalBufferData(data);
        if (read) *ours = std::move(read).GetValue();
        return ours->IsPopulated();
      },
      [=] {
        const auto block = Need(ours->Get<ostra::Array<ostra::Generic>>()).GetFirstBlock();
        return block.GetCount() == kCount && IsRight(block.GetFirst());
      });

  const auto device = std::make_shared<RawDevice>(name);
  const auto buffer = std::make_shared<RawBuffer>(device, kBytes, RawMemory::Device);
  buffer->Write(source->GetFirst());
  const auto staged = std::make_shared<StagedTransfer>(device, buffer, RawMemory::ReadBack);
  const auto mapped = TryMapped(options, device);
  if (mapped) mapped->Write(source->GetFirst());
  const auto add = [&](const char* peer, std::function<void(std::uint8_t*)> read, bool hasLargePages = false) {
    const auto target = std::make_shared<Bytes>();
    contest.Add(
        peer,
        [=] {
          target->reset();
          target->reset(new std::uint8_t[kBytes]);
          if (hasLargePages) ostra::AdviseLargePages(target->get(), kBytes);
          read(target->get());
          return true;
        },
        [=] { return IsRight(target->get()); });
  };
  add("vulkan-staged", [=](std::uint8_t* target) { staged->ReadBack(target); });
  if (mapped) {
    add("vulkan-mapped", [=](std::uint8_t* target) { std::memcpy(target, mapped->GetMapped(), kBytes); });
    const auto copy = [=](std::uint8_t* target) { CopyWithAllThreads(target, mapped->GetMapped()); };
    add("vulkan-mapped-openmp", copy);
    add("vulkan-mapped-large", copy, true);
  }
  return contest.Run(options, &GetThroughput);
}

}  // namespace bench

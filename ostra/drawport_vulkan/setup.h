// Setup: what resources need before the device uses them for the first time. It is no part of the work of the list that
// uses a resource first. It runs in front of whatever is submitted next, by whatever list: no list sees it half done,
// and none has its work undone by it.
#pragma once

#include <mutex>

#include "ostra/core/base_array.h"

namespace ostra::vulkan {

class DeviceResource;

class Setup {
 public:
  Setup() = default;
  Setup(const Setup&) = delete;

  // Held while something is planned, and while a list submits: what is planned goes with exactly one submission. A
  // thread that holds it must not release resources.
  std::mutex& GetMutex() { return _mutex; }

  // The following with the mutex held. Has RecordSetup called in front of the next submission; only names the resource.
  // Error: out of memory.
  Result<void> Plan(DeviceResource& resource);
  const BaseArray<DeviceResource*>& GetPlanned() const { return _planned; }
  // All of it has been submitted.
  void Clear();

  // Later submissions of any list wait for all work that was submitted up to this value of the timeline.
  UInt64 GetOrderedValue() const { return _orderedValue; }
  void SetOrderedValue(UInt64 value) { _orderedValue = value; }

  // For a resource that goes. Without the mutex.
  void Remove(const DeviceResource& resource);

 private:
  std::mutex _mutex;
  BaseArray<DeviceResource*> _planned;  // those that go wait for the mutex
  UInt64 _orderedValue = 0;
};

}  // namespace ostra::vulkan

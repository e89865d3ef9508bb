// DeviceResource: an object on the device that recorded work can name. Counted: whoever uses it holds it, and so does
// every batch of work that names it, until the device has done the batch.
#pragma once

#include "ostra/drawport_vulkan/device.h"

namespace ostra::vulkan {

class DeviceResource {
 public:
  explicit DeviceResource(DeviceRef device) : _device(std::move(device)) {}
  DeviceResource(const DeviceResource&) = delete;
  virtual ~DeviceResource() = default;

  void AddRef() const { _references.fetch_add(1, std::memory_order_relaxed); }
  void Release() const {
    if (_references.fetch_sub(1, std::memory_order_acq_rel) == 1) DeleteObj(this);
  }
  Bool IsUnique() const { return _references.load(std::memory_order_acquire) == 1; }
  // As DrawportCounted::TryAddRef.
  Bool TryAddRef() const {
    Int32 count = _references.load(std::memory_order_relaxed);
    while (count > 0) {
      if (_references.compare_exchange_weak(count, count + 1, std::memory_order_relaxed)) return true;
    }
    return false;
  }

  Device& GetDevice() const { return *_device; }

  // Called when batch `serial` of a list was recorded but could not be submitted: what it would have done is undone.
  virtual void ForgetBatch(UInt64 serial) { static_cast<void>(serial); }

  // Notes that batch `serial` of list number `list` names the resource; false when that was known.
  Bool MarkUse(UInt32 list, UInt64 serial) {
    const UInt64 stamp = (static_cast<UInt64>(list) << kSerialBits) | serial;
    const UInt64 last = _lastUse.exchange(stamp, std::memory_order_relaxed);
    if (last == stamp) return false;
    if (last != 0 && last >> kSerialBits != list) _isShared.store(true, std::memory_order_relaxed);
    return true;
  }
  // Whether work of list number `list` beyond batch `completed`, or of any other list, may still name the resource.
  Bool IsBusy(UInt32 list, UInt64 completed) const {
    const UInt64 last = _lastUse.load(std::memory_order_relaxed);
    if (last == 0) return false;
    if (_isShared.load(std::memory_order_relaxed) || last >> kSerialBits != list) return true;
    return (last & ((UInt64(1) << kSerialBits) - 1)) > completed;
  }
  // True when more than one list has named it: then nobody knows when it is idle.
  Bool IsShared(UInt32 list) const {
    const UInt64 last = _lastUse.load(std::memory_order_relaxed);
    return _isShared.load(std::memory_order_relaxed) || (last != 0 && last >> kSerialBits != list);
  }

 private:
  static constexpr int kSerialBits = 40;
  mutable std::atomic<Int32> _references{1};
  DeviceRef _device;
  std::atomic<UInt64> _lastUse{0};  // list number and serial; 0: never
  std::atomic<bool> _isShared{false};
};

using DeviceResourceRef = StrongRef<DeviceResource>;

}  // namespace ostra::vulkan

// DeviceResource: an object on the device that recorded work can name. Its items hold it, and so does every batch of
// work that names it until the device has done the batch; what it has on the device goes with the last holder. Values
// of programs only name it: they hold the record, which says that the object has gone.
#pragma once

#include "ostra/drawport/resources.h"
#include "ostra/drawport_vulkan/device.h"

namespace ostra::vulkan {

class ImageResource;
struct ImageBarriers;

class DeviceResource {
 public:
  explicit DeviceResource(DeviceRef device) : _device(std::move(device)) {}
  DeviceResource(const DeviceResource&) = delete;
  virtual ~DeviceResource() = default;

  void AddRef() const { _holders.fetch_add(1, std::memory_order_relaxed); }
  void Release() const {
    if (_holders.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
    const_cast<DeviceResource*>(this)->Go();
    ReleaseWeak();
  }
  // As DrawportCounted::TryAddRef.
  Bool TryAddRef() const {
    Int32 count = _holders.load(std::memory_order_relaxed);
    while (count > 0) {
      if (_holders.compare_exchange_weak(count, count + 1, std::memory_order_relaxed)) return true;
    }
    return false;
  }
  // Of WeakRef.
  void AddWeak() const { _weak.fetch_add(1, std::memory_order_relaxed); }
  void ReleaseWeak() const {
    if (_weak.fetch_sub(1, std::memory_order_acq_rel) == 1) DeleteObj(this);
  }

  Device& GetDevice() const { return *_device; }
  // Error: illegal state when the object is on another device.
  Result<void> CheckIsOn(const Device& device) const;

  // Tells a batch from those of all lists.
  static UInt64 MakeStamp(UInt32 list, UInt64 serial) { return (static_cast<UInt64>(list) << kSerialBits) | serial; }
  // Called when batch `stamp` of a list was recorded but could not be submitted: what it would have done is undone.
  virtual void ForgetBatch(UInt64 stamp) { static_cast<void>(stamp); }

  // Batches of work that hold the object, of all lists: from when they name it until the device has done them.
  // BeginUse notes that batch `stamp` does.
  void BeginUse(UInt64 stamp) {
    _uses.fetch_add(1, std::memory_order_relaxed);
    _lastUse.store(stamp, std::memory_order_relaxed);
  }
  void EndUse() { _uses.fetch_sub(1, std::memory_order_release); }
  // True when batch `stamp` was the last to name it.
  Bool WasLastUsedBy(UInt64 stamp) const { return _lastUse.load(std::memory_order_relaxed) == stamp; }
  // Whether the device may work with it, now or when something is submitted next.
  Bool IsInUse() const { return _uses.load(std::memory_order_acquire) != 0 || IsPlanned(); }

  // Whether work writes to it, or reads what other work has written.
  virtual Bool HasContents() const { return false; }
  // The last work that was submitted with it, of all lists: the value of the timeline at its end, and the list. Noted
  // with the mutex of the setup held, under which all lists submit.
  void NoteSubmission(UInt32 list, UInt64 value) {
    _submittedBy = list;
    _submittedValue.store(value, std::memory_order_release);
  }
  UInt32 GetSubmittingList() const { return _submittedBy; }
  UInt64 GetSubmittedValue() const { return _submittedValue.load(std::memory_order_acquire); }

  // Counts what the host has written to the mapped memory, and is about to.
  void NoteHostWrite() { _hostWrites.fetch_add(1, std::memory_order_relaxed); }
  UInt64 GetHostWrites() const { return _hostWrites.load(std::memory_order_relaxed); }

  // For objects with contents that the host reads: the extent of all of it, in bytes along x or texels; the bytes of
  // what RecordRead copies, from the beginning of `target`.
  virtual DrawportExtent GetExtent() const { return {0, 0, 0}; }
  virtual Int GetReadSize(const DrawportRegion& region) const { return region.extent.width; }
  virtual void RecordRead(VkCommandBuffer, const DrawportRegion&, VkBuffer) const {}
  // For images: the same object.
  virtual const ImageResource* GetImage() const { return nullptr; }

  // See Setup. RecordSetup records what makes the object ready, between changes of its layout, if it has one.
  virtual void AddSetupLayout(Bool isBehind, ImageBarriers& barriers) const {
    static_cast<void>(isBehind);
    static_cast<void>(barriers);
  }
  virtual void RecordSetup(VkCommandBuffer commands) { static_cast<void>(commands); }
  // It was submitted; the mutex of the setup is held.
  virtual void NoteSetup() {}
  Bool IsPlanned() const { return _isPlanned.load(std::memory_order_acquire); }
  void SetPlanned(Bool isPlanned) { _isPlanned.store(isPlanned, std::memory_order_release); }

 protected:
  // Frees what the object has on the device, after its last reference.
  virtual void Free() {}

 private:
  void Go();

  static constexpr int kSerialBits = 40;
  mutable std::atomic<Int32> _holders{1};
  mutable std::atomic<Int32> _weak{1};  // WeakRefs, and one for all holders together
  DeviceRef _device;
  std::atomic<UInt64> _lastUse{0};  // stamp of a batch; 0: never
  std::atomic<Int32> _uses{0};
  UInt32 _submittedBy = 0;
  std::atomic<UInt64> _submittedValue{0};
  std::atomic<UInt64> _hostWrites{0};
  std::atomic<bool> _isPlanned{false};
};

using DeviceResourceRef = StrongRef<DeviceResource>;

// Names an object without holding it. References to one object are equal, also when it has gone.
template <class T>
class WeakRef {
 public:
  constexpr WeakRef() = default;
  explicit WeakRef(T* object) : _object(object) {
    if (_object) _object->AddWeak();
  }
  WeakRef(const WeakRef& other) : WeakRef(other._object) {}
  WeakRef(WeakRef&& other) noexcept : _object(std::exchange(other._object, nullptr)) {}
  ~WeakRef() {
    if (_object) _object->ReleaseWeak();
  }
  WeakRef& operator=(WeakRef other) noexcept {
    std::swap(_object, other._object);
    return *this;
  }

  // The object, held; null when it has gone, or none is named.
  StrongRef<T> Lock() const { return _object && _object->TryAddRef() ? StrongRef<T>::Adopt(_object) : StrongRef<T>(); }
  // Only while there is another reference to the object.
  T* operator->() const { return _object; }
  // To be compared: the object may have gone.
  T* GetPointer() const { return _object; }
  // Whether one is named.
  explicit operator bool() const { return _object; }
  friend bool operator==(const WeakRef& a, const WeakRef& b) { return a._object == b._object; }

 private:
  T* _object = nullptr;
};

}  // namespace ostra::vulkan

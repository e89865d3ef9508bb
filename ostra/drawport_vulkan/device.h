// Device: a logical device with one queue. Shared by all contexts of a physical device, as long as one of them lives.
// Thread-safe.
#pragma once

#include <optional>

#include "ostra/drawport_vulkan/driver.h"
#include "ostra/drawport_vulkan/memory.h"
#include "ostra/drawport_vulkan/setup.h"
#include "ostra/drawport_vulkan/shader_features.h"
#include "ostra/image/pixel_format.h"

namespace ostra::vulkan {

class FeatureChain;
class ProgramStore;
class Recorder;

// What of graphics a device has.
struct GraphicsFeatures {
  Bool canDraw = false;  // a queue that draws, and passes that begin without an object of their own
  Bool hasTessellation = false;
  Bool hasSampleShading = false;
  Bool hasVertexStores = false;  // all stages before the fragment stage
  Bool hasFragmentStores = false;
  Bool hasIndependentBlend = false;  // targets may differ in what is written and mixed
};

// Optional extensions, enabled on devices that list them.
struct DeviceExtensions {
  Bool hasBudget = false;  // VK_EXT_memory_budget
  Bool hasFault = false;   // VK_EXT_device_fault
  Bool hasSubset = false;  // VK_KHR_portability_subset: lacks parts of Vulkan, of which isolines alone are used
};

class Device final : public DrawportCounted<Device, DrawportObject> {
 public:
  // The device of the plan's place `index`, running or new. Errors: illegal argument when there is no such place;
  // illegal state when it does not start; out of memory.
  static Result<StrongRef<Device>> Open(Int index);

  explicit Device(DriverRef driver);
  Device(const Device&) = delete;
  ~Device();

  VkDevice GetHandle() const { return _device; }
  VkPhysicalDevice GetPhysicalDevice() const { return _physicalDevice; }
  UInt32 GetQueueFamily() const { return _queueFamily; }
  // Of a time stamp; 0: the queue writes none.
  UInt32 GetTimestampBits() const { return _timestampBits; }
  // For tests: what another device would have. Before any work is timed.
  void SetTimestampBits(UInt32 bits) { _timestampBits = bits; }
  const VkPhysicalDeviceLimits& GetLimits() const { return _properties.limits; }
  const VkPhysicalDeviceProperties& GetProperties() const { return _properties; }
  Int GetIndex() const { return _index; }
  MemoryPool& GetMemory() { return _memory; }
  // Compiled programs.
  ProgramStore& GetPrograms() { return *_programs; }

  // Bytes that a buffer can have.
  UInt64 GetMaxBufferSize() const { return _maxBufferSize; }
  Bool HasHalfFloats() const { return _hasHalfFloats; }
  // What programs may use.
  const ShaderFeatures& GetShaderFeatures() const { return _shaderFeatures; }
  const GraphicsFeatures& GetGraphics() const { return _graphics; }
  // For tests: what another device would have. Before anything is drawn.
  void SetGraphics(const GraphicsFeatures& graphics) { _graphics = graphics; }
  // Says, once for each pixel format, that the device does not filter textures of it.
  void TellUnfiltered(PixelFormatRef format);
  // A fault of Mesa's software driver: it counts the vertices that a draw of patches is divided into in 16 bits.
  Bool MiscountsPatches() const { return _miscountsPatches; }

  // Submits recorded work to the queue. The returned value of the timeline is reached when the work is done. After an
  // error the caller calls TellLoss, when it holds no mutex.
  Result<UInt64> Submit(const VkCommandBuffer* commands, UInt32 count);
  // That of the last submission of any list; 0 before the first.
  UInt64 GetSubmittedValue();
  // Waits until the timeline has reached `value`. Error: illegal state when the device is lost, which it is as well
  // when no submission ends within the time limit (SetDrawportTimeLimit, OSTRA_GPU_TIME_LIMIT).
  Result<void> Wait(UInt64 value);
  // The same for all that was handed to the queue so far, by whatever list.
  Result<void> WaitForSubmitted();
  // The value that the timeline has reached. Everything counts as done on a lost device: nothing will be.
  UInt64 GetReachedValue();
  Setup& GetSetup() { return _setup; }
  // For the end of a list whose work could not be awaited.
  void WaitUntilIdle();
  // From then on MakeLostError says what is known about the loss.
  Bool IsLost() const { return _isLost.load(std::memory_order_acquire); }
  // Warns of a loss, once for each device. Called without mutexes: listeners to warnings may block.
  void TellLoss();
  // The error of every call on a lost device: illegal state.
  Error MakeLostError(Int32 line) const;
  // Lost because its work does not end. The memory of that work is never freed, the device never destroyed.
  Bool IsHung() const { return _isHung.load(std::memory_order_acquire); }

  // vkCmdBeginRendering and vkCmdEndRendering, for devices that can draw.
  void BeginRendering(VkCommandBuffer commands, const VkRenderingInfo& info) const;
  void EndRendering(VkCommandBuffer commands) const;

  // Names an object for debuggers. `handle` is a Vulkan handle of `type`.
  void SetName(VkObjectType type, UInt64 handle, const CString& name) const;

  // Registers the recorder of a command list until RemoveList. Returns its number, which no other list of the process
  // has. Error: out of memory.
  Result<UInt32> AddList(Recorder& list);
  void RemoveList(UInt32 number);
  Bool HasList(UInt32 number);
  Bool HasSeveralLists() const { return _listCount.load(std::memory_order_relaxed) > 1; }
  // Releases what finished work of all lists holds, also of lists that are not used any more.
  void ReleaseDone();

 private:
  Result<void> Init(Int index);
  Result<void> CreateDevice();
  Result<void> CreateDeviceWith(const FeatureChain& wants);
  Result<void> QueryLimits();
  // Notes the loss and its location if `result` is the error of a lost device. Returns `result`, or the error of the
  // loss. Called with the queue locked; TellLoss follows.
  Result<void> CheckLoss(Result<void> result);
  // Waits as long as each submission ends within `limit` nanoseconds. Error: timeout, see IsTimeout.
  Result<void> WaitWithLimit(UInt64 value, UInt64 limit);
  // Marks the device as lost because its work does not end. Called with the queue locked; TellLoss follows.
  Error Abandon(UInt64 limit);

  DriverRef _driver;
  Int _index = 0;
  VkPhysicalDevice _physicalDevice = VK_NULL_HANDLE;
  VkPhysicalDeviceProperties _properties = {};
  VkDevice _device = VK_NULL_HANDLE;
  VkQueue _queue = VK_NULL_HANDLE;
  UInt32 _queueFamily = 0;
  UInt32 _timestampBits = 0;
  UInt64 _maxBufferSize = UINT64_MAX;
  Bool _hasHalfFloats = false;
  DeviceExtensions _extensions;
  std::optional<UInt64> _timeLimit;  // of OSTRA_GPU_TIME_LIMIT; see ReadTimeLimit
  ShaderFeatures _shaderFeatures;
  GraphicsFeatures _graphics;
  Bool _isRenderingCore = false;
  Bool _miscountsPatches = false;

  Setup _setup;
  std::mutex _queueMutex;
  VkSemaphore _timeline = VK_NULL_HANDLE;
  UInt64 _submittedValue = 0;  // guarded by _queueMutex
  std::atomic<bool> _isLost{false};
  std::atomic<bool> _isHung{false};
  struct Loss {
    String text;  // what is known about it
    std::atomic<bool> isUntold{false};
  };
  Loss _loss;  // written before _isLost
  Device* _nextAbandoned = nullptr;

  struct ListEntry {
    UInt32 number;
    Recorder* list;
  };
  ListEntry* FindList(UInt32 number);
  std::mutex _listMutex;
  BaseArray<ListEntry> _lists;
  std::atomic<Int> _listCount{0};

  std::atomic<bool> _hasToldUnfiltered[kPixelFormatCount] = {};
  MemoryPool _memory;
  Owned<ProgramStore> _programs;
};

using DeviceRef = StrongRef<Device>;

}  // namespace ostra::vulkan

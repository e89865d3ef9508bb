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

  // Hands recorded work to the queue. The returned value of the timeline is reached when the work is done. After an
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
  // Warns of a loss, once for each device. Called without mutexes: who listens to warnings may take its time.
  void TellLoss();
  // The error of everything that is asked of a lost device. Illegal state.
  Error MakeLostError(Int32 line) const;
  // Lost because its work does not end. What it may work with is never freed, and the device itself never destroyed.
  Bool IsHung() const { return _isHung.load(std::memory_order_acquire); }

  // vkCmdBeginRendering and vkCmdEndRendering, for devices that can draw.
  void BeginRendering(VkCommandBuffer commands, const VkRenderingInfo& info) const;
  void EndRendering(VkCommandBuffer commands) const;

  // Names an object for debuggers. `handle` is a Vulkan handle of `type`.
  void SetName(VkObjectType type, UInt64 handle, const CString& name) const;

  // Recorders of command lists: a number that tells a new list from all others of the process, until it leaves.
  Result<UInt32> AddList(Recorder& list);
  void RemoveList(UInt32 number);
  Bool HasList(UInt32 number);
  Bool HasSeveralLists() const { return _listCount.load(std::memory_order_relaxed) > 1; }
  // Releases what finished work of all lists holds, also of lists that are not used any more.
  void ReleaseDone();

 private:
  Result<void> Init(Int index);
  Result<void> CreateDevice();
  Result<void> QueryLimits();
  void QuerySubgroups(ShaderFeatures& features) const;
  // Remembers a lost device, and where it was lost; → the result, or the error that says so. With the queue locked;
  // TellLoss comes after it.
  Result<void> CheckLoss(Result<void> result);
  // One wait, as long as submissions end within `limit` nanoseconds each. Error: see IsTimeout.
  Result<void> WaitWithLimit(UInt64 value, UInt64 limit);
  // Leaves the device to work that does not end. With the queue locked; TellLoss comes after it.
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
  Bool _hasBudgetExtension = false;
  Bool _hasFaultExtension = false;
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

// Context and Drawport of the backend.
#pragma once

#include "ostra/drawport/drawport.h"
#include "ostra/drawport_vulkan/command_list.h"

namespace ostra::vulkan {

class Context final : public DrawportCounted<Context, DrawportContextInterface> {
 public:
  // Error: out of memory.
  static Result<StrongRef<Context>> Create(DrawportRef drawport, Device& device);
  Context(DrawportRef drawport, Device& device) : _drawport(std::move(drawport)), _commands(DeviceRef(&device)) {}

  DrawportRef GetDrawport() const override { return _drawport; }
  Bool IsFeatureSupported(DrawportFeature feature) const override;
  DrawportPixelFormatAccess GetPixelFormatAccessFlags(PixelFormatRef format, Bool isFloatingPoint) const override;
  DrawportCommandList& GetCommandList() override { return _commands; }
  VideoMemoryBudget GetAvailableAndTotalVRAMBudget() const override;

  CommandList& GetCommands() { return _commands; }
  Device& GetDevice() const { return _commands.GetDevice(); }

  // Frees the memory of unreferenced items; waits for the device, which may still work with it.
  Result<void> FreeTrash();
  // What create(MemorySpill) (→ Result) makes. When there is no memory of the best kind for it, once more after
  // FreeTrash, and then in slower memory if there is no other.
  template <class Create>
  auto MakeWithRoom(Create&& create) -> decltype(create(MemorySpill::Allowed)) {
    auto made = create(MemorySpill::Refused);
    if (made || !(made.GetError().GetKind() == kOutOfMemoryError)) return made;
    OSTRA_RETURN_IF_ERROR(FreeTrash());
    return create(MemorySpill::Allowed);
  }

 private:
  DrawportRef _drawport;
  CommandList _commands;
};

// The context behind an interface. Error: illegal state for a context of another backend.
Result<Context*> FindContext(DrawportContextInterface& context);

// A place in the plan of devices. The cache keeps one for each (see Cache::GetDrawport) while it is referenced; the
// device starts with the first context.
class Drawport final : public DrawportCounted<Drawport, DrawportInterface> {
 public:
  // For a place that exists. Error: out of memory; those of Driver::Get.
  static Result<StrongRef<Drawport>> Create(DrawportCacheRef cache, Int index);
  Drawport(DrawportCacheRef cache, DriverRef driver, Int index);
  ~Drawport();

  // Whether this is the drawport for the place `index` and the settings that are in force. With a `device`: and for
  // that one, which it takes when it has none yet; without: and for whatever device is there, unless that is lost.
  Bool Serves(Int index, const DeviceRef& device);

  DrawportCacheRef GetDrawportCache() const override { return _cache; }
  Result<DrawportContextRef> CreateOffscreenRenderContext(Bool sharesWithCaller, Int32 deviceIndex) override;
  Int32 GetDrawingDevice() const override;
  const Id& GetShadingLanguage() const override { return _language; }
  const DrawportCapabilities& GetCapabilities() const override { return _capabilities; }

 private:
  Bool TakesDevice(const DeviceRef& device);

  DrawportCacheRef _cache;
  DriverRef _driver;
  Int _index;
  const Id& _language;
  Int _stagingCapacity;  // the setting
  DrawportCapabilities _capabilities;
  std::mutex _mutex;
  DeviceRef _device;  // null before the first context
};

}  // namespace ostra::vulkan

// What a recording GPU layer keeps: bytes, and the calls that it was asked for. See recording_drawport.h.
#pragma once

#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "ostra/core/format.h"
#include "ostra/drawport/cache.h"
#include "ostra/drawport/drawport.h"

namespace ostra::test {

struct RecordingBuffer final : DrawportDeviceBuffer {
  Int GetSize() const override { return static_cast<Int>(bytes.size()); }
  std::vector<Byte> bytes;
};

class RecordingDevice;

struct RecordingTexture final : DrawportTexture {
  const DrawportTextureDescription& GetDescription() const override { return description; }
  Result<Int> GetStagingBufferSize(const DrawportOrigin&, const DrawportExtent& extent, Int, Int) const override {
    return GetPitch(extent.width) * extent.height * extent.depth;
  }
  Int GetPitch(Int width) const {
    const Int bytes = width * description.format->GetBytesPerPixel();
    return (bytes + rowAlignment - 1) / rowAlignment * rowAlignment;
  }
  // The first byte of a texel.
  Byte* At(Int x, Int y, Int z) {
    const DrawportExtent& extent = description.extent;
    return bytes.data() + ((z * extent.height + y) * extent.width + x) * description.format->GetBytesPerPixel();
  }
  DrawportTextureDescription description;
  std::vector<Byte> bytes;
  Int rowAlignment = 1;
};
struct RecordingSampler final : DrawportTextureSampler {};
struct RecordingCounter final : DrawportAtomicCounter {
  UInt32 value = 0;
};

struct RecordingStaging final : DrawportStagingBuffer {
  Int GetSize() const override { return static_cast<Int>(bytes.size()); }
  std::vector<Byte> bytes;
  DrawportMapMode mode = DrawportMapMode::Read;
  RecordingBuffer* buffer = nullptr;
  RecordingTexture* texture = nullptr;
  Int offset = 0, size = 0;
  DrawportRegion region;
};

class RecordingDevice {
 public:
  Int capacity = 65536;  // of every kind of staging buffer, bytes
  Int rowAlignment = 1;  // of rows of texels in staging buffers, bytes
  Id language = kShadingLanguageGlsl;
  std::string failing;  // calls that begin with this fail
  Id failingKind = kIllegalStateError;
  std::function<void(std::string_view)> onCall;  // is told of each before it returns
  // Graphics: programs of one key are one, and what only they are asked is written down as well, with the number of the
  // stage in front of the names of parameters.
  Bool drawsGraphics = false;
  Bool hasFactories = true;                          // otherwise items are valid without a factory
  std::vector<std::pair<UInt64, UInt64>> valueSets;  // that were asked for: owner and program hash
  VideoMemoryBudget budget{1 << 30, 1 << 30};
  // What formats can be used for, by ID; all can be read and written otherwise.
  std::map<std::string, DrawportPixelFormatAccess> access;
  Bool countsTextures = false;  // textures then take from the budget, and give back when trash is freed
  Int trash = 0;                // bytes
  Int liveContexts = 0;

  DrawportContextRef MakeContext();

  // The calls since the last time.
  std::vector<std::string> TakeCalls() {
    const std::scoped_lock lock(_mutex);
    return std::move(_calls);
  }

  template <class... Arguments>
  Result<void> Call(std::string_view pattern, const Arguments&... arguments) {
    const auto text = Format(pattern, arguments...);
    if (!text) return Error::MakeOutOfMemory("recording", 6);
    if (onCall) onCall(text->GetView());
    const std::scoped_lock lock(_mutex);
    _calls.emplace_back(text->GetView());
    if (!failing.empty() && _calls.back().starts_with(failing))
      return Error::Make(failingKind, "made-up failure", "recording", 1);
    return OK;
  }

 private:
  std::mutex _mutex;
  std::vector<std::string> _calls;
};

// Puts a new object into an empty `slot`. Error: out of memory.
template <class T, class... Arguments>
Result<void> FillSlot(StrongRef<T>& slot, Arguments&&... arguments) {
  if (slot) return OK;
  T* made = NewObj<T>(std::forward<Arguments>(arguments)...);
  if (!made) return Error::MakeOutOfMemory("recording", 7);
  slot = StrongRef<T>::Adopt(made);
  return OK;
}

}  // namespace ostra::test

// A context on the first GPU device, with the validation layer listening: a test fails when the layer says a word.
// Tests are skipped where there is no device.
#pragma once

#include <gmock/gmock.h>

#include <cstdlib>
#include <numeric>
#include <optional>
#include <string>
#include <vector>

#include "ostra/drawport/gpu_compute.h"
#include "ostra/drawport/settings.h"
#include "ostra/host.h"
#include "ostra/object/class.h"
#include "tests/support/diagnostic_recorder.h"
#include "tests/support/result_matchers.h"

namespace ostra {

// A value that must be there; otherwise the test ends.
template <class T>
T Take(Result<T> result) {
  if (!result) throw std::runtime_error(std::string(result.GetError().GetMessage().GetView()));
  return std::move(result).GetValue();
}
template <class T>
T& Take(Result<T&> result) {
  if (!result) throw std::runtime_error(std::string(result.GetError().GetMessage().GetView()));
  return result.GetValue();
}
inline void Take(Result<void> result) {
  if (!result) throw std::runtime_error(std::string(result.GetError().GetMessage().GetView()));
}

// What the driver writes where messages have no receiver: tests then run without them.
inline constexpr const char* kNoValidation = "Vulkan: the validation layer is not installed.";

inline void ExpectSilentValidation(const DiagnosticRecorder& diagnostics) {
  for (const std::string& line : diagnostics.GetLines()) {
    if (line == kNoValidation) continue;
    EXPECT_THAT(line, testing::Not(testing::StartsWith("Vulkan")));
  }
}

class GpuTest : public testing::Test {
 public:
  void SetUp() override {
    setenv("OSTRA_VULKAN_VALIDATION", "1", 1);
    setenv("OSTRA_GPU_CACHE", "off", 0);
    _host.emplace(Take(Host::Create({.readsEnvironment = false})));
    Take(_host->LoadModule("drawport_vulkan"));
    _cache = Take(GetDefaultDrawportCache());
    if (_cache->GetCacheType().IsEmpty()) GTEST_SKIP() << "There is no GPU device on this machine.";
    _drawport = Take(_cache->AllocDrawport(_cache->GetCacheType(), kDrawportSubtypeSystem));
    _context = Take(_drawport->CreateOffscreenRenderContext(false, 0));
  }

  void TearDown() override {
    _items.clear();
    _context = {};
    _drawport = {};
    _cache = {};
    _host.reset();
    SetDrawportMemoryLimit(0);
    SetDrawportStagingCapacity(0);
    SetDrawportRowAlignment(1);
    SetDrawportDirectMapping(true);
    SetDrawportDirectReading(true);
    ExpectSilentValidation(diagnostics);
  }

  DrawportCommandList& GetList() { return _context->GetCommandList(); }
  Int GetCapability(DrawportCapability capability) { return _drawport->GetCapabilities().GetValue(capability); }

  // A buffer of `bytes` bytes, alive until the test ends; zero unless it is filled.
  DrawportDeviceBuffer* MakeBuffer(Int bytes) {
    auto item = Take(_cache->GetVertexbuffer({{++_keys, 0, 0}}));
    DrawportDeviceBuffer* buffer = nullptr;
    const auto fill = [&](DrawportVertexBuffer& vertexBuffer) -> Result<void> {
      OSTRA_ASSIGN_OR_RETURN(buffer,
                             vertexBuffer.AllocSubBuffer(*_context, DrawportSubBufferUse::General, bytes,
                                                         GetCapability(DrawportCapability::SubBufferAlignment)));
      return OK;
    };
    Take(item->MakeValid(*_context, Take(DrawportVertexBufferFill::Create(fill))));
    _items.push_back(item);
    return buffer;
  }

  void Upload(DrawportDeviceBuffer& buffer, const void* source, Int bytes, Int byteOffset = 0) {
    const Int chunk = GetCapability(DrawportCapability::BufferTransferChunk);
    for (Int done = 0; done < bytes; done += chunk) {
      const Int count = std::min(chunk, bytes - done);
      DrawportStagingBuffer* staging = Take(_cache->AllocStagingBuffer(*_context, {.bytes = count}));
      Byte* mapped = Take(
          GetList().PrivateMapBuffer(*staging, DrawportMapMode::WriteDiscard, buffer, 0, byteOffset + done, count));
      MemCopy(mapped, static_cast<const Byte*>(source) + done, count);
      Take(GetList().UnmapBuffer(*staging, DrawportUnmapMode::Commit));
      GetList().ReleaseStagingBuffer(staging);
    }
  }

  std::vector<Byte> Download(DrawportDeviceBuffer& buffer, Int byteOffset, Int bytes) {
    std::vector<Byte> result(static_cast<std::size_t>(bytes));
    const Int chunk = GetCapability(DrawportCapability::ReadBackStagingCapacity);
    for (Int done = 0; done < bytes; done += chunk) {
      const Int count = std::min(chunk, bytes - done);
      DrawportStagingBuffer* staging =
          Take(_cache->AllocStagingBuffer(*_context, {.bytes = count, .use = DrawportStagingUse::HostRead}));
      const Byte* mapped =
          Take(GetList().PrivateMapBuffer(*staging, DrawportMapMode::Read, buffer, 0, byteOffset + done, count));
      MemCopy(result.data() + done, mapped, count);
      Take(GetList().UnmapBuffer(*staging, DrawportUnmapMode::Commit));
      GetList().ReleaseStagingBuffer(staging);
    }
    return result;
  }

  template <class T>
  DrawportDeviceBuffer* MakeBuffer(const std::vector<T>& values) {
    const Int bytes = static_cast<Int>(values.size() * sizeof(T));
    DrawportDeviceBuffer* buffer = MakeBuffer(bytes);
    Upload(*buffer, values.data(), bytes);
    return buffer;
  }
  template <class T>
  std::vector<T> Download(DrawportDeviceBuffer& buffer) {
    const std::vector<Byte> bytes = Download(buffer, 0, buffer.GetSize());
    std::vector<T> values(bytes.size() / sizeof(T));
    MemCopy(values.data(), bytes.data(), static_cast<Int>(bytes.size()));
    return values;
  }

  DiagnosticRecorder diagnostics;
  std::optional<Host> _host;
  DrawportCacheRef _cache;
  DrawportRef _drawport;
  DrawportContextRef _context;
  std::vector<DrawportVertexBufferItemRef> _items;
  UInt64 _keys = 0;
};

}  // namespace ostra

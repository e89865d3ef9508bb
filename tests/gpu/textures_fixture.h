// A GPU program with textures on a GPU layer that only writes down what it is asked for.
#pragma once

#include <list>
#include <string_view>

#include "tests/gpu/calls_fixture.h"

namespace ostra::test {

inline constexpr Int kMiB = Int(1) << 20;

class GpuTexturesTest : public GpuCallsTest {
 protected:
  // Bind data with texels of its own, all of one value.
  TextureBindData Fill(UInt32 width, UInt32 height, Float32 value) {
    texels.emplace_back(std::size_t{width} * height, value);
    TextureBindData data = Describe(width, height);
    data._data = reinterpret_cast<const Byte*>(texels.back().data());
    return data;
  }
  // Bind data with texels of its own, whose values are their numbers.
  TextureBindData Number(const Vec3<UInt32>& size) {
    std::vector<Float32>& own = texels.emplace_back(std::size_t{size.x} * size.y * size.z);
    for (std::size_t i = 0; i < own.size(); ++i) own[i] = static_cast<Float32>(i);
    TextureBindData data = Describe(size.x, size.y);
    data._dimensions = size;
    data._data = reinterpret_cast<const Byte*>(own.data());
    data._dataSize = static_cast<Int64>(own.size() * sizeof(Float32));
    return data;
  }
  Result<void> StoreTexture(InternedId id, UInt32 width, UInt32 height, Float32 value) {
    TextureBindData data = Fill(width, height, value);
    return program->StoreTextureBindData(id, data, false);
  }
  // One of 16 MiB.
  Result<void> StoreLarge(InternedId id, Float32 value) { return StoreTexture(id, 2048, 2048, value); }
  Result<Data> Read(InternedId id) { return program->GetTextureData(id, Vec3<Int32>(0), Vec3<Int32>(1 << 30)); }
  Float32 GetFirst(InternedId id) {
    const auto data = Read(id);
    EXPECT_THAT(data, IsOk());
    Float32 value = -1;
    if (data) MemCopy(&value, data->GetIf<SamplingData>()->_texels, 4);
    return value;
  }
  Bool IsOnDevice(InternedId id) { return *program->GetTextureHandle(id) != nullptr; }
  // The calls since the last time that begin with `prefix`.
  std::vector<std::string> TakeCallsOf(std::string_view prefix) {
    std::vector<std::string> some;
    for (std::string& call : TakeCalls())
      if (call.starts_with(prefix)) some.push_back(std::move(call));
    return some;
  }
  void StartOutOfCore(Int available, Int total, const std::vector<InternedId>& order) {
    g_outOfCoreParallelProgram = true;
    device.capacity = 64 * kMiB;
    device.countsTextures = true;
    Start();
    device.budget = {available, total};
    BaseArray<InternedId> ids;
    for (const InternedId& id : order) ASSERT_THAT(ids.Append(id), IsOk());
    ASSERT_THAT(program->SetTextureOutOfCoreDeleteOrder(ids), IsOk());
    TakeCalls();
  }

  std::list<std::vector<Float32>> texels;
};

}  // namespace ostra::test

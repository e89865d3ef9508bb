// Buffers and textures.
#include "conformance/client_scenarios.h"
#include "conformance/differences.h"

namespace ostra::conformance {
namespace {

using Words = std::vector<UInt32>;

void CheckEmptyBuffers(ClientRun& run) {
  const Result<void> created = run->CreateUniformBuffer("a"_iid, GetDataType<Float32>(), 0);
  if (run.IsGpu())
    CONFORMANCE_FAILS(run, kIllegalArgumentError, "Empty buffers are not allowed to be added.", created);
  else
    CONFORMANCE_OK(run, created);
}

void CheckShrinking(ClientRun& run) {
  run.Store<Float32>("a"_iid, {1, 2, 3});
  CONFORMANCE_OK(run, run->ResizeUniformBuffer("a"_iid, 2, false));
  CONFORMANCE_HOLDS(run, run.Read<Float32>("a"_iid).size() == (run.IsGpu() ? 3 : 2));
  CONFORMANCE_OK(run, run->ResizeUniformBuffer("a"_iid, 2, true));
  CONFORMANCE_HOLDS(run, run.Read<Float32>("a"_iid) == Floats{1, 2});
}

void CheckResizeToNothing(ClientRun& run) {
  run.Store<Float32>("a"_iid, {1, 2, 3});
  const Result<void> resized = run->ResizeUniformBuffer("a"_iid, 0, true);
  if (run.IsGpu())
    CONFORMANCE_OK(run, resized);
  else
    CONFORMANCE_FAILS(run, kIllegalArgumentError, "Buffer cannot be resized to 0 size.", resized);
  CONFORMANCE_HOLDS(run, run.Read<Float32>("a"_iid) == Floats{1, 2, 3});
}

void CheckLongUpdates(ClientRun& run) {
  run.Store<Float32>("a"_iid, {1});
  const Result<void> updated = run->UpdateUniformBufferData("a"_iid, 0, ClientRun::MakeArray<Float32>({4, 5}));
  if (run.IsGpu())
    CONFORMANCE_OK(run, updated);
  else
    CONFORMANCE_FAILS(run, kIllegalArgumentError, "Data update does not fit into existing buffer", updated);
  CONFORMANCE_HOLDS(run, run.Read<Float32>("a"_iid) == (run.IsGpu() ? Floats{4, 5} : Floats{1}));
}

void CheckCopiedBytes(ClientRun& run) {
  run.Store<UInt32>("a"_iid, {0x11111111, 0x22222222});
  run.Store<UInt32>("b"_iid, {0, 0});
  CONFORMANCE_OK(run, run->CopyBufferDataBytes("a"_iid, "b"_iid, 6, 0, 0));
  CONFORMANCE_HOLDS(run, run.Read<UInt32>("b"_iid) == Words{0x11111111, run.IsGpu() ? 0u : 0x2222u});
  run.Store<UInt8>("c"_iid, {1, 2});
  const Result<void> copied = run->CopyBufferDataBytes("c"_iid, "b"_iid, 2, 0, 0);
  if (run.IsGpu())
    CONFORMANCE_FAILS(run, kIllegalArgumentError, "source buffer datatype's size must be a multiple of 16 bits",
                      copied);
  else
    CONFORMANCE_OK(run, copied);
}

// The warning is the business of the GPU program's own tests.
void CheckLongCopies(ClientRun& run) {
  constexpr Int kMax = 16776960, kLong = kMax + 4;
  run.Store("a"_iid, Words(kLong, 5));
  CONFORMANCE_OK(run, run->CreateUniformBuffer("b"_iid, GetDataType<UInt32>(), kLong));
  CONFORMANCE_OK(run, run->CopyBufferData("a"_iid, "b"_iid, kLong, 0, 0));
  const UInt32 last = run.IsGpu() ? 0 : 5;
  CONFORMANCE_HOLDS(run,
                    run.GetElements<UInt32>(run->GetGlobalBufferData("b"_iid, kMax - 1, 3)) == Words{5, last, last});
}

void CheckBytesAsOtherTypes(ClientRun& run) {
  GenericBaseArray bytes;
  const std::vector<UInt8> values = {0, 0, 128, 63, 0, 0, 0, 64};
  auto array = GenericBaseArray::CreateCopy(
      GetDataType<UInt8>(), Block<const Generic>(reinterpret_cast<const Generic*>(values.data()), 8, 1));
  CONFORMANCE_OK(run, array);
  const Result<void> stored = run->StoreUniformBufferData("a"_iid, GetDataType<Float32>(), std::move(*array));
  if (!run.IsGpu()) {
    CONFORMANCE_FAILS(run, kIllegalArgumentError, "", stored);
    return;
  }
  CONFORMANCE_OK(run, stored);
  CONFORMANCE_HOLDS(run, run.Read<Float32>("a"_iid) == Floats{1, 2});
}

void CheckWhatIsRead(ClientRun& run) {
  run.Store<Float32>("a"_iid, {1});
  const auto read = run->GetGlobalBufferData("a"_iid);
  CONFORMANCE_OK(run, read);
  CONFORMANCE_OK(run, run->UpdateUniformBufferData("a"_iid, 0, ClientRun::MakeArray<Float32>({2})));
  CONFORMANCE_HOLDS(run, run.GetElements<Float32>(read) == Floats{run.IsGpu() ? 1.0f : 2.0f});
}

void CheckUnknownTextures(ClientRun& run) {
  const Result<void> swapped = run->SwapTextures("one"_iid, "two"_iid);
  CONFORMANCE_FAILS(run, kIllegalArgumentError,
                    run.IsGpu() ? "texture one could not be found" : "buffer one could not be found", swapped);
}

void CheckRegions(ClientRun& run) {
  const Floats texels = MakeTexels(8, 4);
  TextureBindData data = DescribeTexels(texels, 8, 4);
  CONFORMANCE_OK(run, run->StoreTextureBindData("t"_iid, data, false));
  const auto read = run->GetTextureData("t"_iid, Vec3<Int32>(1), Vec3<Int32>(2, 3, 1));
  const SamplingData* record = run.GetTexture(read);
  CONFORMANCE_HOLDS(run, record != nullptr);
  CONFORMANCE_HOLDS(run, record->_dimensions == (run.IsGpu() ? Vec3<UInt32>(2, 3, 1) : Vec3<UInt32>(8, 4, 1)));
}

void CheckCopiedTextures(ClientRun& run) {
  const Floats ones(4 * 4 * 4, 1.0f), twos(4 * 4 * 4, 2.0f);
  TextureBindData one = DescribeTexels(ones, 4, 4), two = DescribeTexels(twos, 4, 4);
  CONFORMANCE_OK(run, run->StoreTextureBindData("one"_iid, one, false));
  CONFORMANCE_OK(run, run->StoreTextureBindData("two"_iid, two, false));
  CONFORMANCE_OK(run, run->CopyTextureBytes("one"_iid, "two"_iid, -1, 0, 0));
  const Floats read = run.GetTexels(run->GetTextureData("two"_iid, Vec3<Int32>(0), Vec3<Int32>(kAll)));
  CONFORMANCE_HOLDS(run, read == (run.IsGpu() ? twos : ones));
}

// What a kernel reads from a texture of 4 x 4 texels at one place.
struct Reading {
  Float32 sampled = -1, fetched = -1;
};

Reading ReadTexture(ClientRun& run, TextureBindData& data, const Vec4<Float32>& place, const Vec4<Int32>& texel) {
  const auto check = [&run](const Result<void>& result) { return run.CheckOk(result, "a step", __FILE__, __LINE__); };
  run.AddKernel("read"_iid, "net.ostra.parity.texture2d.krn");
  run.Store("places"_iid, std::vector<Vec4<Float32>>{place});
  run.Store("texels"_iid, std::vector<Vec4<Int32>>{texel});
  run.Store("sampled"_iid, std::vector<Vec4<Float32>>{Vec4<Float32>(-1)});
  run.Store("fetched"_iid, std::vector<Vec4<Float32>>{Vec4<Float32>(-1)});
  for (const InternedId& id : {"places"_iid, "texels"_iid, "sampled"_iid, "fetched"_iid})
    check(run->SetBufferToActiveKernelSameId(id));
  check(run->StoreTextureBindData("image"_iid, data, false));
  check(run->SetTextureToActiveKernelSameId("image"_iid));
  check(run->SetUniform("count"_iid, UInt32(1)));
  if (!check(run->UpdateUniforms()) || !check(run->DispatchKernel(1, 1, 1, false))) return {};
  const auto sampled = run.Read<Vec4<Float32>>("sampled"_iid), fetched = run.Read<Vec4<Float32>>("fetched"_iid);
  return sampled.empty() || fetched.empty() ? Reading() : Reading{sampled[0].x, fetched[0].x};
}

// Texel (x, y) has the value 4 * y + x in all channels.
Floats MakeNumberedTexels() {
  Floats texels;
  for (int i = 0; i < 16; ++i) texels.insert(texels.end(), 4, static_cast<Float32>(i));
  return texels;
}

void CheckSrgb(ClientRun& run) {
  const Floats texels(4 * 4 * 4, 0.5f);
  TextureBindData data = DescribeTexels(texels, 4, 4);
  data._sRGB = true;
  const Reading reading = ReadTexture(run, data, {0.5f, 0.5f, 0, 0}, {1, 1, 0, 0});
  CONFORMANCE_HOLDS(run, run.IsGpu() ? reading.fetched == 0.5f : reading.fetched > 0.21f && reading.fetched < 0.22f);
  CONFORMANCE_HOLDS(run, run.IsGpu() ? reading.sampled == 0.5f : reading.sampled > 0.21f && reading.sampled < 0.22f);
}

void CheckCoordinates(ClientRun& run) {
  const Floats texels = MakeNumberedTexels();
  TextureBindData data = DescribeTexels(texels, 4, 4);
  data._normalizedCoordinates = false;
  // Texel (1, 2), or far outside, where the last texel is.
  const Reading reading = ReadTexture(run, data, {1.5f, 2.5f, 0, 0}, {0, 0, 0, 0});
  CONFORMANCE_HOLDS(run, reading.sampled == (run.IsGpu() ? 15.0f : 9.0f));
}

void CheckBorder(ClientRun& run) {
  const Floats texels = MakeNumberedTexels();
  TextureBindData data = DescribeTexels(texels, 4, 4);
  for (TextureWrapMode& mode : data._wrapModes) mode = TextureWrapMode::BORDER;
  for (Float32& component : data._borderColor) component = 0.75f;
  const Reading reading = ReadTexture(run, data, {-3.0f, 0.5f, 0, 0}, {-3, 1, 0, 0});
  const Float32 border = run.IsGpu() ? 0.0f : 0.75f;
  CONFORMANCE_HOLDS(run, reading.sampled == border);
  CONFORMANCE_HOLDS(run, reading.fetched == border);
}

void CheckRepeatedMultiples(ClientRun& run) {
  const Floats texels = MakeNumberedTexels();
  TextureBindData data = DescribeTexels(texels, 4, 4);
  for (TextureWrapMode& mode : data._wrapModes) mode = TextureWrapMode::REPEAT;
  // Texel (0, 1), or one behind the end of its row: (0, 2).
  const Reading reading = ReadTexture(run, data, {0.5f, 0.5f, 0, 0}, {-4, 1, 0, 0});
  CONFORMANCE_HOLDS(run, reading.fetched == (run.IsGpu() ? 4.0f : 8.0f));
}

void CheckNormalizedValues(ClientRun& run) {
  const std::vector<UInt8> bytes(16, 255);
  const Floats numbers(16, 1.0f);
  TextureBindData data;
  data._data = bytes.data();
  data._dataSize = 16;
  data._dimensions = Vec3<UInt32>(4, 4, 1);
  data._format = TextureFormat::U8;
  data._numChannels = 1;
  data._filter = TextureFilter::POINT;
  data._normalizedValues = true;
  run.AddKernel("read"_iid, "net.ostra.parity.texels.krn");
  CONFORMANCE_OK(run, run->StoreTextureBindData("bytes"_iid, data, false));
  data._data = reinterpret_cast<const Byte*>(numbers.data());
  data._dataSize = 64;
  data._format = TextureFormat::F32;
  data._normalizedValues = false;
  CONFORMANCE_OK(run, run->StoreTextureBindData("numbers"_iid, data, false));
  for (const InternedId& id : {"bytes"_iid, "numbers"_iid})
    CONFORMANCE_OK(run, run->SetTextureToActiveKernelSameId(id));
  run.Store("texels"_iid, std::vector<Vec4<Int32>>{{1, 1, 0, 0}});
  run.Store("foundNumbers"_iid, Floats{9});
  run.Store("foundBytes"_iid, Words{9});
  run.Store("sizes"_iid, std::vector<Vec4<Int32>>(1));
  for (const InternedId& id : {"texels"_iid, "foundNumbers"_iid, "foundBytes"_iid, "sizes"_iid})
    CONFORMANCE_OK(run, run->SetBufferToActiveKernelSameId(id));
  CONFORMANCE_OK(run, run->SetUniform("count"_iid, UInt32(1)));
  CONFORMANCE_OK(run, run->UpdateUniforms());
  CONFORMANCE_OK(run, run->DispatchKernel(1, 1, 1, false));
  CONFORMANCE_HOLDS(run, run.Read<UInt32>("foundBytes"_iid) == Words{255});
}

void CheckColumns(ClientRun& run) {
  const Floats texels = MakeTexels(1, 4);
  TextureBindData data = DescribeTexels(texels, 1, 4);
  run.AddKernel("read"_iid, "net.ostra.parity.texture2d.krn");
  run.Store("places"_iid, std::vector<Vec4<Float32>>(1));
  run.Store("texels"_iid, std::vector<Vec4<Int32>>(1));
  run.Store("sampled"_iid, std::vector<Vec4<Float32>>(1));
  run.Store("fetched"_iid, std::vector<Vec4<Float32>>(1));
  for (const InternedId& id : {"places"_iid, "texels"_iid, "sampled"_iid, "fetched"_iid})
    CONFORMANCE_OK(run, run->SetBufferToActiveKernelSameId(id));
  CONFORMANCE_OK(run, run->StoreTextureBindData("image"_iid, data, false));
  CONFORMANCE_OK(run, run->SetTextureToActiveKernelSameId("image"_iid));
  CONFORMANCE_OK(run, run->SetUniform("count"_iid, UInt32(1)));
  const Result<void> updated = run->UpdateUniforms();
  if (run.IsGpu())
    CONFORMANCE_OK(run, updated);
  else
    CONFORMANCE_FAILS(run, kIllegalArgumentError, "", updated);
}

void CheckLayers(ClientRun& run) {
  Floats texels(2 * 4 * 4);
  for (std::size_t i = 0; i < texels.size(); ++i) texels[i] = static_cast<Float32>(i);
  TextureBindData data = DescribeTexels(texels, 4, 4);
  data._numChannels = 1;
  run.AddKernel("read"_iid, "net.ostra.parity.layers.krn");
  run.Store("found"_iid, Floats{-1});
  CONFORMANCE_OK(run, run->StoreTextureBindData("image"_iid, data, false));
  CONFORMANCE_OK(run, run->SetTextureToActiveKernelSameId("image"_iid));
  CONFORMANCE_OK(run, run->SetBufferToActiveKernelSameId("found"_iid));
  const Result<void> updated = run->UpdateUniforms();
  const Floats read = run.GetTexels(run->GetTextureData("image"_iid, Vec3<Int32>(0), Vec3<Int32>(kAll)));
  if (run.IsGpu()) {
    CONFORMANCE_FAILS(
        run, kIllegalArgumentError,
        "The kernel's texture \"image\" is read by layer, but a texture with several layers is linked to it: "
        "textures on the GPU have one.",
        updated);
    CONFORMANCE_HOLDS(run, read == Floats(texels.begin(), texels.begin() + 16));
    return;
  }
  CONFORMANCE_OK(run, updated);
  CONFORMANCE_OK(run, run->DispatchKernel(1, 1, 1, false));
  CONFORMANCE_HOLDS(run, run.Read<Float32>("found"_iid) == Floats{25});
  CONFORMANCE_HOLDS(run, read == texels);
}

constexpr Difference kBuffers[] = {
    {"`CreateUniformBuffer` of no elements", "an empty buffer", "\"Empty buffers are not allowed to be added.\"",
     &CheckEmptyBuffers, "EmptyBuffers"},
    {"`ResizeUniformBuffer` to fewer elements", "shrinks", "stays, unless the resize is forced", &CheckShrinking,
     "Shrinking"},
    {"`ResizeUniformBuffer` to 0", "\"Buffer cannot be resized to 0 size.\"", "success, nothing changes",
     &CheckResizeToNothing, "ResizeToNothing"},
    {"an update from offset 0 that is longer than the buffer", "refused", "replaces the buffer", &CheckLongUpdates,
     "LongUpdates"},
    {"`CopyBufferDataBytes`", "bytes, any types", "whole words of 4 bytes, types of an even size", &CheckCopiedBytes,
     "CopiedBytes"},
    {"copies beyond 16776960 words", "whole", "cut, with a warning", &CheckLongCopies, "LongCopies"},
    {"storing raw bytes as another type", "the same element size only", "any whole number of elements",
     &CheckBytesAsOtherTypes, "BytesAsOtherTypes"},
    {"what `GetGlobalBufferData` returns", "the buffer itself, shared", "a copy", &CheckWhatIsRead, "WhatIsRead"},
};

constexpr Difference kTextures[] = {
    {"`SwapTextures` of unknown names", "\"buffer one (two) could not be found\"",
     "\"texture one (two) could not be found\"", &CheckUnknownTextures, "UnknownTextures"},
    {"`GetTextureData`", "the whole texture as given", "from the origin to `regionMax`, in the width that is stored",
     &CheckRegions, "Regions"},
    {"`CopyTextureBytes`", "copies", "does nothing", &CheckCopiedTextures, "CopiedTextures"},
    {"texels in `_sRGB`", "decoded", "as they were stored", &CheckSrgb, "Srgb"},
    {"`_normalizedValues`", "samplers of C++ kernel classes decode to 0 ... 1; kernel files fetch 0 ... 255",
     "not known: kernels fetch 0 ... 255", &CheckNormalizedValues, "NormalizedValues"},
    {"`_normalizedCoordinates` = false", "coordinates are texels", "coordinates are 0 ... 1", &CheckCoordinates,
     "Coordinates"},
    {"a border colour", "read outside of `BORDER` textures", "transparent black", &CheckBorder, "Border"},
    {"`REPEAT` at exact multiples of the extent below 0", "one texel too far", "repeated", &CheckRepeatedMultiples,
     "RepeatedMultiples"},
    {"a 1 x N texture", "one-dimensional", "two-dimensional", &CheckColumns, "Columns"},
    {"a texture of several layers", "has them all",
     "has the first, and is refused by `UpdateUniforms` for a kernel that reads by layer", &CheckLayers, "Layers"},
};

}  // namespace

std::span<const Difference> GetBufferDifferences() { return kBuffers; }
std::span<const Difference> GetTextureDifferences() { return kTextures; }

}  // namespace ostra::conformance

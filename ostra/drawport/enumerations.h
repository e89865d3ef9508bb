// The numbers of the GPU layer. Each has its name here and nowhere else: programs that store or pass on a number (keys
// of capabilities, barrier bits, type codes) use these names.
#pragma once

#include "ostra/core/id.h"

namespace ostra {

// What a device may be able to do; see DrawportContextInterface::IsFeatureSupported.
enum class DrawportFeature : Int32 {
  ComputeShader = 2,
  ShaderStorageBuffer = 4,
  MultisampleTexture = 7,  // reading multisampled textures
  ImageLoadStore = 11,
  AtomicOperations = 43,
  ShaderHalfFloat = 50,
};

// 3 to 5 are reserved.
enum class DrawportStage : Int32 {
  Vertex = 0,
  TessellationControl = 1,
  TessellationEvaluation = 2,
  Fragment = 6,
  Compute = 7,
};

// Keys of DrawportCapabilities. All values are bytes.
enum class DrawportCapability : Int32 {
  BufferTransferChunk = 0xC9,      // the largest staging buffer for an upload into a device buffer
  TextureStagingCapacity = 0xCA,   // the largest staging buffer for DrawportStagingUse::HostReadWrite, both ways
  ReadBackStagingCapacity = 0xCB,  // the largest staging buffer for DrawportStagingUse::HostRead
  SubBufferAlignment = 0x405,      // of AllocSubBuffer; a power of two
};

// Bit set: what a pixel format can be used for.
enum class DrawportPixelFormatAccess : UInt32 {
  None = 0,
  Sampled = 1,
  Filtered = 2,
  ShaderReadWrite = 4,
  RenderTarget = 8,
};
constexpr DrawportPixelFormatAccess operator|(DrawportPixelFormatAccess a, DrawportPixelFormatAccess b) {
  return static_cast<DrawportPixelFormatAccess>(static_cast<UInt32>(a) | static_cast<UInt32>(b));
}
constexpr Bool HasAccess(DrawportPixelFormatAccess set, DrawportPixelFormatAccess wanted) {
  return (static_cast<UInt32>(set) & static_cast<UInt32>(wanted)) == static_cast<UInt32>(wanted);
}

// Bit set for DrawportCommandList::AddMemoryBarrier.
enum class DrawportBarrierBits : UInt32 {
  None = 0,
  TextureFetch = 0x08,
  TextureUpdate = 0x80,
  Texture = TextureFetch | TextureUpdate,  // image writes become visible to fetches, image reads and image writes
  StorageBuffer = 0x4000,  // storage writes become visible to shader reads and writes and to indirect arguments
};
constexpr DrawportBarrierBits operator|(DrawportBarrierBits a, DrawportBarrierBits b) {
  return static_cast<DrawportBarrierBits>(static_cast<UInt32>(a) | static_cast<UInt32>(b));
}
constexpr Bool HasAnyBit(DrawportBarrierBits set, DrawportBarrierBits wanted) {
  return (static_cast<UInt32>(set) & static_cast<UInt32>(wanted)) != 0;
}

enum class DrawportMapMode : Int32 { Read = 1, WriteDiscard = 8 };
enum class DrawportUnmapMode : Int32 { Commit = 1 };

// What a staging buffer is for.
enum class DrawportStagingUse : Int32 {
  BufferUpload = 0,
  HostReadWrite = 4,  // serves both map modes
  HostRead = 0x20,
};

// Storage, vertex data, indirect arguments, transfer source and target at once.
enum class DrawportSubBufferUse : Int32 { General = 4 };

// Type codes of uniform parameters.
enum class DrawportShaderValueType : Int32 {
  Float = 1,
  Float2 = 2,
  Float3 = 3,
  Float4 = 4,
  Matrix2 = 5,
  Matrix3 = 6,
  Matrix4 = 7,
  Int = 14,
  Int2 = 15,
  Int3 = 16,
  Int4 = 17,
  UInt = 18,
  UInt2 = 19,
  UInt3 = 20,
  UInt4 = 21,
  Gradient = 28,
  AtomicUInt = 29,
  NoiseTable = 30,
};

enum class DrawportTextureType : Int32 { Texture1D = 1, Texture2D = 6, Texture3D = 10 };

enum class DrawportCacheKeyKind : Int32 { StateObject = 0, ProgramFactory = 53 };

// Whether kernels only read a buffer.
enum class DrawportBufferAccess : Int32 { ReadWrite = 0, ReadOnly = 1 };

// Where a piece of code stands in the assembled text, in this order.
enum class DrawportCodeSection : Int32 { Structs = 0, FileScope = 1, GroupShared = 2, Body = 3 };

// States of graphics programs.
enum class DrawportBlendFactor : Int32 {
  Zero = 0,
  One = 1,
  SourceColor = 2,
  OneMinusSourceColor = 3,
  TargetColor = 4,
  OneMinusTargetColor = 5,
  SourceAlpha = 6,
  OneMinusSourceAlpha = 7,
};
enum class DrawportDepthTestMode : Int32 {
  Off = 0,
  Less = 1,
  Equal = 2,
  LessEqual = 3,
  Greater = 4,
  NotEqual = 5,
  GreaterEqual = 6,
  Always = 7,
};
enum class DrawportCullFace : Int32 { None = 0, Front = 1, Back = 2 };
enum class DrawportFrontFace : Int32 { CounterClockwise = 0, Clockwise = 1 };
enum class DrawportAlphaBlendingMode : Int32 { Off = 0, On = 1 };
enum class DrawportDepthWriteMode : Int32 { Off = 0, On = 1 };

// What is drawn from the vertices of a draw.
enum class DrawportTopology : Int32 {
  Points = 0,
  Lines = 1,  // of two vertices each
  LineStrip = 2,
  Triangles = 3,
  TriangleStrip = 4,
  Patches = 5,  // for programs with tessellation stages, and only for them
};

// Depth targets. Depths are numbers from 0 (near) to 1 (far).
enum class DrawportDepthFormat : Int32 { None = 0, Float32 = 1, Unorm16 = 2 };

// Types of caches and drawports. An empty type means that there is no GPU.
inline constexpr Id kDrawportTypeOpenGL = "OpenGL"_id;
inline constexpr Id kDrawportTypeVulkan = "Vulkan"_id;
inline constexpr Id kDrawportTypeMetal = "Metal"_id;
inline constexpr Id kDrawportTypeDirectX = "DirectX"_id;
inline constexpr Id kDrawportSubtypeSystem = "subtype_system"_id;

// Shading languages.
inline constexpr Id kShadingLanguageHlsl = "HLSL"_id;
inline constexpr Id kShadingLanguageGlsl = "GLSL"_id;
inline constexpr Id kShadingLanguageMetal = "METAL"_id;
inline constexpr Id kShadingLanguageGlslEs = "GLSLES"_id;

}  // namespace ostra

// Bytes between the host and device buffers, in chunks that fit a staging buffer, each of them moved by several jobs.
#pragma once

#include "parallelprogram/device/gpu_context.h"

namespace ostra {

// Bytes of whole chunks: as many elements as the device's `capability` has room for. Error: illegal state when it has
// none, with which a transfer would never end.
Result<Int> GetTransferChunkSize(const GpuContextData& data, DrawportCapability capability, Int elementSize);

// How a chunk is cut into the pieces that jobs move: `count` pieces of `size` bytes, the last one with what is left.
struct TransferPieces {
  Int size = 0;
  Int count = 0;
};

// At most 64 pieces of a 64th of `capacity`, the size of a whole chunk. A rest below a quarter of a piece is moved with
// the piece in front of it.
TransferPieces CutChunk(Int chunk, Int capacity);

// Writes `bytes` bytes into `buffer` from `byteOffset` on; zeros when `source` is null. Chunks hold whole elements of
// `elementSize` bytes. Recorded, not executed. Errors: illegal state "no device buffer found to copy data into", or
// without a context; those of staging and mapping.
Result<void> UploadBytes(const GpuContextData& data, DrawportDeviceBuffer* buffer, Int byteOffset, const Byte* source,
                         Int bytes, Int elementSize);

// Who reads a buffer: GPU programs move a chunk in pieces, by several jobs. The shader loader reads little and seldom,
// through the staging memory of textures, and copies a chunk at once on the calling thread.
enum class BufferReader : Int32 { GpuProgram, ShaderLoader };

// Reads `bytes` bytes of `buffer` from `byteOffset` on. Everything recorded before has happened then. Errors: illegal
// state "no device buffer found to copy data from", or without a context; those of staging and mapping.
Result<void> DownloadBytes(const GpuContextData& data, BufferReader reader, DrawportDeviceBuffer* buffer,
                           Int byteOffset, Byte* target, Int bytes, Int elementSize);

}  // namespace ostra

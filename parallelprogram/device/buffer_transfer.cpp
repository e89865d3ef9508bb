#include "parallelprogram/device/buffer_transfer.h"

#include <algorithm>
#include <cstring>

#include "ostra/core/stream_copy.h"
#include "ostra/jobs/parallel_for.h"
#include "ostra/jobs/prefault_pages.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {
namespace {

// From here on the bytes have left the caches before the device, or the program, reads them.
constexpr Int kLargeTransfer = Int(4) << 20;

void CopyPiece(Byte* target, const Byte* source, Int count, Int wholeTransfer) {
  wholeTransfer >= kLargeTransfer ? StreamCopy(target, source, count) : MemCopy(target, source, count);
}

// Calls move(offset, bytes) for the pieces of a chunk, several at once.
template <class Move>
void MovePieces(Int chunk, Int capacity, Move&& move) {
  const TransferPieces pieces = CutChunk(chunk, capacity);
  ParallelFor::Dynamic(pieces.count, [&](Int begin, Int end) {
    for (Int i = begin; i < end; ++i) {
      const Int offset = i * pieces.size;
      move(offset, i + 1 == pieces.count ? chunk - offset : pieces.size);
    }
  });
}

}  // namespace

Result<Int> GetTransferChunkSize(const GpuContextData& data, DrawportCapability capability, Int elementSize) {
  const Int capacity = data.GetCapability(capability);
  if (capacity < 1) return OSTRA_ILLEGAL_STATE("The GPU layer has no staging memory.");
  return elementSize > 0 && elementSize <= capacity ? capacity - capacity % elementSize : capacity;
}

TransferPieces CutChunk(Int chunk, Int capacity) {
  constexpr Int kPieces = 64;
  constexpr Int kMinRest = 256;  // a 256th of the capacity
  const Int size = std::max<Int>(capacity / kPieces, 1);
  const Int whole = (chunk - 1) / size;
  const Int rest = chunk - whole * size;
  const Bool restIsPiece = whole < 1 || rest >= capacity / kMinRest;
  return {size, restIsPiece ? whole + 1 : whole};
}

Result<void> UploadBytes(const GpuContextData& data, DrawportDeviceBuffer* buffer, Int byteOffset, const Byte* source,
                         Int bytes, Int elementSize) {
  if (!buffer) return OSTRA_ILLEGAL_STATE("no device buffer found to copy data into");
  OSTRA_RETURN_IF_ERROR(CheckHasContext(data));
  DrawportCommandList& list = data.GetCommandList();
  OSTRA_ASSIGN_OR_RETURN(const Int capacity,
                         GetTransferChunkSize(data, DrawportCapability::BufferTransferChunk, elementSize));
  for (Int done = 0; done < bytes;) {
    const Int chunk = std::min(bytes - done, capacity);
    OSTRA_ASSIGN_OR_RETURN(const StagingBuffer staging,
                           StagingBuffer::Create(data, chunk, DrawportStagingUse::BufferUpload));
    OSTRA_ASSIGN_OR_RETURN(Byte * mapped, list.PrivateMapBuffer(*staging, DrawportMapMode::WriteDiscard, *buffer, 0,
                                                                byteOffset + done, chunk));
    MovePieces(chunk, capacity, [&](Int offset, Int count) {
      if (source)
        CopyPiece(mapped + offset, source + done + offset, count, bytes);
      else
        std::memset(mapped + offset, 0, static_cast<std::size_t>(count));
    });
    OSTRA_RETURN_IF_ERROR(list.UnmapBuffer(*staging, DrawportUnmapMode::Commit));
    done += chunk;
  }
  return OK;
}

Result<void> DownloadBytes(const GpuContextData& data, BufferReader reader, DrawportDeviceBuffer* buffer,
                           Int byteOffset, Byte* target, Int bytes, Int elementSize) {
  if (!buffer) return OSTRA_ILLEGAL_STATE("no device buffer found to copy data from");
  OSTRA_RETURN_IF_ERROR(CheckHasContext(data));
  const Bool isLoader = reader == BufferReader::ShaderLoader;
  const auto capability =
      isLoader ? DrawportCapability::TextureStagingCapacity : DrawportCapability::ReadBackStagingCapacity;
  const auto use = isLoader ? DrawportStagingUse::HostReadWrite : DrawportStagingUse::HostRead;
  DrawportCommandList& list = data.GetCommandList();
  OSTRA_ASSIGN_OR_RETURN(const Int capacity, GetTransferChunkSize(data, capability, elementSize));
  if (bytes >= kLargeTransfer) PrefaultPages(target, bytes);
  for (Int done = 0; done < bytes;) {
    const Int chunk = std::min(bytes - done, capacity);
    OSTRA_ASSIGN_OR_RETURN(const StagingBuffer staging, StagingBuffer::Create(data, chunk, use));
    OSTRA_ASSIGN_OR_RETURN(const Byte* mapped, list.PrivateMapBuffer(*staging, DrawportMapMode::Read, *buffer, 0,
                                                                     byteOffset + done, chunk));
    const auto copy = [&](Int offset, Int count) { CopyPiece(target + done + offset, mapped + offset, count, bytes); };
    if (isLoader)
      copy(0, chunk);
    else
      MovePieces(chunk, capacity, copy);
    OSTRA_RETURN_IF_ERROR(list.UnmapBuffer(*staging, DrawportUnmapMode::Commit));
    done += chunk;
  }
  return OK;
}

}  // namespace ostra

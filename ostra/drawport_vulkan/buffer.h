// BufferResource: a buffer with its memory.
#pragma once

#include "ostra/drawport_vulkan/resource.h"

namespace ostra::vulkan {

class BufferResource final : public DeviceResource, public DrawportDeviceBuffer {
 public:
  // `bytes` bytes whose contents are undefined, or with `isZero` read as zero. Errors: out of memory; illegal argument
  // for a size below 1.
  static Result<StrongRef<BufferResource>> Create(Device& device, Int bytes, MemoryUse use, Bool isZero,
                                                  MemorySpill spill = MemorySpill::Allowed);

  explicit BufferResource(DeviceRef device) : DeviceResource(std::move(device)) {}

  VkBuffer GetHandle() const { return _buffer; }
  Int GetSize() const override { return _size; }
  // The size with the bytes up to the next multiple of 16 that belong to the buffer too.
  Int GetPaddedSize() const { return _paddedSize; }
  // Where the host sees the buffer; null when it does not.
  Byte* GetMapped() const { return _piece.mapped; }
  Bool IsHostCached() const { return _piece.isHostCached; }
  void SetName(const CString& name) const;

  // Bytes from here on have never been written and are to read as zero. Kept by the list that writes: `stamp` is that
  // of the batch that does it, so that it can be taken back when the batch is never submitted; 0 when the host has done
  // it.
  Int GetZeroBegin() const { return _zeroBegin; }
  void SetZeroBegin(Int begin, UInt64 stamp) {
    if (_zeroedBy != stamp) _zeroBeginBefore = _zeroBegin;
    _zeroedBy = stamp;
    _zeroBegin = begin;
  }
  void ForgetBatch(UInt64 stamp) override {
    if (_zeroedBy == stamp) _zeroBegin = _zeroBeginBefore;
  }
  // The same without what batch `stamp` writes, which was not submitted yet.
  Int GetUnwrittenBegin(UInt64 stamp) const { return _zeroedBy == stamp ? _zeroBeginBefore : _zeroBegin.load(); }
  // Zeros from `begin` on were planned; with the setup mutex held.
  void SetZeroedBySetup(Int begin) {
    _fillBegin = begin;
    SetZeroBegin(_paddedSize, 0);
  }
  Bool HasContents() const override { return true; }
  DrawportExtent GetExtent() const override { return {_size, 1, 1}; }
  void RecordRead(VkCommandBuffer commands, const DrawportRegion& region, VkBuffer target) const override;
  void RecordSetup(VkCommandBuffer commands) override;

 private:
  Result<void> Init(Int bytes, MemoryUse use, MemorySpill spill);
  void Free() override;

  VkBuffer _buffer = VK_NULL_HANDLE;
  MemoryPiece _piece;
  Int _size = 0;
  Int _paddedSize = 0;
  std::atomic<Int> _zeroBegin{0};  // lists of other threads look at it
  Int _zeroBeginBefore = 0;
  UInt64 _zeroedBy = 0;
  Int _fillBegin = 0;
};

using BufferRef = StrongRef<BufferResource>;

}  // namespace ostra::vulkan

// CpuBuffers: the buffers of a CPU program by name. Every buffer is one contiguous array, which stays where it is until
// Reset, whatever becomes of its name: links keep working when a buffer is replaced.
#pragma once

#include "ostra/core/data_dictionary.h"
#include "ostra/core/intrusive_list.h"
#include "parallelprogram/program/cpu_buffer_elements.h"

namespace ostra {

class CpuBuffers {
 public:
  // The buffer under a name of a table of links; null when there is none, or a place without an array is linked there.
  static BufferSlot* Find(const DataDictionary& links, const InternedId& attr);
  // The links of a table hold addresses of buffers (BufferSlot*). What they point to is looked at by those who use the
  // link. Errors: those of a name that the table does not have; illegal argument for what is no such address.
  static Result<void> SetLink(DataDictionary& links, const InternedId& attr, const Data& data);
  static Result<Data> GetLink(const DataDictionary& links, const InternedId& attr);
  // Errors: illegal argument "buffer one (two) could not be found".
  static Result<void> SwapLinks(DataDictionary& links, const InternedId& one, const InternedId& two);

  // Creates or replaces a buffer. Errors: illegal argument "DataType not specified or 0 size", for values of another
  // layout than the type's and for no elements at all; those of BufferSource::FromValue; out of memory.
  Result<void> Create(const InternedId& attr, const DataType& dataType, Int count);
  Result<void> Store(const InternedId& attr, ForwardingDataPtr&& data);
  Result<void> Store(const InternedId& attr, const DataType& dataType, GenericBaseArray&& data);
  // Returns the buffer, whose elements have moved. Errors: illegal argument "buffer for resize could not be found",
  // "Buffer cannot be resized to 0 size."; out of memory.
  Result<BufferSlot&> Resize(const InternedId& attr, Int count);
  // The data's own element size counts, not the buffer's: an update of another type writes raw bytes. It never leaves
  // the buffer, and may come from it. Errors: illegal argument "buffer for update could not be found", "Data update
  // does not fit into existing buffer"; those of WriteElements.
  Result<void> Update(const InternedId& attr, Int offset, ForwardingDataPtr&& data);
  // Errors: illegal argument for an unknown name, a range outside of a buffer and other types.
  Result<void> Copy(const InternedId& sourceAttr, const InternedId& targetAttr, Int count, Int sourceOffset,
                    Int targetOffset);
  Result<void> CopyBytes(const InternedId& sourceAttr, const InternedId& targetAttr, Int bytesCount,
                         Int sourceBytesOffset, Int targetBytesOffset);
  // Forgets the name; OK when there is none.
  Result<void> EraseName(const InternedId& attr);
  void Reset();

  BufferSlot* Find(const InternedId& attr) const { return Find(_names, attr); }
  DataDictionary& GetNames() { return _names; }
  const DataDictionary& GetNames() const { return _names; }

 private:
  struct Node : ListNode<Node> {
    BufferSlot slot;
  };
  // The buffers that elements are copied between.
  struct Pair {
    BufferElements source, target;
  };

  // Makes `array` the buffer `attr`.
  Result<void> Add(const InternedId& attr, Array<Generic> array);
  Result<Pair> FindPair(const InternedId& sourceAttr, const InternedId& targetAttr) const;

  IntrusiveList<Node> _storage;  // freed by Reset
  DataDictionary _names;         // name -> BufferSlot*
};

}  // namespace ostra

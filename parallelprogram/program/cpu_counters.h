// CpuCounters: the atomic counters of a CPU program by name. Their addresses are good as long as the program.
#pragma once

#include "ostra/core/atomic.h"
#include "ostra/core/data_dictionary.h"
#include "ostra/core/intrusive_list.h"

namespace ostra {

class CpuCounters {
 public:
  // Adds a counter that stands at 0, or replaces the name's. Error: out of memory.
  Result<void> Add(const InternedId& attr);
  // Error: illegal argument "atomic identifier not found".
  Result<AtomicUInt32&> Get(const InternedId& attr) const;
  // The counter's address (AtomicUInt32*). Error: that of a name that there is not.
  Result<const Data&> GetLink(const InternedId& attr) const { return _names.GetData(attr); }
  // Forgets the names.
  void Reset() { _names.Reset(); }

 private:
  struct Node : ListNode<Node> {
    AtomicUInt32 counter;
  };

  IntrusiveList<Node> _storage;
  DataDictionary _names;  // name -> AtomicUInt32*
};

}  // namespace ostra

// RecordedResources: the buffers and textures of a CPU program that recorded dispatches work with, by which a replay
// knows whether the program still has them.
#pragma once

#include "ostra/core/array.h"
#include "ostra/core/data_dictionary.h"
#include "parallelprogram/textures/texture_factory.h"

namespace ostra {

class RecordedResources {
 public:
  // Notes all that `links`, or one of them, lead to in `all`, a table of the program. What a client has linked itself
  // is not there and passed over. Error: out of memory.
  Result<void> NoteBuffers(const DataDictionary& links, const DataDictionary& all);
  Result<void> NoteBuffer(const Array<Generic>* slot, const DataDictionary& all);
  Result<void> NoteTextures(const DataDictionary& links, const DataDictionary& all);
  // Error: illegal state that names what is not in its table any more, under whatever name, or has another size.
  Result<void> CheckUnchanged(const DataDictionary& allBuffers, const DataDictionary& allTextures) const;

 private:
  struct Resource {
    InternedId name;
    const void* place = nullptr;  // the slot or sampler
    Int count = 0;                // elements of a buffer
  };
  static Result<void> Note(BaseArray<Resource>& known, const InternedId* name, const void* place, Int count);

  BaseArray<Resource> _buffers, _textures;
};

}  // namespace ostra

// The fetch functions that give a byte, and the errors of all selections.
#include "parallelprogram/textures/sampler_selectors.h"

OSTRA_UNIT("texture_sampling_structs");

OSTRA_BYTE_FETCH_FUNCTIONS(1)
OSTRA_BYTE_FETCH_FUNCTIONS(2)
OSTRA_BYTE_FETCH_FUNCTIONS(3)

namespace ostra::sampler {

Error MakeChannelCountError() {
  return Error::Make(kIllegalStateError, "Illegal state: Invalid channel count", kOstraUnit, __LINE__);
}
Error MakeFormatError() {
  return Error::Make(kIllegalStateError, "Illegal state: Invalid format", kOstraUnit, __LINE__);
}

}  // namespace ostra::sampler

#include "ostra/host_classes.h"

#include <mutex>

#include "ostra/crypt/host_classes.h"
#include "ostra/drawport/host_classes.h"
#include "ostra/render/host_classes.h"

namespace ostra {

Result<void> RegisterHostClasses() {
  constexpr Result<void> (*kRegistrations[])() = {&RegisterConversions, &RegisterNoises, &RegisterGradient,
                                                  &RegisterGpuCompute, &RegisterNullCache};
  // A class is looked for before it is inserted.
  static constinit std::mutex mutex;
  const std::lock_guard lock(mutex);
  for (const auto registerClasses : kRegistrations) OSTRA_RETURN_IF_ERROR(registerClasses());
  return OK;
}

}  // namespace ostra

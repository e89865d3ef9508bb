// Which shared object something lies in: tells the code of a module from all other code.
#pragma once

namespace ostra {

// The start of the shared object that holds `address`; null for an unknown address. Thread-safe.
const void* FindSharedObject(const void* address);

}  // namespace ostra

// What programs and tests may change about the GPU layer. Thread-safe; a value counts from the next call that asks for
// it.
#pragma once

#include "ostra/core/id.h"

namespace ostra {

// Limits the device memory that is used, in bytes, below what the device has: allocations beyond it fail with out of
// memory, and the budget of contexts says so. 0, the default, is no limit.
OSTRA_API void SetDrawportMemoryLimit(Int bytes);
OSTRA_API Int GetDrawportMemoryLimit();

// The capabilities TextureStagingCapacity and ReadBackStagingCapacity and BufferTransferChunk of drawports that are
// made from now on, in bytes; raised to 64 KiB and to the longest row of a texture. 0, the default, is the backend's
// choice.
OSTRA_API void SetDrawportStagingCapacity(Int bytes);
OSTRA_API Int GetDrawportStagingCapacity();

// The largest stage of a program that is handed to the driver, in words of SPIR-V; with all calls replaced by the
// bodies of the functions it may have three times as many. Larger ones are refused with illegal argument, because a
// driver may compile them for minutes and take gigabytes of memory. 0, the default, is the backend's choice; a negative
// number is no limit.
OSTRA_API void SetDrawportProgramLimit(Int words);
OSTRA_API Int GetDrawportProgramLimit();

// Seconds that the device may take for one submission while a program waits for it, raised to a microsecond; 0, the
// default, is no limit. A device that takes longer counts as lost: what waits gets an error, and a new context starts a
// new device. Memory that the old one may work with is not freed before the process ends. OSTRA_GPU_TIME_LIMIT goes
// before it, also as "off".
OSTRA_API void SetDrawportTimeLimit(Float64 seconds);
OSTRA_API Float64 GetDrawportTimeLimit();

// Rows of texels lie a multiple of so many bytes apart in staging buffers; 1, the default, packs them. For tests of
// code that must cope with devices that pad rows.
OSTRA_API void SetDrawportRowAlignment(Int bytes);
OSTRA_API Int GetDrawportRowAlignment();

// False: device buffers that are made from now on are never read and written by the host itself, even where it sees
// their memory; all bytes go through staging memory. For tests of that way. Default: true.
OSTRA_API void SetDrawportDirectMapping(Bool isOn);
OSTRA_API Bool GetDrawportDirectMapping();

// False: device buffers that are made from now on are read through staging memory, even where the host sees and writes
// their memory itself, as on devices whose memory the host sees but does not cache. For tests of that way. Default:
// true.
OSTRA_API void SetDrawportDirectReading(Bool isOn);
OSTRA_API Bool GetDrawportDirectReading();

// The language that drawports which are made from now on ask programs for, where the backend can compile several:
// kShadingLanguageGlsl, the default, or kShadingLanguageHlsl; anything else is the default. Results are the same.
OSTRA_API void SetDrawportShadingLanguage(const Id& language);
OSTRA_API const Id& GetDrawportShadingLanguage();

}  // namespace ostra

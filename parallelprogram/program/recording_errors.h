// The errors of recordings that both programs have: see RecordedDispatchesInterface.
#pragma once

#include "ostra/core/error.h"
#include "ostra/core/interned_id.h"
#include "ostra/core/result.h"

namespace ostra::recording_errors {

// Illegal state.
Error MakeNotBegun();
Error MakeNotFound(UInt64 number);
Error MakeNotUpdated(const InternedId& kernelId);
Error MakeNoCopies();
Error MakeBufferChanged(const InternedId& name);
Error MakeTextureChanged(const InternedId& name);
// Illegal argument.
Error MakeNotDispatched(const InternedId& kernelId);
Error MakeNoUniform(const InternedId& kernelId, const InternedId& attr);
Error MakeNoiseMode(const InternedId& attr);

// Whether a recording can be replayed `times` times. Errors: illegal argument for a negative number; illegal state
// while one is open.
Result<void> CheckReplay(Int times, Bool isOpen);

}  // namespace ostra::recording_errors

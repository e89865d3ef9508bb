// Frameworks: named promises that a part of the system is there. The host publishes one per folder, a module the one it
// stands for; a module whose needs are not published is not loaded.
//
// All functions are thread-safe.
#pragma once

#include "ostra/core/base_array.h"
#include "ostra/core/id.h"

namespace ostra::Frameworks {

// Errors: illegal argument when it is published already; out of memory.
OSTRA_API Result<void> Publish(const Id& framework);
// True when it was published.
OSTRA_API Bool Withdraw(const Id& framework);
OSTRA_API Bool IsPublished(const Id& framework);
// All published frameworks, sorted by text. Error: out of memory.
OSTRA_API Result<BaseArray<Id>> GetIds();

// Publishes (withdraws) the frameworks of the host's own folders. On error none of them is published.
OSTRA_API Result<void> PublishHostFrameworks();
OSTRA_API void WithdrawHostFrameworks();

}  // namespace ostra::Frameworks

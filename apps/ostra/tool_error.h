// How the tool fails: with exit status 1 when the work failed, with 2 when the command line asks for something wrong.
#pragma once

#include "plans/usage_error.h"

namespace ostra::tool {

// Of errors that a different command line avoids; every other kind is a failure of the work.
using plans::kUsageError;

enum class ExitStatus : int { Done = 0, Failed = 1, BadUsage = 2 };

inline ExitStatus GetExitStatus(const Error& error) {
  return error.GetKind() == kUsageError ? ExitStatus::BadUsage : ExitStatus::Failed;
}

}  // namespace ostra::tool

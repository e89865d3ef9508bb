// How the tool fails: with exit status 1 when the work failed, with 2 when the command line asks for something wrong.
#pragma once

#include "ostra/core/format.h"

namespace ostra::tool {

// Kind of errors that a different command line avoids; every other kind is a failure of the work.
inline constexpr Id kUsageError = "net.ostra.tool.usageerror"_id;

enum class ExitStatus : int { Done = 0, Failed = 1, BadUsage = 2 };

inline ExitStatus GetExitStatus(const Error& error) {
  return error.GetKind() == kUsageError ? ExitStatus::BadUsage : ExitStatus::Failed;
}

}  // namespace ostra::tool

#define OSTRA_USAGE_ERROR(...) ::ostra::MakeError(::ostra::tool::kUsageError, kOstraUnit, __LINE__, __VA_ARGS__)

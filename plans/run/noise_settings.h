// The uniforms that choose noises, which no kernel file declares: "noiseMode_0" and "noiseSeed_0", "noiseMode_1", ...
#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "plans/run/run_options.h"
#include "plans/run/run_plan.h"

namespace ostra::plans {

struct NoiseSetting {
  Bool isMode;  // or else the seed
  Int number;   // of the noise
};

// Nothing when `name` is no such uniform.
std::optional<NoiseSetting> FindNoiseSetting(std::string_view name);

// The uniforms of the noises that `settings` choose; other settings are left alone. A mode is a number or the name of a
// noise, a seed is any 32-bit integer and 0 when it is left out. Without any setting there is noise number 0, perlin:
// a kernel that calls noises calls that one. Errors: usage errors for values that are no modes or seeds, and for
// numbers of noises that do not go on from 0, because a program does not look beyond a gap, with SettingNames::value as
// `option` in front; out of memory.
Result<std::vector<PlannedUniform>> PlanNoises(const Assignments& settings, std::string_view option);

}  // namespace ostra::plans

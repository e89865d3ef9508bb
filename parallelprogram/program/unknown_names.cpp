#include "parallelprogram/program/unknown_names.h"

#include <algorithm>

#include "ostra/core/diagnostics.h"
#include "parallelprogram/program/noise_modes.h"

namespace ostra {
namespace {

// Whether `name` is `pattern` with anything in the place of the '@'.
Bool Fits(std::string_view name, std::string_view pattern) {
  return name.starts_with(pattern.substr(0, pattern.find('@')));
}

}  // namespace

Bool UnknownNames::ShouldReport(const InternedId& name) {
  if (Fits(name.GetView(), kNoiseModePattern) || Fits(name.GetView(), kNoiseSeedPattern)) return false;
  if (std::find(_reported.begin(), _reported.end(), name) != _reported.end()) return false;
  return _reported.Append(name).IsOk();
}

void UnknownNames::Write(const InternedId& kernelId, const InternedId& name, std::string_view nearest) {
  if (nearest.empty())
    return DiagnosticOutput("The kernel \"@\" has no parameter \"@\"; what is set for it is not used.", kernelId, name);
  WarningOutput("The kernel \"@\" has no parameter \"@\"; did you mean \"@\"?", kernelId, name, nearest);
}

}  // namespace ostra

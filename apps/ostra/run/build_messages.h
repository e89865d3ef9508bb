// What `ostra run` says and measures while a kernel is made.
#pragma once

#include <optional>

#include "apps/ostra/output/progress.h"
#include "apps/ostra/profile/profile.h"
#include "parallelprogram/kernelruntime/kernel_runtime.h"

namespace ostra::tool {

class BuildMessages final : public KernelBuildObserver {
 public:
  void Begin(KernelBuildStep step, const Url& kernelFile) override;
  void End(KernelBuildStep step) override;
  void Note(std::string_view text) override;

 private:
  std::optional<ProfilePart> _part;
  std::optional<Progress> _progress;
};

}  // namespace ostra::tool

// What a run says and measures while its kernel is made.
#pragma once

#include <optional>

#include "parallelprogram/kernelruntime/kernel_runtime.h"
#include "plans/profile/profile.h"
#include "plans/work_observer.h"

namespace ostra::plans {

class BuildMessages final : public KernelBuildObserver {
 public:
  // `observer` must outlive the object.
  explicit BuildMessages(WorkObserver& observer) : _observer(observer) {}
  void Begin(KernelBuildStep step, const Url& kernelFile) override;
  void End(KernelBuildStep step) override;
  void Note(std::string_view text) override;

 private:
  WorkObserver& _observer;
  std::optional<ProfilePart> _part;
  std::unique_ptr<WorkProgress> _progress;
};

}  // namespace ostra::plans

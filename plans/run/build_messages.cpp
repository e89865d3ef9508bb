#include "plans/run/build_messages.h"

namespace ostra::plans {

void BuildMessages::Begin(KernelBuildStep step, const Url& kernelFile) {
  switch (step) {
    case KernelBuildStep::kFrontEnd:
      _part.emplace("front end");
      break;
    case KernelBuildStep::kCompile:
      _part.emplace("compile");
      _progress = _observer.Begin("compiling " + std::string(kernelFile.GetName().GetView()), 0, "");
      break;
    case KernelBuildStep::kLoad:
      _part.emplace("load");
      break;
  }
}

void BuildMessages::End(KernelBuildStep) {
  _progress.reset();
  _part.reset();
}

void BuildMessages::Note(std::string_view text) { _observer.Note(text); }

}  // namespace ostra::plans

#include "apps/ostra/run/build_messages.h"

#include "apps/ostra/output/standard_output.h"

namespace ostra::tool {

void BuildMessages::Begin(KernelBuildStep step, const Url& kernelFile) {
  switch (step) {
    case KernelBuildStep::kFrontEnd:
      _part.emplace("front end");
      break;
    case KernelBuildStep::kCompile:
      _part.emplace("compile");
      _progress.emplace("compiling " + std::string(kernelFile.GetName().GetView()), 0);
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

void BuildMessages::Note(std::string_view text) { WriteNote(std::string(text)); }

}  // namespace ostra::tool

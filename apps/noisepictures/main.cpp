// Draws a picture of every render noise: ostra-noise-pictures FOLDER
#include <cstdio>
#include <string>
#include <string_view>

#include "apps/noisepictures/noise_picture.h"
#include "apps/ostra/output/progress.h"
#include "ostra/core/format.h"
#include "ostra/host_classes.h"
#include "ostra/object/class.h"

OSTRA_UNIT("noisepictures");

namespace ostra {
namespace {

Result<void> DrawAll(std::string_view folder) {
  OSTRA_RETURN_IF_ERROR(RegisterHostClasses());
  OSTRA_ASSIGN_OR_RETURN(ClassRegistry & registry, ClassRegistry::Find(kRenderNoiseRegistry));
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<Id> ids, registry.GetIds());
  tool::Progress progress("drawing", ids.GetCount(), "pictures");
  for (const Id& id : ids) {
    OSTRA_ASSIGN_OR_RETURN(const ClassRef noiseClass, registry.FindEntryValue(id));
    OSTRA_ASSIGN_OR_RETURN(const Image picture, DrawNoisePicture(*noiseClass));
    OSTRA_ASSIGN_OR_RETURN(const String name, Format("@/@.png", folder, GetNoiseName(id)));
    OSTRA_ASSIGN_OR_RETURN(const Url file, Url::Create(name));
    OSTRA_RETURN_IF_ERROR(WriteImage(file, picture));
    progress.Advance();
  }
  return OK;
}

}  // namespace
}  // namespace ostra

int main(int count, char** arguments) {
  const bool isHelpWanted = count == 2 && std::string_view(arguments[1]) == "--help";
  if (count != 2 || arguments[1][0] == '-') {
    std::fputs("usage: ostra-noise-pictures FOLDER\n", isHelpWanted ? stdout : stderr);
    return isHelpWanted ? 0 : 2;
  }
  const ostra::Result<void> result = ostra::DrawAll(arguments[1]);
  if (result) return 0;
  std::fprintf(stderr, "%s\n", std::string(result.GetError().GetMessage().GetView()).c_str());
  return 1;
}

#include "parallelprogram/device/element_check.h"

#include "ostra/core/format.h"
#include "parallelprogram/program/same_bits.h"
#include "parallelprogram/shaderassembly/struct_elements.h"

OSTRA_UNIT("parallelprogram_gpu_impl");

namespace ostra {

Result<void> CheckElements(const DrawportParameter& parameter, DataType given) {
  const DrawportStructLayout& layout = parameter.layout;
  const DataType wanted = layout.type.IsPopulated() ? layout.type : FindElementWord(layout.typeName.GetView());
  if (!wanted.IsPopulated() || !given.IsPopulated() || HaveSameBits(given, wanted)) return OK;
  OSTRA_ASSIGN_OR_RETURN(const String reason, ExplainOtherBits(wanted, given));
  return OSTRA_ILLEGAL_ARGUMENT(
      "The kernel's buffer \"@\" is declared with elements of type @ and was given a buffer of type @@.",
      parameter.name, layout.typeName, given, reason);
}

}  // namespace ostra

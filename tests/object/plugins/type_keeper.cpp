// Describes a type on first use, as templates do, and leaves it to others.
#include <array>

#include "ostra/object/registration.h"

namespace ostra {
struct Lasting {
  String text;
  friend Bool operator==(const Lasting&, const Lasting&) = default;
};
}  // namespace ostra

OSTRA_DATATYPE(ostra::Lasting, "com.example.datatype.lasting", "Lasting");

namespace ostra {
namespace {

Result<void> RegisterOwnType(ModuleDescriptor&) {
  GetDataType<Lasting>();
  return OK;
}
constexpr std::array<ModuleEntry, 1> kUnits = {{{"type", &RegisterOwnType}}};

}  // namespace
}  // namespace ostra

using namespace ostra::literals;

OSTRA_MODULE_DESCRIPTOR = {.id = "com.example.typekeeper"_id, .version = "1.0", .units = ostra::kUnits};

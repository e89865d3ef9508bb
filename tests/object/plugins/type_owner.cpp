// Registers a type, and describes others with it when they are used, as templates do.
#include <array>

#include "ostra/core/array.h"
#include "ostra/object/registration.h"

namespace ostra {
struct Owned {
  String text;
  friend Bool operator==(const Owned&, const Owned&) = default;
};
}  // namespace ostra

OSTRA_DATATYPE(ostra::Owned, "com.example.datatype.owned", "Owned");

namespace ostra {
namespace {

Result<void> RegisterOwnType(ModuleDescriptor& module) {
  OSTRA_RETURN_IF_ERROR(RegisterDataType(module, DataTypeOf<Owned>::Make()));
  GetDataType<Owned*>();
  GetDataType<Block<const Owned>>();
  GetDataType<BaseArray<Owned>>();
  GetDataType<Array<Owned>*>();
  return OK;
}
constexpr std::array<ModuleEntry, 1> kUnits = {{{"type", &RegisterOwnType}}};

}  // namespace
}  // namespace ostra

using namespace ostra::literals;

OSTRA_MODULE_DESCRIPTOR = {.id = "com.example.typeowner"_id, .version = "1.0", .units = ostra::kUnits};

// Needs the framework of the good module.
#include <array>

#include "ostra/object/module_descriptor.h"
#include "tests/object/plugins/counter.h"

namespace ostra {
namespace {
constexpr std::array kNeeds = {kGoodFramework};
}
}  // namespace ostra

using namespace ostra::literals;

OSTRA_MODULE_DESCRIPTOR = {.id = "com.example.dependent"_id, .version = "1.0", .requiredFrameworks = ostra::kNeeds};

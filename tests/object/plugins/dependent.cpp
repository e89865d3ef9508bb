// Needs the framework of the good module.
#include <array>

#include "tests/object/plugins/counter.h"
#include "ostra/object/module_descriptor.h"

namespace ostra {
namespace {
constexpr std::array kNeeds = {kGoodFramework};
}
}  // namespace ostra

using namespace ostra::literals;

OSTRA_MODULE_DESCRIPTOR = {.id = "com.example.dependent"_id,
                           .version = "1.0",
                           .requiredFrameworks = ostra::kNeeds};

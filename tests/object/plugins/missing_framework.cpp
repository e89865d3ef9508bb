// Needs a framework that is not published.
#include <array>

#include "ostra/object/module_descriptor.h"

using namespace ostra::literals;

namespace {
constexpr std::array kNeeds = {"net.ostra.core.framework"_id, "com.example.absent.framework"_id};
}

OSTRA_MODULE_DESCRIPTOR = {.id = "com.example.needy"_id, .version = "1.0", .requiredFrameworks = kNeeds};

// Made for a module interface that does not exist yet.
#include "ostra/object/module_descriptor.h"

using namespace ostra::literals;

OSTRA_MODULE_DESCRIPTOR = {.apiVersion = 4711, .id = "com.example.future"_id};

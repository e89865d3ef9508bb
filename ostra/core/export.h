// Marks what libostra and plug-in modules offer to other shared objects; everything else stays hidden.
#pragma once

#define OSTRA_API __attribute__((visibility("default")))
#define OSTRA_HIDDEN __attribute__((visibility("hidden")))

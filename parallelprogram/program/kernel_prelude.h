// The headers of nearly every kernel that is compiled as a module, lanes of the level that the compiler's flags ask for
// included. A program that compiles many kernels can precompile it; sources that kernel files become include the same
// headers by themselves.
#pragma once

#include "parallelprogram/program/kernel_language.h"
#include "parallelprogram/program/kernel_registration.h"

#ifdef OSTRA_KERNEL_ONLY_LEVEL
#define OSTRA_LANE_LEVEL OSTRA_KERNEL_ONLY_LEVEL
#include "parallelprogram/program/kernel_lanes.inl"
#undef OSTRA_LANE_LEVEL
#endif

// Kernels that are slower in lanes because they are so short: one step of arithmetic whose results lie beside each
// other. Compilers make vector instructions of the loop over such a body by themselves, and without masks, as the loop
// ends where the guard does. Elements that the step picks up here and there they load as they compute their places;
// lanes would have to take the places out of a vector first.
#pragma once

#include "parallelprogram/kernellanguage/lane_kernel.h"

namespace ostra::kernellanguage {

Bool IsOneStep(const LaneKernel& kernel);

}  // namespace ostra::kernellanguage

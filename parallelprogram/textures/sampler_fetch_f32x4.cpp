// The fetch functions that give 4 floats.
#include "parallelprogram/textures/sampler_selectors.h"

OSTRA_FETCH_FUNCTIONS(1, 4)
OSTRA_FETCH_FUNCTIONS(2, 4)
OSTRA_FETCH_FUNCTIONS(3, 4)

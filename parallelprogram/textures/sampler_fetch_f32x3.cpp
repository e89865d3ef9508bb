// The fetch functions that give 3 floats.
#include "parallelprogram/textures/sampler_selectors.h"

OSTRA_FETCH_FUNCTIONS(1, 3)
OSTRA_FETCH_FUNCTIONS(2, 3)
OSTRA_FETCH_FUNCTIONS(3, 3)

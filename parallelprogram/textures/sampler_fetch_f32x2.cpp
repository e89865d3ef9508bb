// The fetch functions that give 2 floats.
#include "parallelprogram/textures/sampler_selectors.h"

OSTRA_FETCH_FUNCTIONS(1, 2)
OSTRA_FETCH_FUNCTIONS(2, 2)
OSTRA_FETCH_FUNCTIONS(3, 2)

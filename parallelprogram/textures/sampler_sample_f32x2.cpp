// The sample functions that give 2 floats.
#include "parallelprogram/textures/sampler_selectors.h"

OSTRA_SAMPLE_FUNCTIONS(1, 2)
OSTRA_SAMPLE_FUNCTIONS(2, 2)
OSTRA_SAMPLE_FUNCTIONS(3, 2)

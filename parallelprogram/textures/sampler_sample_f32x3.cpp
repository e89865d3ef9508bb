// The sample functions that give 3 floats.
#include "parallelprogram/textures/sampler_selectors.h"

OSTRA_SAMPLE_FUNCTIONS(1, 3)
OSTRA_SAMPLE_FUNCTIONS(2, 3)
OSTRA_SAMPLE_FUNCTIONS(3, 3)

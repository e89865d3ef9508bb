// The sample functions that give 4 floats.
#include "parallelprogram/textures/sampler_selectors.h"

OSTRA_SAMPLE_FUNCTIONS(1, 4)
OSTRA_SAMPLE_FUNCTIONS(2, 4)
OSTRA_SAMPLE_FUNCTIONS(3, 4)

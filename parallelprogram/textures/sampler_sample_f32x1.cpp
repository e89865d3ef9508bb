// The sample functions that give 1 float.
#include "parallelprogram/textures/sampler_selectors.h"

OSTRA_SAMPLE_FUNCTIONS(1, 1)
OSTRA_SAMPLE_FUNCTIONS(2, 1)
OSTRA_SAMPLE_FUNCTIONS(3, 1)

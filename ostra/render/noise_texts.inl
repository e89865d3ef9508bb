// The texts of all noises but choices.h, whose words they are written with. No include guard: they are included once
// for single places and once for each number of lanes.

// The parts come before the noises made of them.

#include "ostra/render/noise/lattice.h"

#include "ostra/render/noise/feature_points.h"
#include "ostra/render/noise/fractal.h"

#include "ostra/render/noise/blisteredturbulence.h"
#include "ostra/render/noise/box.h"
#include "ostra/render/noise/buya.h"
#include "ostra/render/noise/cell.h"
#include "ostra/render/noise/cranal.h"
#include "ostra/render/noise/dents.h"
#include "ostra/render/noise/displacedturbulence.h"
#include "ostra/render/noise/electric.h"
#include "ostra/render/noise/gaseous.h"
#include "ostra/render/noise/hama.h"
#include "ostra/render/noise/luka.h"
#include "ostra/render/noise/mod.h"
#include "ostra/render/noise/naki.h"
#include "ostra/render/noise/nutous.h"
#include "ostra/render/noise/ober.h"
#include "ostra/render/noise/perlin.h"
#include "ostra/render/noise/pezo.h"
#include "ostra/render/noise/poxo.h"
#include "ostra/render/noise/sema.h"
#include "ostra/render/noise/stupl.h"
#include "ostra/render/noise/turbulence.h"
#include "ostra/render/noise/vl.h"
#include "ostra/render/noise/wavyturbulence.h"
#include "ostra/render/noise/zada.h"

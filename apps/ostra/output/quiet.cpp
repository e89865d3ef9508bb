#include "apps/ostra/output/quiet.h"

namespace ostra::tool {

namespace {
Bool g_isQuiet = false;  // set before anything else is done
}

void SetQuiet(Bool isQuiet) { g_isQuiet = isQuiet; }
Bool IsQuiet() { return g_isQuiet; }

}  // namespace ostra::tool

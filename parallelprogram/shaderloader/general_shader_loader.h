// The class net.ostra.generalshaderloader, and what the module does with it when it starts and ends.
#pragma once

#include "ostra/object/class.h"

namespace ostra {

// Error: out of memory.
Result<ClassRef> CreateGeneralShaderLoaderClass();

// Forgets the parsers of all loaders.
void ResetStageParserCache();
Int GetCachedStageParserCount();

}  // namespace ostra

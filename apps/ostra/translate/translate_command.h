// ostra translate: shows what the translator makes of a file.
#pragma once

#include "plans/translate/translation.h"

namespace ostra::tool {

// Writes the report to standard output. As JSON, a translation that failed is reported there too. Errors: those of the
// translation, usage errors apart; those of writing.
Result<void> ShowTranslation(const plans::TranslationOptions& options, Bool isJson);

}  // namespace ostra::tool

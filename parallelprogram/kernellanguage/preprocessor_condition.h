// Conditions of the preprocessor: #if, #ifdef and their relatives.
#pragma once

#include "parallelprogram/kernellanguage/macro.h"

namespace ostra::kernellanguage {

// Whether a macro is defined. A name of which the files say nothing may be one of the host: that is not understood.
Bool IsDefined(const Token& name, MacroTable& macros, std::optional<NotUnderstood>& notUnderstood);

// The value of the condition of an #if or #elif.
Bool EvaluateCondition(const std::vector<Token>& tokens, SourceOffset offset, MacroTable& macros,
                       std::optional<NotUnderstood>& notUnderstood);

}  // namespace ostra::kernellanguage

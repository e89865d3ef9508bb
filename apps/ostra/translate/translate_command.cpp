#include "apps/ostra/translate/translate_command.h"

#include "apps/ostra/output/standard_output.h"
#include "apps/ostra/translate/translation_report.h"

namespace ostra::tool {

Result<void> ShowTranslation(const TranslationOptions& options, Bool isJson) {
  OSTRA_ASSIGN_OR_RETURN(const Translation translation, Translate(options));
  if (isJson) {
    OSTRA_ASSIGN_OR_RETURN(const std::string json, FormatTranslationAsJson(translation));
    OSTRA_RETURN_IF_ERROR(WriteOutput(json));
  }
  if (!translation.result || isJson) return translation.result;
  OSTRA_ASSIGN_OR_RETURN(const std::string text, FormatTranslation(translation));
  return WriteOutput(text);
}

}  // namespace ostra::tool

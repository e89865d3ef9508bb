#include "apps/ostra/translate/translate_command.h"

#include "apps/ostra/output/standard_output.h"
#include "apps/ostra/translate/translation_report.h"
#include "ostra/core/format.h"
#include "ostra/io/file.h"
#include "parallelprogram/kernelruntime/source_text.h"
#include "plans/lints/lint_file.h"

OSTRA_UNIT("translate_command");

namespace ostra::tool {

using namespace plans;

using namespace kernelruntime;

namespace {

// The error with the place that the translator had come to; for a file that cannot be read, what every command says.
Result<void> MakePlacedError(const Url& file, const Translation& translation) {
  if (IoDetect(file) != IODETECT::FILE)
    if (auto source = ReadSourceText(file); !source) return source.TakeError();
  return translation.parser->PlaceError(translation.result.GetError());
}

}  // namespace

Result<void> ShowTranslation(const TranslationOptions& options, Bool isJson) {
  OSTRA_ASSIGN_OR_RETURN(const Translation translation, Translate(options));
  if (isJson) {
    OSTRA_ASSIGN_OR_RETURN(const std::string json, FormatTranslationAsJson(translation));
    OSTRA_RETURN_IF_ERROR(WriteOutput(json));
  }
  if (isJson) return translation.result;
  if (!translation.result) return MakePlacedError(options.file, translation);
  if (translation.parser->GetKernelCode().IsEmpty())
    WriteErrorLine(std::string(options.file.GetView()) + ": warning: " + DescribeMissingKernel());
  if (translation.plain) {
    const std::string header(translation.plain->header.GetView()), plain(translation.plain->text.GetView());
    OSTRA_RETURN_IF_ERROR(WriteOutput("// Plain form\n" + header + plain + "\n"));
  }
  OSTRA_ASSIGN_OR_RETURN(const std::string text, FormatTranslation(translation));
  return WriteOutput(text);
}

}  // namespace ostra::tool

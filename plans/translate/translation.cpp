#include "plans/translate/translation.h"

#include "ostra/core/silent_diagnostics.h"
#include "parallelprogram/device/plain_source.h"
#include "parallelprogram/kernelruntime/source_text.h"

namespace ostra::plans {

using namespace kernelruntime;

namespace {

class DiagnosticRecorder final : public DiagnosticListener {
 public:
  void Notify(DiagnosticLevel level, std::string_view text) override { lines.push_back({level, std::string(text)}); }
  std::vector<Diagnostic> lines;
};

Result<DataDictionary> MakeParserOptions(const TranslationOptions& options) {
  DataDictionary dictionary;
  if (options.templateArgument) {
    OSTRA_ASSIGN_OR_RETURN(String argument, String::Create(*options.templateArgument));
    OSTRA_RETURN_IF_ERROR(dictionary.Set(kShaderTemplateArgument, std::move(argument)));
  }
  if (options.multisampling) OSTRA_RETURN_IF_ERROR(dictionary.Set(kShaderMultisampling, Int32{*options.multisampling}));
  return dictionary;
}

}  // namespace

Result<Translation> Translate(const TranslationOptions& options) {
  OSTRA_RETURN_IF_ERROR(CheckSourceName(options.file));
  OSTRA_ASSIGN_OR_RETURN(const DataDictionary dictionary, MakeParserOptions(options));
  Translation translation;
  OSTRA_ASSIGN_OR_RETURN(translation.parser, ShaderParser::Create(options.target));
  DiagnosticRecorder recorder;
  // What is recorded is reported with the translation: on the standard error stream it would be said once a target.
  {
    const SilentDiagnosticStream silence;
    auto plain = options.isRaw ? std::nullopt : MakePlainSource(options.file, options.templateArgument.value_or(""));
    if (plain) translation.plain = std::move(*plain);
    const WrittenSource* const written = translation.plain ? &*translation.plain : options.written;
    translation.result =
        translation.parser->Init(options.file, dictionary, EndlessSource::Refuse, options.lineEnds, written);
    if (translation.result && !plain) translation.result = plain.TakeError();
  }
  translation.diagnostics = std::move(recorder.lines);
  return translation;
}

}  // namespace ostra::plans

#include "apps/ostra/languageserver/lint_document.h"

#include <algorithm>

#include "ostra/core/silent_diagnostics.h"
#include "parallelprogram/device/plain_source.h"
#include "parallelprogram/kernelfront/source_rules.h"
#include "parallelprogram/shaderassembly/assembly_records.h"
#include "plans/lints/lint_file.h"
#include "plans/values/text.h"

namespace ostra::tool {

using namespace plans;

namespace {

class DocumentLinter {
 public:
  DocumentLinter(const Url& file, const std::string& path, const std::string& text, const OpenText& openText)
      : _file(file),
        _text(text),
        _stage(GetStageOfFile(file)),
        _overlay([&](const Url& url) { return ReadOpen(url, openText); }),
        _translated{.name = path, .text = text, .isStage = _stage != DrawportStage::Compute, .readHeader = {}} {
    _translated.readHeader = [this](const Url& header) {
      const auto source = ReadSourceFile(header, LineEnds::LineFeeds, &_overlay);
      return source ? std::optional(TextOf(source->text)) : std::nullopt;
    };
  }

  Result<Findings> Lint(const KernelDocument::HeaderLookup& readHeader) {
    if (_translated.isStage && !KeepsRules()) return std::move(_findings);
    std::optional<WrittenSource> plain;
    if (!_translated.isStage) {
      auto made = MakePlain(readHeader);
      if (!made && made.GetError().GetKind() == kOutOfMemoryError) return made.TakeError();
      if (!made) {
        _findings.AddError(made.GetError(), _translated.name);
        return std::move(_findings);
      }
      plain = std::move(*made);
    }
    if (plain) _translated.plain = &*plain;
    for (const Id& target : {kTargetGlsl, kTargetHlsl, kTargetMetal}) OSTRA_RETURN_IF_ERROR(LintTarget(target));
    if (!_isLinted) OSTRA_RETURN_IF_ERROR(LintUntranslated(_translated, _findings));
    return std::move(_findings);
  }

 private:
  static Result<std::optional<String>> ReadOpen(const Url& url, const OpenText& openText) {
    const std::string* const text = openText(url.GetView());
    if (!text) return std::optional<String>();
    OSTRA_ASSIGN_OR_RETURN(String copy, String::Create(*text));
    return std::optional(std::move(copy));
  }

  Bool KeepsRules() {
    const auto mistakes = FindSourceMistakes(_text);
    for (const SourceMistake& mistake : mistakes)
      _findings.AddMessage(
          kernellanguage::MakeSourceMessage({_translated.name, _text}, mistake.position, mistake.text));
    return mistakes.empty();
  }

  Result<std::optional<WrittenSource>> MakePlain(const KernelDocument::HeaderLookup& readHeader) const {
    KernelSourceOptions options;
    options.fileName = _translated.name;
    options.readHeader = [&readHeader](const std::string& name, const std::string& includingFile) {
      auto header = readHeader ? readHeader(name, includingFile) : std::nullopt;
      return header ? std::optional(KernelHeader{std::move(header->path), std::move(header->text), header->isHidden})
                    : std::nullopt;
    };
    OSTRA_ASSIGN_OR_RETURN(const KernelReading kernel, KernelReading::Create(options, _text));
    return MakePlainSource(_file, kernel);
  }

  Result<void> LintTarget(const Id& target) {
    OSTRA_ASSIGN_OR_RETURN(const StrongRef<ShaderParser> parser, ShaderParser::Create(target));
    parser->SetOverlay(_overlay);
    const SilentDiagnosticStream silence;
    const auto parsed =
        parser->Init(_file, DataDictionary(), EndlessSource::Refuse, LineEnds::LineFeeds, _translated.plain);
    if (!parsed) return Take(parser->PlaceError(parsed.GetError()));
    if (!std::exchange(_isLinted, true)) OSTRA_RETURN_IF_ERROR(LintFile(_translated, *parser, _findings));
    OSTRA_ASSIGN_OR_RETURN(const Bool canBe, CanBeAssembled(_translated.name, *parser, _stage, _findings));
    if (!canBe) return OK;
    const auto records = MakeShaderRecords(*parser, _stage);
    if (!records) return Take(records.GetError());
    LintRecords(*records, _translated.name, _findings);
    return OK;
  }

  Result<void> Take(const Error& error) {
    if (error.GetKind() == kOutOfMemoryError) return error;
    _findings.AddError(error, _translated.name);
    return OK;
  }

  const Url& _file;
  const std::string& _text;
  const DrawportStage _stage;
  const SourceOverlay _overlay;
  TranslatedFile _translated;
  Findings _findings;
  Bool _isLinted = false;
};

// The code of a line, without the white space around it.
TextRange FindLine(std::string_view text, Int number) {
  std::size_t begin = 0;
  for (; number > 1 && begin != std::string_view::npos; --number) {
    const std::size_t end = text.find('\n', begin);
    begin = end == std::string_view::npos ? end : end + 1;
  }
  if (begin == std::string_view::npos) return {};
  std::size_t end = std::min(text.find('\n', begin), text.size());
  constexpr std::string_view kBlanks = " \t\r";
  begin = std::min(text.find_first_not_of(kBlanks, begin), end);
  while (end > begin && kBlanks.find(text[end - 1]) != std::string_view::npos) --end;
  return {static_cast<UInt32>(begin), static_cast<UInt32>(end)};
}

Problem MakeProblem(const Finding& finding, const std::string& path, std::string_view text) {
  Problem problem{.severity = finding.severity == Severity::Error ? ProblemSeverity::kError : ProblemSeverity::kWarning,
                  .range = {},
                  .text = finding.text,
                  .notes = {}};
  if (finding.file != path)
    problem.text = FormatSourcePlace({.file = finding.file.substr(finding.file.rfind('/') + 1), .line = finding.line}) +
                   finding.text;
  else if (finding.line > 0)
    problem.range = FindLine(text, finding.line);
  return problem;
}

}  // namespace

Bool IsStageFile(std::string_view path) {
  const auto url = Url::Create(path);
  return url && GetStageOfFile(*url) != DrawportStage::Compute;
}

Result<std::vector<Problem>> LintDocument(const std::string& path, const std::string& text,
                                          const KernelDocument::HeaderLookup& readHeader, const OpenText& openText) {
  OSTRA_ASSIGN_OR_RETURN(const Url file, Url::Create(path));
  OSTRA_ASSIGN_OR_RETURN(const Findings findings, DocumentLinter(file, path, text, openText).Lint(readHeader));
  std::vector<Problem> problems;
  for (const Finding& finding : findings.GetAll()) problems.push_back(MakeProblem(finding, path, text));
  return problems;
}

}  // namespace ostra::tool

#include "plans/lints/lint_file.h"

#include "parallelprogram/kernelfront/source_rules.h"
#include "plans/values/text.h"

namespace ostra::plans {

namespace {

LintedFile SplitFile(const TranslatedFile& file) {
  return {file.name, SplitSource(file.text), false, file.hasTemplateArgument, file.isStage, false};
}

void LintLinesOfFile(const TranslatedFile& file, const ShaderParser& parser, Findings& findings) {
  LintedFile kernel = SplitFile(file);
  for (Int i = 0; i < parser.GetFiles().GetCount(); ++i) {
    const Url& url = parser.GetFiles()[i];
    LintedFile linted = kernel;
    if (url.GetView() != file.name) {
      const std::optional<std::string> header = file.readHeader(url);
      if (!header) continue;  // the translator has read it and will have said what is wrong
      linted = {TextOf(url.GetView()), SplitSource(*header), true, file.hasTemplateArgument, file.isStage, false};
    }
    SetNotes(linted.lines, parser.GetLineNotes()[i]);
    LintLines(linted, findings);
    LintStructure(linted, findings);
    LintUses(linted, parser, findings);
    LintIncludes(linted, parser, findings);
  }
  SetNotes(kernel.lines, parser.GetLineNotes()[0]);
  LintMissingHeaders(parser, findings);
  LintComments(kernel, findings);
  LintDeclarations(kernel, parser, findings);
  LintDefines(kernel, parser, findings);
}

// The lines of a plain form keep the rules of the translator, and are told as those that they stand for. `parser` is
// null for a file that was not translated.
Result<void> LintPlainForm(const TranslatedFile& file, const ShaderParser* parser, Findings& findings) {
  const WrittenSource& plain = *file.plain;
  std::vector<SourceLine> lines = SplitSource(plain.text.GetView());
  OSTRA_RETURN_IF_ERROR(FindNotes(lines, plain.text.GetView()));
  for (Int i = 0; i < plain.files.GetCount(); ++i) {
    LintedFile linted{TextOf(plain.files[i].GetView()), {}, i != 0, false, file.isStage, true};
    for (const SourceLine& line : lines) {
      const ShaderTextOrigin origin = plain.textLines[line.number - 1];
      if (origin.file != i) continue;
      linted.lines.push_back(line);
      linted.lines.back().number = origin.line;
    }
    LintLines(linted, findings);
    if (!parser) continue;
    LintUses(linted, *parser, findings);
    if (i == 0) LintDeclarations(linted, *parser, findings);
  }
  return OK;
}

}  // namespace

Result<void> LintFile(const TranslatedFile& file, const ShaderParser& parser, Findings& findings) {
  if (file.plain) return LintPlainForm(file, &parser, findings);
  LintLinesOfFile(file, parser, findings);
  return OK;
}

Result<void> LintUntranslated(const TranslatedFile& file, Findings& findings) {
  if (file.plain) return LintPlainForm(file, nullptr, findings);
  LintedFile kernel = SplitFile(file);
  OSTRA_RETURN_IF_ERROR(FindNotes(kernel.lines, file.text));
  LintLines(kernel, findings);
  LintComments(kernel, findings);
  LintStructure(kernel, findings);
  return OK;
}

std::string DescribeMissingKernel() {
  return "there is no kernel in this file, or it does not end: " + std::string(kHowToWriteAKernel);
}

Result<Bool> CanBeAssembled(const std::string& file, const ShaderParser& parser, DrawportStage stage,
                            Findings& findings) {
  if (parser.GetKernelCode().IsEmpty()) {
    findings.Add({file, 0, Severity::Error, DescribeMissingKernel()});
    return false;
  }
  const Bool isTessellation =
      stage == DrawportStage::TessellationControl || stage == DrawportStage::TessellationEvaluation;
  if (isTessellation && parser.GetTargetLanguage() == kTargetMetal) {
    findings.Add({file, 0, Severity::Warning,
                  "Metal has no stages of this kind: patches are divided by compute kernels there, which is not "
                  "made from stage files [METAL]"});
    return false;
  }
  OSTRA_ASSIGN_OR_RETURN(const std::optional<Finding> mistake, FindStageFinding(parser, stage));
  if (mistake) findings.Add(*mistake);
  return !mistake;
}

}  // namespace ostra::plans

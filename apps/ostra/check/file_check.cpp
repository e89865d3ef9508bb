#include "apps/ostra/check/file_check.h"

#include "apps/ostra/encode/source_file.h"
#include "ostra/core/format.h"
#include "parallelprogram/shaderassembly/assembly_records.h"

namespace ostra::tool {

namespace {

std::string TextOf(std::string_view text) { return std::string(text); }

Result<LintedFile> ReadLintedFile(const Url& url, Bool isHeader) {
  OSTRA_ASSIGN_OR_RETURN(const SourceText source, ReadSourceText(url));
  return LintedFile{TextOf(url.GetView()), SplitSource(source.text), isHeader};
}

// The lints need to know what the parser found: they run once, with the first translation that came to an end.
void LintFiles(const FileCheck& check, const LintedFile& kernel, const ShaderParser& parser, Findings& findings) {
  for (const Url& url : parser.GetFiles()) {
    const Bool isHeader = url.GetView() != check.file;
    auto header = isHeader ? ReadLintedFile(url, true) : Result<LintedFile>(kernel);
    if (!header) continue;  // the translator has read it and will have said what is wrong
    LintLines(*header, findings);
    LintStructure(*header, findings);
    LintUses(*header, parser, findings);
  }
  LintDeclarations(kernel, parser, findings);
}

// Without a parser that has finished, only what needs none.
void LintKernelAlone(const LintedFile& kernel, Findings& findings) {
  LintLines(kernel, findings);
  LintStructure(kernel, findings);
}

void AddParseError(const Error& error, const std::string& file, const LintedFile& kernel, Findings& findings) {
  const std::string message = TextOf(error.GetMessage());
  const Int line = LocateParseError(kernel, message);
  if (line > 0)
    findings.Add({file, line, Severity::Error, message});
  else
    findings.AddMessage(message, file);
}

Result<void> Assemble(TargetCheck& check, const Url& url, const std::string& file) {
  const DrawportStage stage = GetStageOfFile(url);
  if (check.translation.parser->GetKernelCode().IsEmpty() && stage == DrawportStage::Compute) {
    check.findings.Add({file, 0, Severity::Error, "there is no kernel in this file, or it does not end"});
    return OK;
  }
  auto records = MakeShaderRecords(*check.translation.parser, stage);
  if (!records) {
    if (records.GetError().GetKind() == kOutOfMemoryError) return records.TakeError();
    check.findings.AddMessage(records.GetError().GetMessage(), file);
    return OK;
  }
  auto assembled = AssembleShader(*records);
  if (!assembled) {
    if (assembled.GetError().GetKind() == kOutOfMemoryError) return assembled.TakeError();
    check.findings.AddMessage(assembled.GetError().GetMessage(), file);
    return OK;
  }
  check.records.emplace(std::move(*records));
  check.assembled.emplace(std::move(*assembled));
  return OK;
}

Result<void> AddTarget(FileCheck& check, const CheckOptions& options, const Id& target, const Url& url,
                       const LintedFile& kernel, Bool& isLinted) {
  OSTRA_ASSIGN_OR_RETURN(Translation translation,
                         Translate({url, target, options.templateArgument, options.multisampling}));
  TargetCheck& added = check.targets.emplace_back(TargetCheck{target, std::move(translation), {}, {}, {}});
  for (const std::string& line : added.translation.diagnostics)
    if (line.find("Error parsing shader") == std::string::npos)
      added.findings.Add({check.file, 0, Severity::Warning, line});
  if (!added.translation.result) {
    if (added.translation.result.GetError().GetKind() == kOutOfMemoryError) return added.translation.result.TakeError();
    AddParseError(added.translation.result.GetError(), check.file, kernel, added.findings);
    return OK;
  }
  if (!std::exchange(isLinted, true)) LintFiles(check, kernel, *added.translation.parser, check.findings);
  return Assemble(added, url, check.file);
}

}  // namespace

Result<FileCheck> PrepareCheck(const CheckOptions& options, const std::string& file) {
  FileCheck check;
  check.file = file;
  OSTRA_ASSIGN_OR_RETURN(const Url url, Url::Create(file));
  auto source = ReadSourceText(url);
  if (!source) {
    check.findings.AddMessage(source.GetError().GetMessage(), file);
    return check;
  }
  check.source = source->text;
  const LintedFile kernel{file, SplitSource(check.source), false};
  Bool isLinted = false;
  for (const Id& target : options.targets)
    OSTRA_RETURN_IF_ERROR(AddTarget(check, options, target, url, kernel, isLinted));
  if (!isLinted) LintKernelAlone(kernel, check.findings);
  return check;
}

Result<void> CompileTarget(TargetCheck& check, const std::string& file, const MetalCompiler* metal) {
  if (!check.assembled) return OK;
  std::vector<ShaderMessage> messages;
  if (check.target == kTargetMetal) {
    if (!metal) return OK;
    OSTRA_ASSIGN_OR_RETURN(messages, metal->Compile(check.assembled->text));
  } else {
    OSTRA_ASSIGN_OR_RETURN(CompiledShader compiled,
                           CompileShader(check.target, check.records->stage, *check.assembled));
    for (const ShaderMessage& message : compiled.messages) messages.push_back(message);
  }
  for (const ShaderMessage& message : messages) {
    OSTRA_ASSIGN_OR_RETURN(const String text, FormatShaderMessage(*check.assembled, message, file));
    check.findings.AddMessage(TextOf(text) + " [" + TextOf(check.target.GetView()) + "]", file);
  }
  return OK;
}

}  // namespace ostra::tool

#include "apps/ostra/check/file_check.h"

#include <algorithm>

#include "apps/ostra/values/text.h"
#include "ostra/core/format.h"
#include "ostra/shadercompiler/text_limits.h"
#include "parallelprogram/device/plain_source.h"
#include "parallelprogram/kernelfront/source_rules.h"
#include "parallelprogram/kernellanguage/diagnostic.h"
#include "parallelprogram/kernelruntime/kernel_source.h"
#include "parallelprogram/kernelruntime/source_text.h"
#include "parallelprogram/shaderassembly/assembly_records.h"
#include "parallelprogram/shaderparser/kernel_words.h"

namespace ostra::tool {

using namespace kernelruntime;

namespace {

Result<LintedFile> ReadHeader(const Url& url) {
  OSTRA_ASSIGN_OR_RETURN(const SourceText source, ReadSourceText(url));
  return LintedFile{TextOf(url.GetView()), SplitSource(source.text), true, false, false, false};
}

// The lints need to know what the parser found: they run once, with the first translation that came to an end.
void LintFiles(const FileCheck& check, LintedFile& kernel, const ShaderParser& parser, Findings& findings) {
  for (Int i = 0; i < parser.GetFiles().GetCount(); ++i) {
    const Url& url = parser.GetFiles()[i];
    auto file = url.GetView() == check.file ? Result<LintedFile>(kernel) : ReadHeader(url);
    if (!file) continue;  // the translator has read it and will have said what is wrong
    file->hasTemplateArgument = kernel.hasTemplateArgument;
    file->isStage = kernel.isStage;
    SetNotes(file->lines, parser.GetLineNotes()[i]);
    LintLines(*file, findings);
    LintStructure(*file, findings);
    LintUses(*file, parser, findings);
    LintIncludes(*file, parser, findings);
  }
  SetNotes(kernel.lines, parser.GetLineNotes()[0]);
  LintMissingHeaders(parser, findings);
  LintComments(kernel, findings);
  LintDeclarations(kernel, parser, findings);
  LintDefines(kernel, parser, findings);
}

// The same for a plain form: its lines keep the rules of the translator, and are told as those that they stand for.
Result<void> LintPlainForm(const FileCheck& check, const LintedFile& kernel, const ShaderParser& parser,
                           Findings& findings) {
  std::vector<SourceLine> lines = SplitSource(check.plain->text.GetView());
  OSTRA_RETURN_IF_ERROR(FindNotes(lines, check.plain->text.GetView()));
  for (Int i = 0; i < check.plain->files.GetCount(); ++i) {
    LintedFile file{TextOf(check.plain->files[i].GetView()), {}, i != 0, false, kernel.isStage, true};
    for (const SourceLine& line : lines) {
      const ShaderTextOrigin origin = check.plain->textLines[line.number - 1];
      if (origin.file != i) continue;
      file.lines.push_back(line);
      file.lines.back().number = origin.line;
    }
    LintLines(file, findings);
    LintUses(file, parser, findings);
    if (i == 0) LintDeclarations(file, parser, findings);
  }
  return OK;
}

// Without a parser that has finished, only what needs none.
Result<void> LintKernelAlone(const FileCheck& check, LintedFile& kernel, Findings& findings) {
  OSTRA_RETURN_IF_ERROR(FindNotes(kernel.lines, check.source));
  LintLines(kernel, findings);
  LintComments(kernel, findings);
  LintStructure(kernel, findings);
  return OK;
}

// What the front end of the language has to say, which reads the file in another way than the translator.
Result<void> ReadWithFrontEnd(FileCheck& check, const Url& url, const CheckOptions& options) {
  const std::string templateArgument = options.templateArgument.value_or("");
  auto source = ReadKernelSource(url, templateArgument);
  if (!source && source.GetError().GetKind() == kOutOfMemoryError) return source.TakeError();
  if (source && options.isForCpu && options.isExplained) {
    OSTRA_ASSIGN_OR_RETURN(check.lanes, ExplainKernelLanes(url, templateArgument));
    if (check.lanes.empty()) check.lanes = check.file + ": note: the kernel has a wide form";
  }
  if (!source)
    check.mistakes = TextOf(source.GetError().GetMessage());
  else if (options.isForCpu)
    check.cpuSource.emplace(std::move(*source));
  return OK;
}

// A kernel without one that needs one is not translated: the rules for its lines are not what it breaks.
Result<void> FindPlainForm(FileCheck& check, const Url& url, const CheckOptions& options) {
  auto plain = MakePlainSource(url, options.templateArgument.value_or(""));
  if (plain)
    check.plain = std::move(*plain);
  else if (plain.GetError().GetKind() == kOutOfMemoryError)
    return plain.TakeError();
  else if (!options.targets.empty())
    check.findings.AddMessage(plain.GetError().GetMessage(), check.file);
  return OK;
}

// What breaks a rule about lines that the CPU's front end and GPU programs refuse as well. True when there is nothing.
Bool KeepsRules(const SourceText& source, const std::string& file, Bool isHeader, Findings& findings) {
  const std::string_view text = source.text.GetView();
  const auto mistakes = isHeader ? FindHeaderMistakes(text) : FindSourceMistakes(text);
  for (const SourceMistake& mistake : mistakes)
    findings.AddMessage(kernellanguage::FormatError({file, text, source.isEncoded}, mistake.position, mistake.text),
                        file);
  return mistakes.empty();
}

// The same for the headers that the translator has read.
Bool HeadersKeepRules(const FileCheck& check, const ShaderParser& parser, Findings& findings) {
  Bool keepsRules = true;
  for (const Url& url : parser.GetFiles()) {
    if (url.GetView() == check.file) continue;
    if (const auto source = ReadSourceText(url))
      keepsRules &= KeepsRules(*source, TextOf(url.GetView()), true, findings);
  }
  return keepsRules;
}

// Patterns such as blur.* take pictures and headers, too.
Bool IsKernelOrStage(const Url& url, const LintedFile& file) {
  if (GetStageOfFile(url) != DrawportStage::Compute || url.GetSuffix() == "krn") return true;
  return std::any_of(file.lines.begin(), file.lines.end(),
                     [](const SourceLine& line) { return IsKernelStart(line.text) || IsKernelMethod(line.text); });
}

// What does not come out of the front end in other words.
void AddMessage(TargetCheck& check, std::string_view message, const FileCheck& file) {
  if (file.mistakes.empty())
    check.findings.AddMessage(message, file.file);
  else
    check.isRefused = true;
}

Result<void> Assemble(TargetCheck& check, const Url& url, const FileCheck& fileCheck) {
  const std::string& file = fileCheck.file;
  const DrawportStage stage = GetStageOfFile(url);
  if (check.translation.parser->GetKernelCode().IsEmpty()) {
    check.findings.Add({file, 0, Severity::Error, "there is no kernel in this file, or it does not end"});
    return OK;
  }
  const Bool isTessellation =
      stage == DrawportStage::TessellationControl || stage == DrawportStage::TessellationEvaluation;
  if (isTessellation && check.target == kTargetMetal) {
    check.findings.Add({file, 0, Severity::Warning,
                        "Metal has no stages of this kind: patches are divided by compute kernels there, which is not "
                        "made from stage files [METAL]"});
    return OK;
  }
  OSTRA_ASSIGN_OR_RETURN(const std::optional<Finding> mistake, FindStageFinding(*check.translation.parser, stage));
  if (mistake) {
    check.findings.Add(*mistake);
    return OK;
  }
  auto records = MakeShaderRecords(*check.translation.parser, stage);
  if (!records) {
    if (records.GetError().GetKind() == kOutOfMemoryError) return records.TakeError();
    AddMessage(check, records.GetError().GetMessage(), fileCheck);
    return OK;
  }
  LintRecords(*records, file, check.findings);
  auto assembled = AssembleShader(*records);
  if (!assembled) {
    if (assembled.GetError().GetKind() == kOutOfMemoryError) return assembled.TakeError();
    AddMessage(check, assembled.GetError().GetMessage(), fileCheck);
    return OK;
  }
  check.records.emplace(std::move(*records));
  check.assembled.emplace(std::move(*assembled));
  return OK;
}

Result<void> AddTarget(FileCheck& check, const CheckOptions& options, const Id& target, const Url& url,
                       LintedFile& kernel, Bool& isLinted) {
  OSTRA_ASSIGN_OR_RETURN(Translation translation, Translate({.file = url,
                                                             .target = target,
                                                             .templateArgument = options.templateArgument,
                                                             .multisampling = options.multisampling,
                                                             .isRaw = true,
                                                             .written = check.plain ? &*check.plain : nullptr}));
  TargetCheck& added = check.targets.emplace_back(TargetCheck{target, std::move(translation), {}, {}, {}});
  // What is only information says of a header what the result says again.
  for (const Diagnostic& line : added.translation.diagnostics)
    if (line.level >= DiagnosticLevel::Warning) added.findings.Add({check.file, 0, Severity::Warning, line.text});
  if (!check.plain && !HeadersKeepRules(check, *added.translation.parser, check.findings)) return OK;
  if (!added.translation.result) {
    if (added.translation.result.GetError().GetKind() == kOutOfMemoryError) return added.translation.result.TakeError();
    OSTRA_ASSIGN_OR_RETURN(const String message,
                           added.translation.parser->DescribeError(added.translation.result.GetError()));
    added.findings.AddMessage(message, check.file);
    return OK;
  }
  if (!std::exchange(isLinted, true)) {
    if (check.plain)
      OSTRA_RETURN_IF_ERROR(LintPlainForm(check, kernel, *added.translation.parser, check.findings));
    else
      LintFiles(check, kernel, *added.translation.parser, check.findings);
  }
  return Assemble(added, url, check);
}

// Whether the CPU is the only target that does not take the kernel's mistakes.
Bool IsRefusedByCpuAlone(const FileCheck& check) {
  return !check.targets.empty() && std::none_of(check.targets.begin(), check.targets.end(),
                                                [](const TargetCheck& target) { return target.isRefused; });
}

Bool IsOnLineOf(const Findings& mistakes, const Finding& finding) {
  const auto& all = mistakes.GetAll();
  return finding.line > 0 && std::any_of(all.begin(), all.end(), [&finding](const Finding& mistake) {
           return mistake.line == finding.line && mistake.file == finding.file;
         });
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
  const Bool isStage = GetStageOfFile(url) != DrawportStage::Compute;
  LintedFile kernel{file, SplitSource(check.source), false, options.templateArgument.has_value(), isStage, false};
  if (!IsKernelOrStage(url, kernel)) {
    check.findings.Add({file, 0, Severity::Error, "this is neither a kernel file nor a stage file"});
    return check;
  }
  if (!isStage) OSTRA_RETURN_IF_ERROR(FindPlainForm(check, url, options));
  if (!check.findings.GetAll().empty()) return check;
  // Nothing else that could be said of such a file is certain.
  if (!check.plain && !KeepsRules(*source, file, false, check.findings)) return check;
  if (!isStage) OSTRA_RETURN_IF_ERROR(ReadWithFrontEnd(check, url, options));
  Bool isLinted = false;
  for (const Id& target : options.targets)
    OSTRA_RETURN_IF_ERROR(AddTarget(check, options, target, url, kernel, isLinted));
  if (!isLinted) OSTRA_RETURN_IF_ERROR(LintKernelAlone(check, kernel, check.findings));
  // What the translator refuses is said already.
  const Bool isTranslated = isLinted && !check.targets.front().translation.parser->GetKernelCode().IsEmpty();
  if (!isTranslated && !options.targets.empty()) {
    check.cpuSource.reset();
    check.mistakes.clear();
  }
  return check;
}

Findings CollectFindings(const FileCheck& check, const CheckOptions& options) {
  const Bool isOfCpu = IsRefusedByCpuAlone(check);
  Findings said, mistakes, ofFile, findings;
  if (!check.mistakes.empty() && (options.isForCpu || !isOfCpu))
    said.AddMessage(check.mistakes + (isOfCpu ? " [CPU]" : ""), check.file);
  if (!isOfCpu) mistakes = said;
  for (const Finding& finding : check.findings.GetAll())
    if (finding.severity == Severity::Error && !IsOnLineOf(mistakes, finding)) ofFile.Add(finding);
  const auto add = [&](const Findings& others, const Findings& toldBy) {
    for (const Finding& finding : others.GetAll())
      if (!IsOnLineOf(mistakes, finding) && !IsOnLineOf(toldBy, finding)) findings.Add(finding);
  };
  // An error of the file itself and what the CPU alone says about the line are one mistake.
  if (isOfCpu)
    add(said, ofFile);
  else
    findings.AddAll(said);
  add(check.findings, {});
  add(check.cpuFindings, ofFile);
  for (const TargetCheck& target : check.targets) add(target.findings, {});
  return findings;
}

Result<void> CompileTarget(TargetCheck& check, const FileCheck& fileCheck, const MetalCompiler* metal) {
  const std::string& file = fileCheck.file;
  if (!check.assembled) return OK;
  // Mistakes may end glslang's HLSL front end, and the process with it. The other languages say whether they are
  // mistakes on GPUs.
  if (!fileCheck.mistakes.empty() && check.target == kTargetHlsl) {
    check.isRefused = fileCheck.targets.size() == 1;
    return OK;
  }
  std::vector<ShaderMessage> messages;
  if (check.target == kTargetMetal) {
    if (const auto error = shadercompiler::FindTextLimitError(check.assembled->text)) {
      OSTRA_ASSIGN_OR_RETURN(String text, String::Create(error->text));
      messages.push_back({true, error->line, std::move(text)});
    } else if (metal) {
      auto compiled = metal->Compile(check.assembled->text);
      if (compiled)
        messages = std::move(*compiled);
      else
        check.findings.AddMessage(TextOf(compiled.GetError().GetMessage()) + " [METAL]", file);
    }
  } else {
    OSTRA_ASSIGN_OR_RETURN(CompiledShader compiled,
                           CompileShader(check.target, check.records->stage, *check.assembled, {.isOptimized = false}));
    for (const ShaderMessage& message : compiled.messages) messages.push_back(message);
  }
  for (const ShaderMessage& message : messages) {
    OSTRA_ASSIGN_OR_RETURN(const String text, FormatShaderMessage(*check.assembled, message, file));
    const std::string marked = TextOf(text) + " [" + TextOf(check.target.GetView()) + "]";
    if (message.isError)
      AddMessage(check, marked, fileCheck);
    else
      check.findings.AddMessage(marked, file);
  }
  return OK;
}

}  // namespace ostra::tool

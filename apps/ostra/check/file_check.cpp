#include "apps/ostra/check/file_check.h"

#include <algorithm>

#include "ostra/core/format.h"
#include "ostra/shadercompiler/text_limits.h"
#include "parallelprogram/device/kernel_mistakes.h"
#include "parallelprogram/device/plain_source.h"
#include "parallelprogram/kernelfront/source_rules.h"
#include "parallelprogram/kernellanguage/diagnostic.h"
#include "parallelprogram/kernelruntime/opened_kernel.h"
#include "parallelprogram/kernelruntime/source_text.h"
#include "parallelprogram/shaderassembly/assembly_records.h"
#include "parallelprogram/shaderparser/kernel_words.h"
#include "plans/values/text.h"

namespace ostra::tool {

using namespace plans;

using namespace kernelruntime;

namespace {

TranslatedFile MakeTranslatedFile(const FileCheck& check, const CheckOptions& options) {
  const auto readHeader = [](const Url& header) {
    const auto source = ReadSourceText(header);
    return source ? std::optional(TextOf(source->text)) : std::nullopt;
  };
  return {check.file,
          check.source.GetView(),
          check.isStage,
          options.templateArgument.has_value(),
          check.plain ? &*check.plain : nullptr,
          readHeader};
}

// What the front end of the language has to say, which reads the file in another way than the translator.
Result<void> ReadWithFrontEnd(FileCheck& check, const Result<OpenedKernel>& opened, const CheckOptions& options) {
  auto source = opened ? opened->MakeSource() : Result<KernelSource>(opened.GetError());
  if (!source && source.GetError().GetKind() == kOutOfMemoryError) return source.TakeError();
  if (source && options.isForCpu && options.isExplained) {
    OSTRA_ASSIGN_OR_RETURN(check.lanes, opened->ExplainLanes());
    if (check.lanes.empty()) check.lanes = check.file + ": note: the kernel has a wide form";
  }
  if (!source)
    check.mistakes = source.GetError();
  else if (options.isForCpu)
    check.cpuSource.emplace(std::move(*source));
  return OK;
}

// A kernel without one that needs one is not translated: the rules for its lines are not what it breaks.
Result<void> FindPlainForm(FileCheck& check, const OpenedKernel& opened, const CheckOptions& options) {
  auto plain = opened.MakePlainSource();
  if (plain)
    check.plain = std::move(*plain);
  else if (plain.GetError().GetKind() == kOutOfMemoryError)
    return plain.TakeError();
  else if (!options.targets.empty())
    check.findings.AddError(plain.GetError(), check.file);
  return OK;
}

// What breaks a rule about lines that the CPU's front end and GPU programs refuse as well. The first message says why
// the rules hold. True when there is nothing.
Result<Bool> KeepsRules(const SourceText& source, const std::string& file, const FileCheck& check,
                        const CheckOptions& options, Findings& findings) {
  const kernellanguage::SourceText text{file, source.text.GetView(), source.isEncoded};
  const auto mistakes = file == check.file ? FindSourceMistakes(text.text) : FindHeaderMistakes(text.text);
  for (const SourceMistake& mistake : mistakes) {
    SourceMessage message = kernellanguage::MakeSourceMessage(text, mistake.position, mistake.text);
    if (!check.isStage && mistake.isLineRule && &mistake == &mistakes.front()) {
      OSTRA_ASSIGN_OR_RETURN(const Url url, Url::Create(check.file));
      OSTRA_ASSIGN_OR_RETURN(auto note, ExplainLineRules(url, options.templateArgument.value_or("")));
      if (note) message.notes.push_back(std::move(*note));
    }
    findings.AddMessage(message);
  }
  return mistakes.empty();
}

// The same for the headers that the translator has read.
Result<Bool> HeadersKeepRules(const FileCheck& check, const CheckOptions& options, const ShaderParser& parser,
                              Findings& findings) {
  Bool keepsRules = true;
  for (const Url& url : parser.GetFiles()) {
    if (url.GetView() == check.file) continue;
    const auto source = ReadSourceText(url);
    if (!source) continue;
    OSTRA_ASSIGN_OR_RETURN(const Bool isKept, KeepsRules(*source, TextOf(url.GetView()), check, options, findings));
    keepsRules &= isKept;
  }
  return keepsRules;
}

// Patterns such as blur.* take pictures and headers, too.
Bool IsKernelOrStage(const Url& url, std::string_view text) {
  if (GetStageOfFile(url) != DrawportStage::Compute || url.GetSuffix() == "krn") return true;
  const std::vector<SourceLine> lines = SplitSource(text);
  return std::any_of(lines.begin(), lines.end(),
                     [](const SourceLine& line) { return IsKernelStart(line.text) || IsKernelMethod(line.text); });
}

// What does not come out of the front end in other words.
void AddError(TargetCheck& check, const Error& error, const FileCheck& file) {
  if (!file.mistakes)
    check.findings.AddError(error, file.file);
  else
    check.isRefused = true;
}

Result<void> Assemble(TargetCheck& check, const Url& url, const FileCheck& fileCheck) {
  const std::string& file = fileCheck.file;
  const DrawportStage stage = GetStageOfFile(url);
  OSTRA_ASSIGN_OR_RETURN(const Bool canBe, CanBeAssembled(file, *check.translation.parser, stage, check.findings));
  if (!canBe) return OK;
  auto records = MakeShaderRecords(*check.translation.parser, stage);
  if (!records) {
    if (records.GetError().GetKind() == kOutOfMemoryError) return records.TakeError();
    AddError(check, records.GetError(), fileCheck);
    return OK;
  }
  LintRecords(*records, file, check.findings);
  auto assembled = AssembleShader(*records);
  if (!assembled) {
    if (assembled.GetError().GetKind() == kOutOfMemoryError) return assembled.TakeError();
    AddError(check, assembled.GetError(), fileCheck);
    return OK;
  }
  check.records.emplace(std::move(*records));
  check.assembled.emplace(std::move(*assembled));
  return OK;
}

Result<void> AddTarget(FileCheck& check, const CheckOptions& options, const Id& target, const Url& url,
                       Bool& isLinted) {
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
  if (!check.plain) {
    OSTRA_ASSIGN_OR_RETURN(const Bool keepsRules,
                           HeadersKeepRules(check, options, *added.translation.parser, check.findings));
    if (!keepsRules) return OK;
  }
  if (!added.translation.result) {
    if (added.translation.result.GetError().GetKind() == kOutOfMemoryError) return added.translation.result.TakeError();
    added.findings.AddError(added.translation.parser->PlaceError(added.translation.result.GetError()), check.file);
    return OK;
  }
  if (!std::exchange(isLinted, true)) {
    OSTRA_RETURN_IF_ERROR(LintFile(MakeTranslatedFile(check, options), *added.translation.parser, check.findings));
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
    check.findings.AddError(source.GetError(), file);
    return check;
  }
  check.source = source->text;
  const Bool isStage = check.isStage = GetStageOfFile(url) != DrawportStage::Compute;
  if (!IsKernelOrStage(url, source->text.GetView())) {
    check.findings.Add({file, 0, Severity::Error, "this is neither a kernel file nor a stage file"});
    return check;
  }
  std::optional<Result<OpenedKernel>> opened;
  if (!isStage) opened.emplace(OpenedKernel::Open({url, options.templateArgument.value_or("")}));
  if (opened && *opened) OSTRA_RETURN_IF_ERROR(FindPlainForm(check, **opened, options));
  if (!check.findings.GetAll().empty()) return check;
  // Nothing else that could be said of such a file is certain.
  if (!check.plain) {
    OSTRA_ASSIGN_OR_RETURN(const Bool keepsRules, KeepsRules(*source, file, check, options, check.findings));
    if (!keepsRules) return check;
  }
  if (opened) OSTRA_RETURN_IF_ERROR(ReadWithFrontEnd(check, *opened, options));
  Bool isLinted = false;
  for (const Id& target : options.targets) OSTRA_RETURN_IF_ERROR(AddTarget(check, options, target, url, isLinted));
  if (!isLinted) OSTRA_RETURN_IF_ERROR(LintUntranslated(MakeTranslatedFile(check, options), check.findings));
  // What the translator refuses is said already.
  const Bool isTranslated = isLinted && !check.targets.front().translation.parser->GetKernelCode().IsEmpty();
  if (!isTranslated && !options.targets.empty()) {
    check.cpuSource.reset();
    check.mistakes.reset();
  }
  return check;
}

Findings CollectFindings(const FileCheck& check, const CheckOptions& options) {
  const Bool isOfCpu = IsRefusedByCpuAlone(check);
  Findings said, mistakes, ofFile, findings;
  if (check.mistakes && (options.isForCpu || !isOfCpu))
    said.AddError(*check.mistakes, check.file, isOfCpu ? " [CPU]" : "");
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
  if (fileCheck.mistakes && check.target == kTargetHlsl) {
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
        check.findings.AddError(compiled.GetError(), file, " [METAL]");
    }
  } else {
    OSTRA_ASSIGN_OR_RETURN(CompiledShader compiled,
                           CompileShader(check.target, check.records->stage, *check.assembled, {.isOptimized = false}));
    for (const ShaderMessage& message : compiled.messages) messages.push_back(message);
  }
  for (const ShaderMessage& message : messages) {
    OSTRA_ASSIGN_OR_RETURN(const SourceMessage placed, PlaceShaderMessage(*check.assembled, message, file));
    // An error that the front end has other words for is not told again.
    if (message.isError && fileCheck.mistakes)
      check.isRefused = true;
    else
      check.findings.AddMessage(placed, " [" + TextOf(check.target.GetView()) + "]");
  }
  return OK;
}

}  // namespace ostra::tool

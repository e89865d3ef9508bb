#include "parallelprogram/kernelfront/kernel_source.h"

#include <algorithm>
#include <map>
#include <utility>

#include "ostra/core/catch_out_of_memory.h"
#include "ostra/core/source_message.h"
#include "parallelprogram/kernelfront/client_header.h"
#include "parallelprogram/kernelfront/failure.h"
#include "parallelprogram/kernelfront/kernel_file.h"
#include "parallelprogram/kernelfront/lane_forms.h"
#include "parallelprogram/kernelfront/plain_kernel.h"
#include "parallelprogram/kernelfront/struct_types.h"
#include "parallelprogram/kernellanguage/literal.h"

OSTRA_UNIT("kernelfront");

namespace ostra {
namespace {

using kernelfront::Join;

// Runs a step; its exceptions become errors.
template <class Step>
auto CatchFailures(Step&& step) -> decltype(step()) {
  try {
    return CatchOutOfMemory(kOstraUnit, __LINE__, step);
  } catch (const kernelfront::Failure& failure) {
    return MakeSourceError(failure.messages, kOstraUnit, __LINE__);
  }
}

// A text about a table of kernels; `make` gives it.
template <class Make>
Result<String> MakeTableText(std::string_view table, Make&& make) {
  return CatchFailures([&]() -> Result<String> {
    const Bool isIdentifier =
        !table.empty() && kernelfront::MakeIdentifier(table) == table && !(table[0] >= '0' && table[0] <= '9');
    if (!isIdentifier) return OSTRA_ILLEGAL_ARGUMENT("The name \"@\" of a kernel table is no C++ identifier.", table);
    return String::Create(make());
  });
}

// Asks for every header once, however often it is included and by whom.
class KnownHeaders {
 public:
  explicit KnownHeaders(const KernelSourceOptions& options) : _readHeader(options.readHeader) {}

  const std::optional<KernelHeader>& Read(const std::string& name, const std::string& includingFile) {
    auto [found, isNew] = _headers.try_emplace({name, includingFile});
    if (isNew && _readHeader) found->second = _readHeader(name, includingFile);
    return found->second;
  }

 private:
  const decltype(KernelSourceOptions::readHeader) _readHeader;
  std::map<std::pair<std::string, std::string>, std::optional<KernelHeader>> _headers;
};

// What no C++ compiler takes is told before one runs, in the words of kernel files.
void CheckErrors(const kernellanguage::AnalyzedKernel& kernel) {
  if (!kernel.errors.empty())
    throw kernelfront::Failure{kernellanguage::MakeSourceMessages(kernel.sources, kernel.errors), false};
}

[[noreturn]] void FailForRefusal(const kernellanguage::SourceMap& sources,
                                 const kernellanguage::NotUnderstood& refusal);

// Checks and traces are written by the front end.
[[noreturn]] void FailForLanguage(const kernellanguage::AnalyzedKernel& kernel, Bool isTraced) {
  FailForRefusal(kernel.sources,
                 {kernel.notUnderstood->offset,
                  Join({kernel.notUnderstood->reason, " is not of the kernel language, and only kernels of it are ",
                        isTraced ? "traced" : "checked here"})});
}

std::optional<Int> CountNoiseCalls(const kernellanguage::AnalyzedKernel& kernel) {
  const kernellanguage::SyntaxTree& tree = kernel.tree;
  Int count = 0;
  for (kernellanguage::NodeIndex node = 0; node < tree.nodes.size(); ++node) {
    if (kernel.resolved.meaning[node].word != kernellanguage::WordId::kRenderNoise) continue;
    const kernellanguage::NodeIndex number = tree.GetChild(node, 0);
    kernellanguage::LiteralValue value;
    const Bool isPlain = tree.Is(number, kernellanguage::NodeKind::kLiteral) &&
                         kernellanguage::ParseLiteral(tree.GetName(number), value) &&
                         value.scalar == kernellanguage::Scalar::kInt32;
    if (!isPlain) return std::nullopt;
    count = std::max(count, static_cast<Int>(value.integer) + 1);
  }
  return count;
}

// A kernel whose invocations exchange values runs a group at a time.
std::string PrintGroups(const kernelfront::KernelFile& file, const kernellanguage::AnalyzedKernel& kernel,
                        Bool isScalar) {
  const auto code = kernelfront::PrintGroupCode(file, kernel);
  if (!code.refusal) return file.PrintGroups(code.text, isScalar ? "" : kernelfront::MakeGroupForms(file, code));
  kernelfront::Fail(kernel.sources,
                    {.offset = code.refusal->offset,
                     .text = Join({code.refusal->reason, ", in a kernel whose invocations exchange values"})});
}

// Why a kernel that needs its plain form has none.
[[noreturn]] void FailForRefusal(const kernellanguage::SourceMap& sources,
                                 const kernellanguage::NotUnderstood& refusal) {
  kernelfront::Fail(sources, {.offset = refusal.offset, .text = refusal.reason});
}

// Why the rules for lines hold for the kernel.
std::optional<SourceMessage> MakeLineRuleNote(const kernellanguage::AnalyzedKernel& kernel) {
  if (kernel.IsUnderstood()) return std::nullopt;
  kernellanguage::Diagnostic note{.severity = SourceSeverity::kNote};
  if (!kernel.errors.empty()) {
    note.offset = kernel.errors.front().offset;
    note.text = Join({"the rules for lines hold because of this mistake: ", kernel.errors.front().text});
  } else {
    note.offset = kernel.notUnderstood->offset;
    note.text = Join({"the rules for lines hold because this is not understood: ", kernel.notUnderstood->reason});
  }
  return kernellanguage::MakeSourceMessage(kernel.sources, note);
}

// A kernel file on its way to C++: itself, or its plain form.
struct KernelRead {
  kernelfront::KernelFile& file;
  const kernellanguage::AnalyzedKernel& kernel;
  // Of the plain form; null otherwise.
  const kernellanguage::SourceText* plain = nullptr;
  const kernellanguage::TextOrigin* origin = nullptr;
  std::string_view reportTable = {};
};

// The kernel again, from its plain form. Ends in a Failure for what has none.
template <class Use>
auto ReadPlainKernel(const KernelSourceOptions& options,
                     const std::shared_ptr<const kernellanguage::AnalyzedKernel>& kernel, Use&& use)
    -> decltype(use(std::declval<const KernelRead&>())) {
  kernellanguage::PlainForm form = kernellanguage::PrintPlainForm(
      *kernel, {.hasReports = !options.isSilent, .hasChecks = options.isChecked, .isTraced = options.isTraced});
  if (form.refusal) FailForRefusal(kernel->sources, *form.refusal);
  auto origin = std::make_shared<kernellanguage::TextOrigin>();
  origin->sources = std::shared_ptr<const kernellanguage::SourceMap>(kernel, &kernel->sources);
  origin->marks = std::move(form.marks);
  const std::string name = Join({"the plain form of ", options.fileName});
  KernelSourceOptions plainOptions = options;
  plainOptions.fileName = name;
  plainOptions.templateArgument = {};
  plainOptions.readHeader = {};
  kernelfront::KernelFile file(plainOptions, form.text);
  file.Read();
  kernellanguage::Source source{.fileName = name, .text = form.text, .isHidden = options.isHidden};
  source.origin = origin;
  OSTRA_ASSIGN_OR_RETURN(const kernellanguage::AnalyzedKernel plain, kernellanguage::AnalyzeKernel(source));
  CheckErrors(plain);
  const kernellanguage::SourceText text{name, form.text, options.isHidden};
  return use(KernelRead{file, plain, &text, origin.get(), form.reportTable});
}

}  // namespace

struct KernelReading::State {
  State(const KernelSourceOptions& theOptions, std::string_view theText)
      : fileName(theOptions.fileName),
        classId(theOptions.classId),
        templateArgument(theOptions.templateArgument),
        text(theText),
        options(theOptions),
        headers(theOptions) {
    options.fileName = fileName;
    options.classId = classId;
    options.templateArgument = templateArgument;
    if (!options.readHeader) return;
    options.readHeader = [this](const std::string& name, const std::string& includingFile) {
      return headers.Read(name, includingFile);
    };
  }
  State(const State&) = delete;

  Result<void> Analyze() {
    kernellanguage::Source source{
        .fileName = fileName, .text = text, .templateArgument = templateArgument, .isHidden = options.isHidden};
    source.readHeader = [this](const std::string& name, const std::string& includingFile) {
      const auto& header = headers.Read(name, includingFile);
      return header ? std::optional(kernellanguage::Header{header->path, header->text, header->isHidden})
                    : std::nullopt;
    };
    OSTRA_ASSIGN_OR_RETURN(kernellanguage::AnalyzedKernel analyzed, kernellanguage::AnalyzeKernel(source));
    kernel = std::make_shared<const kernellanguage::AnalyzedKernel>(std::move(analyzed));
    return OK;
  }

  const std::string fileName, classId, templateArgument, text;
  KernelSourceOptions options;  // with the texts above
  KnownHeaders headers;
  std::shared_ptr<const kernellanguage::AnalyzedKernel> kernel;
};

Result<KernelReading> KernelReading::Create(const KernelSourceOptions& options, std::string_view text) {
  return CatchFailures([&]() -> Result<KernelReading> {
    auto state = std::make_shared<State>(options, text);
    OSTRA_RETURN_IF_ERROR(state->Analyze());
    return KernelReading(std::move(state), {options.isSilent, options.isChecked, options.isTraced});
  });
}

KernelReading KernelReading::WithReports(const KernelReportSwitches& switches) const {
  KernelReading other = *this;
  other._switches = switches;
  return other;
}

KernelSourceOptions KernelReading::GetOptions() const {
  KernelSourceOptions options = _state->options;
  options.isSilent = _switches.isSilent;
  options.isChecked = _switches.isChecked;
  options.isTraced = _switches.isTraced;
  return options;
}

// `use` gets the file and its analysis, or those of its plain form, and gives the result. Ends in a Failure.
template <class Use>
auto KernelReading::Read(Use&& use) const {
  using Made = decltype(use(std::declval<const KernelRead&>()));
  const kernellanguage::AnalyzedKernel& kernel = *_state->kernel;
  kernelfront::KernelFile file(_state->options, _state->text);
  try {
    file.Read();
  } catch (kernelfront::Failure& failure) {
    // Lines that mean nothing to this reader may well do to the language.
    if (kernel.IsUnderstood()) return Made(ReadPlainKernel(GetOptions(), _state->kernel, use));
    if (failure.isLineRule) failure.messages.front().notes.push_back(*MakeLineRuleNote(kernel));
    throw;
  }
  CheckErrors(kernel);
  if (_switches.isTraced && kernel.notUnderstood) FailForLanguage(kernel, true);
  const Bool isPlain =
      kernel.resolved.firstUnprintable == kernellanguage::kNoNode && !_switches.isChecked && !_switches.isTraced;
  if (kernel.IsUnderstood() && !isPlain) return Made(ReadPlainKernel(GetOptions(), _state->kernel, use));
  return Made(use(KernelRead{file, kernel}));
}

// The same; `print` makes a text.
template <class Printer>
Result<String> KernelReading::Print(Printer&& print) const {
  return CatchFailures(
      [&] { return Read([&print](const KernelRead& read) -> Result<String> { return String::Create(print(read)); }); });
}

Result<String> KernelReading::GenerateSource() const {
  return Print([this](const KernelRead& read) {
    read.file.SetStructTypes(kernelfront::MakeStructTypes(read.file, read.kernel));
    read.file.SetReportTable(read.reportTable);
    const Bool hasGroups = read.kernel.IsUnderstood() && read.kernel.groups.isNeeded;
    // What reports is not about speed.
    const Bool isScalar = _state->options.isScalar || !read.reportTable.empty();
    const std::string printed =
        hasGroups ? PrintGroups(read.file, read.kernel, isScalar)
                  : read.file.Print(isScalar ? "" : kernelfront::MakeLaneForms(read.file, read.kernel));
    return read.plain ? kernelfront::MapLines(printed, *read.plain, *read.origin) : printed;
  });
}

Result<void> KernelReading::CheckLanguage() const {
  return CatchFailures([&]() -> Result<void> {
    if (_state->kernel->notUnderstood) FailForLanguage(*_state->kernel, _switches.isTraced);
    return OK;
  });
}

// For what clients see of a kernel: its own parameters and structs.
constexpr KernelReportSwitches kWithoutReports = {.isSilent = true, .isChecked = false};

Result<String> KernelReading::GenerateStructHeader() const {
  return WithReports(kWithoutReports).Print([this](const KernelRead& read) {
    return kernelfront::MakeStructHeader(_state->classId, read.kernel);
  });
}

Result<String> KernelReading::GenerateClientHeader() const {
  return WithReports(kWithoutReports).Print([this](const KernelRead& read) {
    return kernelfront::MakeClientHeader(_state->options, read.file.GetKernelName(), _state->text, read.kernel);
  });
}

Result<std::vector<KernelParameterText>> KernelReading::ListParameters() const {
  return CatchFailures([&] {
    return WithReports(kWithoutReports).Read([](const KernelRead& read) -> Result<std::vector<KernelParameterText>> {
      std::vector<KernelParameterText> parameters;
      for (const kernelfront::Parameter& parameter : read.file.GetParameters())
        parameters.push_back({parameter.type, parameter.name});
      return parameters;
    });
  });
}

Result<void> KernelReading::FindMistakes() const {
  return CatchFailures([&]() -> Result<void> {
    try {
      return Read([](const KernelRead&) -> Result<void> { return OK; });
    } catch (const kernelfront::CpuFailure&) {
      return OK;
    }
  });
}

Result<std::optional<SourceMessage>> KernelReading::ExplainLineRules() const {
  return CatchFailures([&]() -> Result<std::optional<SourceMessage>> { return MakeLineRuleNote(*_state->kernel); });
}

Result<String> KernelReading::ExplainLanes() const {
  return Print([](const KernelRead& read) {
    return read.reportTable.empty() || read.kernel.groups.isNeeded
               ? kernelfront::ExplainLaneForms(read.file, read.kernel)
               : kernelfront::ExplainReports(read.kernel, read.reportTable);
  });
}

Result<std::optional<Int>> KernelReading::CountNoises() const {
  return CatchFailures([&]() -> Result<std::optional<Int>> {
    CheckErrors(*_state->kernel);
    return _state->kernel->IsUnderstood() ? CountNoiseCalls(*_state->kernel) : std::nullopt;
  });
}

Result<std::optional<PlainKernel>> KernelReading::MakePlainKernel() const {
  return CatchFailures([&]() -> Result<std::optional<PlainKernel>> {
    const kernellanguage::AnalyzedKernel& kernel = *_state->kernel;
    if (!kernel.IsUnderstood()) {
      const Bool isNeeded = _switches.isChecked || _switches.isTraced;
      if (!isNeeded || !kernel.notUnderstood) return std::nullopt;
      FailForLanguage(kernel, _switches.isTraced);
    }
    const Bool isPlain = !_switches.isChecked && !_switches.isTraced && kernel.resolved.extensions.empty() &&
                         kernelfront::KeepsLineRules(_state->options, _state->text);
    if (isPlain && !kernellanguage::IsOpenOnGpus(kernel)) return std::nullopt;
    kernellanguage::PlainForm form = kernellanguage::PrintPlainForm(kernel, {.isForGpu = true,
                                                                             .hasReports = !_switches.isSilent,
                                                                             .hasChecks = _switches.isChecked,
                                                                             .isTraced = _switches.isTraced});
    if (form.refusal && isPlain) return std::nullopt;
    if (form.refusal) FailForRefusal(kernel.sources, *form.refusal);
    return kernelfront::SplitPlainForm(std::move(form), kernel.sources);
  });
}

namespace {

// What one function of a reading gives.
template <class Made>
Made ReadFor(const KernelSourceOptions& options, std::string_view text, Made (KernelReading::*make)() const) {
  OSTRA_ASSIGN_OR_RETURN(const KernelReading kernel, KernelReading::Create(options, text));
  return (kernel.*make)();
}

}  // namespace

Result<String> GenerateKernelSource(const KernelSourceOptions& options, std::string_view text) {
  return ReadFor(options, text, &KernelReading::GenerateSource);
}

Result<String> GenerateStructHeader(const KernelSourceOptions& options, std::string_view text) {
  return ReadFor(options, text, &KernelReading::GenerateStructHeader);
}

Result<String> GenerateClientHeader(const KernelSourceOptions& options, std::string_view text) {
  return ReadFor(options, text, &KernelReading::GenerateClientHeader);
}

Result<std::vector<KernelParameterText>> ListKernelParameters(const KernelSourceOptions& options,
                                                              std::string_view text) {
  return ReadFor(options, text, &KernelReading::ListParameters);
}

Result<void> FindKernelMistakes(const KernelSourceOptions& options, std::string_view text) {
  return ReadFor(options, text, &KernelReading::FindMistakes);
}

Result<std::optional<SourceMessage>> ExplainLineRules(const KernelSourceOptions& options, std::string_view text) {
  return ReadFor(options, text, &KernelReading::ExplainLineRules);
}

Result<String> ExplainKernelLanes(const KernelSourceOptions& options, std::string_view text) {
  return ReadFor(options, text, &KernelReading::ExplainLanes);
}

Result<std::optional<Int>> CountKernelNoises(const KernelSourceOptions& options, std::string_view text) {
  return ReadFor(options, text, &KernelReading::CountNoises);
}

Result<std::optional<PlainKernel>> MakePlainKernel(const KernelSourceOptions& options, std::string_view text) {
  return ReadFor(options, text, &KernelReading::MakePlainKernel);
}

Result<String> GenerateKernelTable(std::string_view name, const std::vector<std::string>& classIds) {
  return MakeTableText(name, [&] {
    std::string declarations, entries;
    for (const std::string& id : classIds) {
      const std::string create = Join({"Create_", kernelfront::MakeIdentifier(id)});
      declarations += Join({"Result<ClassRef> ", create, "();\n"});
      entries += Join({"    {", kernelfront::Quote(id), ", &", create, "},\n"});
    }
    return Join({"#include \"", name, "_kernels.h\"\n\nnamespace ostra::kernelclasses {\n", declarations,
                 "static constexpr Entry kEntries[] = {\n", entries, "};\n}  // namespace ostra::kernelclasses\n\n",
                 "ostra::KernelTable GetKernels_", name, "() { return ostra::kernelclasses::kEntries; }\n"});
  });
}

Result<String> GenerateKernelTableHeader(std::string_view name) {
  return MakeTableText(name, [&] {
    return Join({"#pragma once\n\n#include \"parallelprogram/program/kernel_registration.h\"\n\n",
                 "// The kernel classes that are linked with ", name, ".\n", "ostra::KernelTable GetKernels_", name,
                 "();\n"});
  });
}

}  // namespace ostra

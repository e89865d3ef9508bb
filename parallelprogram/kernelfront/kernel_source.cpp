#include "parallelprogram/kernelfront/kernel_source.h"

#include <algorithm>
#include <map>
#include <new>
#include <utility>

#include "parallelprogram/kernelfront/client_header.h"
#include "parallelprogram/kernelfront/failure.h"
#include "parallelprogram/kernelfront/kernel_file.h"
#include "parallelprogram/kernelfront/lane_forms.h"
#include "parallelprogram/kernelfront/plain_kernel.h"
#include "parallelprogram/kernelfront/struct_types.h"
#include "parallelprogram/kernellanguage/group_code.h"
#include "parallelprogram/kernellanguage/literal.h"

OSTRA_UNIT("kernelfront");

namespace ostra {
namespace {

using kernelfront::Join;

// Runs a step; its exceptions become errors.
template <class Step>
auto CatchFailures(Step&& step) -> decltype(step()) {
  try {
    return step();
  } catch (const kernelfront::Failure& failure) {
    return Error::Make(kIllegalArgumentError, failure.message, kOstraUnit, __LINE__);
  } catch (const std::bad_alloc&) {
    return OSTRA_OUT_OF_MEMORY();
  }
}

template <class Make>
Result<String> MakeText(Make&& make) {
  return CatchFailures([&make] { return String::Create(make()); });
}

void CheckIdentifier(std::string_view name) {
  const bool isIdentifier =
      !name.empty() && kernelfront::MakeIdentifier(name) == name && !(name[0] >= '0' && name[0] <= '9');
  if (!isIdentifier)
    throw kernelfront::Failure{Join({"The name \"", name, "\" of a kernel table is no C++ identifier."})};
}

// Asks for every header once, however often it is included and by whom.
class KnownHeaders {
 public:
  explicit KnownHeaders(const KernelSourceOptions& options) : _options(options) {}

  const std::optional<KernelHeader>& Read(const std::string& name, const std::string& includingFile) {
    auto [found, isNew] = _headers.try_emplace({name, includingFile});
    if (isNew && _options.readHeader) found->second = _options.readHeader(name, includingFile);
    return found->second;
  }

 private:
  const KernelSourceOptions& _options;
  std::map<std::pair<std::string, std::string>, std::optional<KernelHeader>> _headers;
};

kernellanguage::Source MakeSource(const KernelSourceOptions& options, std::string_view text, KnownHeaders& headers) {
  kernellanguage::Source source{.fileName = options.fileName,
                                .text = text,
                                .templateArgument = options.templateArgument,
                                .isHidden = options.isHidden};
  source.readHeader = [&headers](const std::string& name, const std::string& includingFile) {
    const auto& header = headers.Read(name, includingFile);
    return header ? std::optional(kernellanguage::Header{header->path, header->text, header->isHidden}) : std::nullopt;
  };
  return source;
}

// What no C++ compiler takes is told before one runs, in the words of kernel files.
Result<kernellanguage::AnalyzedKernel> Analyze(const kernellanguage::Source& source) {
  OSTRA_ASSIGN_OR_RETURN(kernellanguage::AnalyzedKernel kernel, kernellanguage::AnalyzeKernel(source));
  if (kernel.errors.empty()) return kernel;
  const std::string message = kernellanguage::FormatDiagnostics(kernel.sources, kernel.errors);
  return Error::Make(kIllegalArgumentError, message, kOstraUnit, __LINE__);
}

constexpr std::string_view kNeedsTheLanguage =
    " is not of the kernel language, and only kernels of it are checked here";

std::optional<Int> CountNoises(const kernellanguage::AnalyzedKernel& kernel) {
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
std::string PrintGroups(const kernelfront::KernelFile& file, const kernellanguage::AnalyzedKernel& kernel) {
  const auto code = kernellanguage::PrintGroupCode(
      kernel, {.className = file.GetKernelName(), .parameters = file.MakeParametersName()});
  if (!code.refusal) return file.PrintGroups(code.text);
  throw kernelfront::Failure{Join({kernellanguage::FormatNotUnderstood(kernel.sources, *code.refusal),
                                   ", in a kernel whose invocations exchange values"})};
}

// Why a kernel that needs its plain form has none.
std::string FormatRefusal(const kernellanguage::SourceMap& sources, const kernellanguage::NotUnderstood& refusal) {
  return kernellanguage::FormatDiagnostic(sources, {.offset = refusal.offset, .text = refusal.reason});
}

// A kernel file on its way to C++: itself, or its plain form.
struct KernelRead {
  kernelfront::KernelFile& file;
  kernellanguage::AnalyzedKernel& kernel;
  // Of the plain form; null otherwise.
  const kernellanguage::SourceText* plain = nullptr;
  const kernellanguage::TextOrigin* origin = nullptr;
  std::string_view reportTable = {};
};

// The kernel again, from its plain form. Ends in a Failure for what has none.
template <class Use>
auto ReadPlainKernel(const KernelSourceOptions& options, kernellanguage::AnalyzedKernel kernel, Use&& use)
    -> decltype(use(std::declval<const KernelRead&>())) {
  kernellanguage::PlainForm form =
      kernellanguage::PrintPlainForm(kernel, {.hasReports = !options.isSilent, .hasChecks = options.isChecked});
  if (form.refusal) throw kernelfront::Failure{FormatRefusal(kernel.sources, *form.refusal)};
  auto origin = std::make_shared<kernellanguage::TextOrigin>();
  origin->sources = std::make_shared<kernellanguage::SourceMap>(std::move(kernel.sources));
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
  OSTRA_ASSIGN_OR_RETURN(kernellanguage::AnalyzedKernel plain, Analyze(source));
  const kernellanguage::SourceText text{name, form.text, options.isHidden};
  return use(KernelRead{file, plain, &text, origin.get(), form.reportTable});
}

// Reads and analyzes a kernel file; `use` gets both and gives the result. Ends in a Failure.
template <class Use>
auto ReadKernel(const KernelSourceOptions& options, std::string_view text, Use&& use)
    -> decltype(use(std::declval<const KernelRead&>())) {
  KnownHeaders headers(options);
  KernelSourceOptions remembering = options;
  if (options.readHeader) {
    remembering.readHeader = [&headers](const std::string& name, const std::string& includingFile) {
      return headers.Read(name, includingFile);
    };
  }
  const kernellanguage::Source source = MakeSource(options, text, headers);
  kernelfront::KernelFile file(remembering, text);
  try {
    file.Read();
  } catch (const kernelfront::Failure&) {
    // Lines that mean nothing to this reader may well do to the language.
    auto kernel = kernellanguage::AnalyzeKernel(source);
    if (!kernel || !kernel->IsUnderstood()) throw;
    return ReadPlainKernel(options, std::move(*kernel), use);
  }
  OSTRA_ASSIGN_OR_RETURN(kernellanguage::AnalyzedKernel kernel, Analyze(source));
  if (kernel.IsUnderstood() && options.isChecked) return ReadPlainKernel(options, std::move(kernel), use);
  if (kernel.IsUnderstood() && kernel.resolved.firstUnprintable != kernellanguage::kNoNode)
    return ReadPlainKernel(options, std::move(kernel), use);
  return use(KernelRead{file, kernel});
}

// The same; `print` makes a text.
template <class Print>
Result<String> ReadAndPrint(const KernelSourceOptions& options, std::string_view text, Print&& print) {
  return CatchFailures([&] {
    return ReadKernel(options, text,
                      [&print](const KernelRead& read) -> Result<String> { return String::Create(print(read)); });
  });
}

// For what clients see of a kernel: its own parameters and structs.
KernelSourceOptions WithoutReports(KernelSourceOptions options) {
  options.isSilent = true;
  options.isChecked = false;
  return options;
}

}  // namespace

Result<String> GenerateKernelSource(const KernelSourceOptions& options, std::string_view text) {
  return ReadAndPrint(options, text, [&options](const KernelRead& read) {
    read.file.SetStructTypes(kernelfront::MakeStructTypes(read.file, read.kernel));
    read.file.SetReportTable(read.reportTable);
    const Bool hasGroups = read.kernel.IsUnderstood() && read.kernel.groups.isNeeded;
    // What reports is not about speed.
    const Bool isScalar = options.isScalar || !read.reportTable.empty();
    const std::string printed =
        hasGroups ? PrintGroups(read.file, read.kernel)
                  : read.file.Print(isScalar ? "" : kernelfront::MakeLaneForms(read.file, read.kernel));
    return read.plain ? kernelfront::MapLines(printed, *read.plain, *read.origin) : printed;
  });
}

Result<String> GenerateStructHeader(const KernelSourceOptions& options, std::string_view text) {
  return ReadAndPrint(WithoutReports(options), text, [&options](const KernelRead& read) {
    return kernelfront::MakeStructHeader(options.classId, read.kernel);
  });
}

Result<String> GenerateClientHeader(const KernelSourceOptions& options, std::string_view text) {
  return ReadAndPrint(WithoutReports(options), text, [&](const KernelRead& read) {
    return kernelfront::MakeClientHeader(options, read.file.GetKernelName(), text, read.kernel);
  });
}

Result<std::vector<KernelParameterText>> ListKernelParameters(const KernelSourceOptions& options,
                                                              std::string_view text) {
  return CatchFailures([&] {
    return ReadKernel(options, text, [](const KernelRead& read) -> Result<std::vector<KernelParameterText>> {
      std::vector<KernelParameterText> parameters;
      for (const kernelfront::Parameter& parameter : read.file.GetParameters())
        parameters.push_back({parameter.type, parameter.name});
      return parameters;
    });
  });
}

Result<void> FindKernelMistakes(const KernelSourceOptions& options, std::string_view text) {
  return CatchFailures([&]() -> Result<void> {
    try {
      return ReadKernel(options, text, [](const KernelRead&) -> Result<void> { return OK; });
    } catch (const kernelfront::CpuFailure&) {
      return OK;
    }
  });
}

Result<String> ExplainKernelLanes(const KernelSourceOptions& options, std::string_view text) {
  return ReadAndPrint(options, text, [](const KernelRead& read) {
    return read.reportTable.empty() || read.kernel.groups.isNeeded
               ? kernelfront::ExplainLaneForms(read.file, read.kernel)
               : kernelfront::ExplainReports(read.kernel, read.reportTable);
  });
}

Result<std::optional<Int>> CountKernelNoises(const KernelSourceOptions& options, std::string_view text) {
  try {
    KnownHeaders headers(options);
    OSTRA_ASSIGN_OR_RETURN(const kernellanguage::AnalyzedKernel kernel, Analyze(MakeSource(options, text, headers)));
    return kernel.IsUnderstood() ? CountNoises(kernel) : std::nullopt;
  } catch (const std::bad_alloc&) {
    return OSTRA_OUT_OF_MEMORY();
  }
}

Result<std::optional<PlainKernel>> MakePlainKernel(const KernelSourceOptions& options, std::string_view text) {
  return CatchFailures([&]() -> Result<std::optional<PlainKernel>> {
    KnownHeaders headers(options);
    OSTRA_ASSIGN_OR_RETURN(const kernellanguage::AnalyzedKernel kernel,
                           kernellanguage::AnalyzeKernel(MakeSource(options, text, headers)));
    if (!kernel.IsUnderstood()) {
      if (!options.isChecked || !kernel.notUnderstood) return std::nullopt;
      throw kernelfront::Failure{FormatRefusal(
          kernel.sources, {kernel.notUnderstood->offset, Join({kernel.notUnderstood->reason, kNeedsTheLanguage})})};
    }
    if (!options.isChecked && kernel.resolved.extensions.empty() && kernelfront::KeepsLineRules(options, text))
      return std::nullopt;
    kernellanguage::PlainForm form = kernellanguage::PrintPlainForm(
        kernel, {.isForGpu = true, .hasReports = !options.isSilent, .hasChecks = options.isChecked});
    if (form.refusal) throw kernelfront::Failure{FormatRefusal(kernel.sources, *form.refusal)};
    return kernelfront::SplitPlainForm(std::move(form), kernel.sources);
  });
}

Result<String> GenerateKernelTable(std::string_view name, const std::vector<std::string>& classIds) {
  return MakeText([&] {
    CheckIdentifier(name);
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
  return MakeText([&] {
    CheckIdentifier(name);
    return Join({"#pragma once\n\n#include \"parallelprogram/program/kernel_registration.h\"\n\n",
                 "// The kernel classes that are linked with ", name, ".\n", "ostra::KernelTable GetKernels_", name,
                 "();\n"});
  });
}

}  // namespace ostra

#include "parallelprogram/kernelfront/kernel_source.h"

#include <algorithm>
#include <map>
#include <new>
#include <utility>

#include "parallelprogram/kernelfront/failure.h"
#include "parallelprogram/kernelfront/kernel_file.h"
#include "parallelprogram/kernelfront/lane_forms.h"
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

// A kernel beyond the plain form goes to the C++ compiler as it stands: none of the forms that are printed knows it.
void LeaveExtensions(kernellanguage::AnalyzedKernel& kernel) {
  if (kernel.IsUnderstood()) kernel.notUnderstood = kernellanguage::FindUnprintable(kernel);
}

// What no C++ compiler takes is told before one runs, in the words of kernel files.
Result<kernellanguage::AnalyzedKernel> Analyze(const KernelSourceOptions& options, std::string_view text,
                                               KnownHeaders& headers) {
  kernellanguage::Source source{.fileName = options.fileName,
                                .text = text,
                                .templateArgument = options.templateArgument,
                                .isHidden = options.isHidden};
  source.readHeader = [&headers](const std::string& name, const std::string& includingFile) {
    const auto& header = headers.Read(name, includingFile);
    return header ? std::optional(kernellanguage::Header{header->path, header->text, header->isHidden}) : std::nullopt;
  };
  OSTRA_ASSIGN_OR_RETURN(kernellanguage::AnalyzedKernel kernel, kernellanguage::AnalyzeKernel(source));
  LeaveExtensions(kernel);
  if (kernel.errors.empty()) return kernel;
  const std::string message = kernellanguage::FormatDiagnostics(kernel.sources, kernel.errors);
  return Error::Make(kIllegalArgumentError, message, kOstraUnit, __LINE__);
}

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

// Reads and analyzes a kernel file; `use` gets both and gives the result. Ends in a Failure.
template <class Use>
auto ReadKernel(const KernelSourceOptions& options, std::string_view text, Use&& use) {
  KnownHeaders headers(options);
  KernelSourceOptions remembering = options;
  if (options.readHeader) {
    remembering.readHeader = [&headers](const std::string& name, const std::string& includingFile) {
      return headers.Read(name, includingFile);
    };
  }
  kernelfront::KernelFile file(remembering, text);
  file.Read();
  return use(file, Analyze(options, text, headers));
}

// The same; `print` makes a text.
template <class Print>
Result<String> ReadAndPrint(const KernelSourceOptions& options, std::string_view text, Print&& print) {
  return CatchFailures([&] {
    return ReadKernel(options, text, [&print](kernelfront::KernelFile& file, auto kernel) -> Result<String> {
      if (!kernel) return kernel.TakeError();
      return String::Create(print(file, *kernel));
    });
  });
}

}  // namespace

Result<String> GenerateKernelSource(const KernelSourceOptions& options, std::string_view text) {
  return ReadAndPrint(options, text, [&options](kernelfront::KernelFile& file, const auto& kernel) {
    file.SetStructTypes(kernelfront::MakeStructTypes(file, kernel));
    if (kernel.IsUnderstood() && kernel.groups.isNeeded) return PrintGroups(file, kernel);
    return file.Print(options.isScalar ? "" : kernelfront::MakeLaneForms(file, kernel));
  });
}

Result<String> GenerateStructHeader(const KernelSourceOptions& options, std::string_view text) {
  return ReadAndPrint(options, text, [&options](kernelfront::KernelFile&, const auto& kernel) {
    return kernelfront::MakeStructHeader(options.classId, kernel);
  });
}

Result<void> FindKernelMistakes(const KernelSourceOptions& options, std::string_view text) {
  return CatchFailures([&]() -> Result<void> {
    try {
      return ReadKernel(options, text, [](kernelfront::KernelFile&, auto kernel) -> Result<void> {
        if (!kernel) return kernel.TakeError();
        return OK;
      });
    } catch (const kernelfront::CpuFailure&) {
      return OK;
    }
  });
}

Result<String> ExplainKernelLanes(const KernelSourceOptions& options, std::string_view text) {
  return ReadAndPrint(options, text, [](kernelfront::KernelFile& file, const auto& kernel) {
    return kernelfront::ExplainLaneForms(file, kernel);
  });
}

Result<std::optional<Int>> CountKernelNoises(const KernelSourceOptions& options, std::string_view text) {
  try {
    KnownHeaders headers(options);
    OSTRA_ASSIGN_OR_RETURN(const kernellanguage::AnalyzedKernel kernel, Analyze(options, text, headers));
    return kernel.IsUnderstood() ? CountNoises(kernel) : std::nullopt;
  } catch (const std::bad_alloc&) {
    return OSTRA_OUT_OF_MEMORY();
  }
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

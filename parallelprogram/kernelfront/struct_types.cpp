#include "parallelprogram/kernelfront/struct_types.h"

#include <cstdio>
#include <set>

#include "ostra/core/hash.h"
#include "parallelprogram/kernelfront/failure.h"
#include "parallelprogram/kernellanguage/cpp_text.h"
#include "parallelprogram/kernellanguage/types.h"

namespace ostra::kernelfront {
namespace {

using kernellanguage::StructLayout;
using kernellanguage::StructMember;

// The word that a buffer is declared with, when it may be the name of a struct: one that is no type of the language.
std::string_view FindStructName(std::string_view type) {
  const std::size_t open = type.find('<'), close = type.find_first_of("<>", open + 1);
  if (open == std::string_view::npos || close == std::string_view::npos || type[close] != '>') return {};
  const std::string_view container = type.substr(0, open), element = type.substr(open + 1, close - open - 1);
  if (!container.ends_with("Block") && !container.ends_with("BaseArray")) return {};
  const bool isWord = element.find_first_of(" :*&") == std::string_view::npos;
  return isWord && kernellanguage::FindTypeWord(element) == kernellanguage::kUnknownType ? element : "";
}

std::string MakeOpaqueTypes(const std::vector<Parameter>& parameters) {
  std::set<std::string_view> names;
  for (const Parameter& parameter : parameters) names.insert(FindStructName(parameter.type));
  names.erase("");
  std::string text;
  for (const std::string_view name : names) text += Join({"OSTRA_OPAQUE_STRUCT(", name, ")\n"});
  return text;
}

std::string MakeMacro(const StructLayout& layout) {
  std::string text = Join({"OSTRA_STRUCT(", layout.name});
  for (const StructMember& member : layout.members) text += Join({", ", member.name});
  return text + ")\n";
}

// A struct of the header: its definition, and the namespace that is named after it.
struct PrintedStruct {
  std::string definition, space;
};

PrintedStruct PrintStruct(const StructLayout& layout, const std::vector<StructLayout>& all,
                          const std::vector<PrintedStruct>& printed) {
  PrintedStruct result;
  result.definition = Join({"struct ", layout.name, " {\n"});
  for (const StructMember& member : layout.members) {
    const bool isStruct = member.type.kind == kernellanguage::TypeKind::kStruct;
    const std::string type = isStruct ? Join({printed[member.structure].space, "::", all[member.structure].name})
                                      : kernellanguage::GetCppType(member.type);
    const std::string length = member.count == 0 ? std::string() : Join({"[", std::to_string(member.count), "]"});
    result.definition += Join({"  ", type, " ", member.name, length, ";\n"});
  }
  result.definition +=
      Join({"};\nstatic_assert(sizeof(", layout.name, ") == ", std::to_string(layout.size), ");\n", MakeMacro(layout)});
  char digits[17];
  std::snprintf(digits, sizeof(digits), "%016llx", static_cast<unsigned long long>(HashText(result.definition)));
  result.space = Join({"layout_", digits});
  return result;
}

}  // namespace

std::string MakeStructTypes(const KernelFile& file, const kernellanguage::AnalyzedKernel& kernel) {
  if (!kernel.IsUnderstood()) return MakeOpaqueTypes(file.GetParameters());
  std::string text;
  for (const StructLayout& layout : kernel.structs) text += MakeMacro(layout);
  return text;
}

std::string MakeStructHeader(std::string_view kernel, const kernellanguage::AnalyzedKernel& analyzed) {
  std::string text = Join({"// The structs in the buffers of ", kernel,
                           ", with the bytes that the kernel reads and writes.\n#pragma once\n\n"
                           "#include \"ostra/core/struct_type.h\"\n#include \"ostra/math/data_types.h\"\n"});
  if (!analyzed.IsUnderstood()) {
    const std::string reason =
        analyzed.notUnderstood ? kernellanguage::FormatNotUnderstood(analyzed.sources, *analyzed.notUnderstood) : "";
    return text + Join({"\n// None: ", reason.substr(0, reason.find('\n')), "\n"});
  }
  std::vector<PrintedStruct> printed;
  for (const StructLayout& layout : analyzed.structs) {
    printed.push_back(PrintStruct(layout, analyzed.structs, printed));
    const PrintedStruct& result = printed.back();
    const std::string guard = Join({"OSTRA_KERNEL_STRUCT_", layout.name, "_", result.space});
    text += Join({"\n#ifndef ", guard, "\n#define ", guard, "\nnamespace ostra::kernelstructs {\ninline namespace ",
                  result.space, " {\n", result.definition, "}\n}\n#endif\n"});
  }
  return text;
}

}  // namespace ostra::kernelfront

#include "parallelprogram/kernelfront/struct_types.h"

#include <set>

#include "parallelprogram/kernelfront/failure.h"
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

}  // namespace

std::string MakeStructTypes(const KernelFile& file, const kernellanguage::AnalyzedKernel& kernel) {
  if (!kernel.IsUnderstood()) return MakeOpaqueTypes(file.GetParameters());
  std::string text;
  for (const StructLayout& layout : kernel.structs) {
    text += Join({"OSTRA_STRUCT(", layout.name});
    for (const StructMember& member : layout.members) text += Join({", ", member.name});
    text += ")\n";
  }
  return text;
}

}  // namespace ostra::kernelfront

#include "parallelprogram/kernelfront/client_header.h"

#include "parallelprogram/kernelfront/failure.h"
#include "parallelprogram/kernelfront/kernel_file.h"
#include "parallelprogram/kernellanguage/cpp_text.h"

namespace ostra::kernelfront {
namespace {

using kernellanguage::AnalyzedKernel;
using kernellanguage::NodeIndex;
using kernellanguage::NodeKind;
using kernellanguage::Type;
using kernellanguage::TypeKind;

// The comment that the file begins with, its lines with "//" in front; empty without one.
std::string FindLeadingComment(std::string_view text) {
  std::string comment;
  while (text.starts_with("//")) {
    const std::string_view line = text.substr(0, text.find('\n'));
    comment += Join({line, "\n"});
    text.remove_prefix(std::min(line.size() + 1, text.size()));
  }
  if (!comment.empty() || !text.starts_with("/*")) return comment;
  std::string_view rest = text.substr(2, text.find("*/", 2) - 2);
  while (!rest.empty()) {
    std::string_view line = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    line.remove_prefix(std::min(line.find_first_not_of(" \t*"), line.size()));
    line = line.substr(0, line.find_last_not_of(" \t\r") + 1);
    if (!line.empty()) comment += Join({"// ", line, "\n"});
  }
  return comment;
}

// The C++ type of a value or an element; empty for types that clients cannot name.
std::string GetValueType(const AnalyzedKernel& kernel, const Type& type) {
  if (type.kind == TypeKind::kVector && type.scalar == kernellanguage::Scalar::kBool)
    return Join({"Vec", std::to_string(type.count), "<Int32>"});
  if (type.kind != TypeKind::kStruct) return kernellanguage::GetCppType(type);
  const std::string_view name = kernel.tree.GetName(type.declaration);
  for (const auto& layout : kernel.structs)
    if (layout.name == name) return Join({"kernelstructs::", name});
  return "";
}

// A parameter as a member of the struct; empty for a type that clients cannot give.
std::string MakeMember(const AnalyzedKernel& kernel, NodeIndex parameter) {
  const Type& type = kernel.resolved.types[kernel.resolved.type[parameter]];
  const std::string_view name = kernel.tree.GetName(parameter);
  if (type.kind == TypeKind::kTexture) return Join({"  client::TextureArgument ", name, ";\n"});
  if (type.kind == TypeKind::kCounter) return Join({"  client::CounterArgument ", name, ";\n"});
  if (type.kind == TypeKind::kBuffer) {
    const std::string element = GetValueType(kernel, kernel.resolved.types[type.element]);
    return element.empty() ? "" : Join({"  client::BufferArgument<", element, "> ", name, ";\n"});
  }
  const std::string value = GetValueType(kernel, type);
  return value.empty() || type.kind == TypeKind::kStruct ? "" : Join({"  ", value, " ", name, "{};\n"});
}

// The members of the struct, and the visits of them.
struct ClientMembers {
  std::string members, visits;
  std::string_view refused = {};  // the parameter that no client can give
};

ClientMembers MakeMembers(const AnalyzedKernel& kernel) {
  ClientMembers made;
  for (const NodeIndex parameter : kernel.tree.GetChildren(kernel.tree.parameters)) {
    if (!kernel.tree.Is(parameter, NodeKind::kParameter)) continue;
    const std::string_view name = kernel.tree.GetName(parameter);
    const std::string member = MakeMember(kernel, parameter);
    if (member.empty()) return {.members = {}, .visits = {}, .refused = name};
    made.members += member;
    made.visits += Join({"    OSTRA_RETURN_IF_ERROR(ostraVisit(", Quote(name), ", ", name, "));\n"});
  }
  return made;
}

// How GPU programs find the file: NAME_float_T_.krn is NAME.krn with float in place of TYPE.
std::string MakeGpuFile(const KernelSourceOptions& options) {
  std::string file(options.classId);
  if (options.templateArgument.empty()) return file;
  return file.insert(std::min(file.rfind('.'), file.size()), Join({"_", options.templateArgument, "_T_"}));
}

}  // namespace

std::string MakeClientHeader(const KernelSourceOptions& options, std::string_view name, std::string_view text,
                             const AnalyzedKernel& kernel) {
  const std::string head =
      Join({"// How clients call the kernel ", options.classId, ". Made from the kernel file.\n", "#pragma once\n\n"});
  if (!kernel.IsUnderstood() || kernel.tree.parameters == kernellanguage::kNoNode)
    return Join({head, "// No struct: the front end does not understand the kernel.\n"});
  const std::string create = Join({"Create_", MakeIdentifier(options.classId)});
  const ClientMembers made = MakeMembers(kernel);
  if (!made.refused.empty())
    return Join({head, "// No struct: the type of the parameter ", made.refused, " is none that clients give.\n"});
  std::string structHeader(options.classId);
  structHeader.resize(std::min(structHeader.rfind('.'), structHeader.size()));
  return Join({head,
               "#include \"clients/cpp/arguments.h\"\n#include \"",
               structHeader,
               ".structs.h\"\n\n",
               "namespace ostra::kernelclasses {\nResult<ClassRef> ",
               create,
               "();\n}\n\nnamespace ostra::kernels {\n\n",
               options.isHidden ? "" : FindLeadingComment(text),
               "struct ",
               name,
               " {\n",
               made.members,
               "\n  static constexpr client::KernelDescription kKernel = {",
               Quote(options.classId),
               ", ",
               Quote(MakeGpuFile(options)),
               ",\n                                                        &kernelclasses::",
               create,
               "};\n",
               "  // Calls ostraVisit(name, value) for each parameter, until one fails.\n"
               "  template <class Visit>\n  Result<void> ForEach([[maybe_unused]] Visit&& ostraVisit) const {\n",
               made.visits,
               "    return OK;\n  }\n};\n\n}  // namespace ostra::kernels\n"});
}

}  // namespace ostra::kernelfront

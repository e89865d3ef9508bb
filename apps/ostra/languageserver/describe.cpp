#include <algorithm>

#include "apps/ostra/languageserver/features.h"
#include "apps/ostra/languageserver/word_page.h"
#include "parallelprogram/kernellanguage/join.h"
#include "parallelprogram/kernellanguage/words.h"

namespace ostra::tool {

using namespace kernellanguage;

namespace {

std::string InCode(std::string_view code) { return Join({"```c\n", code, "\n```"}); }

std::string_view GetRole(NodeKind kind) {
  switch (kind) {
    case NodeKind::kParameter:
      return "parameter of the kernel";
    case NodeKind::kFunctionParameter:
      return "argument";
    case NodeKind::kVariable:
      return "variable";
    case NodeKind::kSharedArray:
      return "array in group memory, one for each work group";
    case NodeKind::kMember:
      return "member";
    default:
      return "";
  }
}

// Whether a variable differs between the invocations of a row, and where that comes from.
std::string DescribeVariance(const AnalyzedKernel& kernel, NodeIndex node) {
  const Uniformity& uniformity = kernel.uniformity.Get(node);
  switch (uniformity.variance) {
    case Variance::kUniform:
      return "The same in all invocations.";
    case Variance::kRow:
      return "The same in all invocations of a row.";
    case Variance::kLinear:
      return "Grows by " + std::to_string(uniformity.stride) + " from one invocation of a row to the next.";
    case Variance::kVarying:
      break;
  }
  std::string text = "Differs between invocations";
  std::string_view separator = ": ";
  for (const UniformityReason& reason : Explain(kernel.tree, kernel.resolved, kernel.uniformity, node)) {
    const SourceLocation place = kernel.sources.Locate(kernel.tree.nodes[reason.node].offset);
    text.append(separator).append(reason.text).append(" (line ").append(std::to_string(place.line)).append(")");
    separator = "; ";
  }
  return text + ".";
}

std::string DescribeDeclaration(const AnalyzedKernel& kernel, NodeIndex node) {
  const NodeKind kind = kernel.tree.nodes[node].kind;
  std::string text = InCode(PrintDeclaration(kernel, node));
  const std::string_view role = GetRole(kind);
  if (!role.empty()) text.append("\n").append(role);
  if (kind == NodeKind::kVariable || kind == NodeKind::kFunctionParameter)
    text.append("\n\n").append(DescribeVariance(kernel, node));
  return text;
}

std::string PrintOverload(const Word& word, const Overload& overload) {
  const TypeTable types;
  std::string text = Join({types.GetName(overload.result), " ", word.name, "("});
  for (UInt8 i = 0; i < overload.count; ++i) text += (i == 0 ? "" : ", ") + types.GetName(overload.parameters[i]);
  return text + ")";
}

std::string DescribeWord(const Word& word) {
  std::string code;
  if (word.kind == WordKind::kFunction) {
    for (const auto overloads : {GetOverloads(word.id), GetLongOverloads(word.id)})
      for (const Overload& overload : overloads)
        code.append(code.empty() ? "" : "\n").append(PrintOverload(word, overload));
  }
  std::string text = Join({InCode(code.empty() ? word.name : code), "\n", word.meaning});
  // What the documentation says of both sides.
  const auto row = FindWordRow(word.name);
  if (row && !row->cpu.empty()) text += Join({"\n\nCPU: ", row->cpu});
  if (row && !row->gpu.empty()) text += Join({"\n\nGPU: ", row->gpu});
  return text;
}

}  // namespace

std::optional<Hover> Describe(const KernelDocument& document, UInt32 offset) {
  const TextRange range = document.FindWord(offset);
  const std::vector<Token>& tokens = document.GetCurrent().tokens;
  const Bool isCode = std::any_of(tokens.begin(), tokens.end(), [&](const Token& token) {
    return token.kind == TokenKind::kWord && token.offset == range.begin;
  });
  if (!isCode) return std::nullopt;
  const NodeIndex declaration = document.FindDeclaration(offset);
  if (declaration != kNoNode) return Hover{range, DescribeDeclaration(document.GetUnderstood()->kernel, declaration)};
  const Word* word = FindWord(document.GetText(range));
  if (!word || word->meaning.empty()) return std::nullopt;
  return Hover{range, DescribeWord(*word)};
}

}  // namespace ostra::tool

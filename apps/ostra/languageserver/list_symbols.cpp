#include "apps/ostra/languageserver/features.h"

namespace ostra::tool {

using namespace kernellanguage;

namespace {

// From a name to the brace that closes what begins behind it.
UInt32 FindEnd(const std::vector<Token>& tokens, UInt32 nameBegin, UInt32 nameEnd) {
  Int depth = 0;
  for (const Token& token : tokens) {
    if (token.offset < nameBegin || token.kind != TokenKind::kSign) continue;
    if (depth == 0 && token.text == ";") break;
    depth += token.text == "{" ? 1 : token.text == "}" ? -1 : 0;
    if (token.text == "}" && depth <= 0) return token.offset + 1;
  }
  return nameEnd;
}

std::optional<SymbolKind> GetSymbolKind(NodeKind kind) {
  switch (kind) {
    case NodeKind::kParameter:
      return SymbolKind::kParameter;
    case NodeKind::kStruct:
      return SymbolKind::kStruct;
    case NodeKind::kFunction:
      return SymbolKind::kFunction;
    case NodeKind::kKernel:
      return SymbolKind::kKernel;
    default:
      return std::nullopt;
  }
}

}  // namespace

std::vector<Symbol> ListSymbols(const KernelDocument& document) {
  std::vector<Symbol> symbols;
  const KernelDocument::Analysis* analysis = document.GetUnderstood();
  if (!analysis) return symbols;
  for (const NamePlace& place : analysis->names.GetPlaces()) {
    const auto kind = GetSymbolKind(analysis->kernel.tree.nodes[place.declaration].kind);
    if (place.file != 0 || !place.isDeclaration || !kind) continue;
    const Bool isBlock = *kind != SymbolKind::kParameter;
    const UInt32 end = isBlock ? FindEnd(analysis->tokens, place.begin, place.end) : place.end;
    symbols.push_back({.kind = *kind,
                       .name = std::string(analysis->kernel.tree.GetName(place.declaration)),
                       .detail = PrintDeclaration(analysis->kernel, place.declaration),
                       .range = {place.begin, end},
                       .nameRange = {place.begin, place.end}});
  }
  return symbols;
}

}  // namespace ostra::tool

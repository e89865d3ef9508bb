#include <algorithm>

#include "apps/ostra/languageserver/features.h"
#include "ostra/core/format.h"
#include "parallelprogram/kernellanguage/words.h"

OSTRA_UNIT("languageserver");

namespace ostra::tool {

using namespace kernellanguage;

namespace {

FileRange MakeRange(const KernelDocument& document, const NamePlace& place) {
  const SourceMap::File& file = document.GetUnderstood()->kernel.sources.GetFile(place.file);
  return {file.name, file.text, {place.begin, place.end}};
}

Bool IsIdentifier(std::string_view name) {
  LexerTrouble trouble;
  const std::vector<Token> tokens = ReadTokens(name, 0, trouble);
  return tokens.size() == 1 && tokens[0].kind == TokenKind::kWord && tokens[0].text == name;
}

}  // namespace

std::optional<FileRange> FindDefinition(const KernelDocument& document, UInt32 offset) {
  const NodeIndex declaration = document.FindDeclaration(offset);
  if (declaration == kNoNode) return std::nullopt;
  const NamePlace* place = document.GetUnderstood()->names.FindDeclaration(declaration);
  return place ? std::optional(MakeRange(document, *place)) : std::nullopt;
}

std::vector<FileRange> FindReferences(const KernelDocument& document, UInt32 offset, Bool isDeclarationIncluded) {
  std::vector<FileRange> found;
  const NodeIndex declaration = document.FindDeclaration(offset);
  if (declaration == kNoNode) return found;
  for (const NamePlace& place : document.GetUnderstood()->names.FindAll(declaration)) {
    if (isDeclarationIncluded || !place.isDeclaration) found.push_back(MakeRange(document, place));
  }
  return found;
}

Result<std::vector<FileRange>> Rename(const KernelDocument& document, UInt32 offset, std::string_view newName) {
  if (&document.GetCurrent() != document.GetUnderstood())
    return OSTRA_ILLEGAL_ARGUMENT("the file has mistakes: names are known when it has none");
  std::vector<FileRange> places = FindReferences(document, offset, true);
  if (places.empty()) return OSTRA_ILLEGAL_ARGUMENT("there is no name here that this kernel declares");
  if (!IsIdentifier(newName)) return OSTRA_ILLEGAL_ARGUMENT("\"@\" is no name", newName);
  if (FindWord(newName)) return OSTRA_ILLEGAL_ARGUMENT("\"@\" is a word of the kernel language", newName);
  // Names of other scopes count as well: what is right today must not change its meaning.
  const KernelDocument::Analysis& analysis = *document.GetUnderstood();
  for (const NamePlace& place : analysis.names.GetPlaces()) {
    if (analysis.kernel.tree.GetName(place.declaration) == newName)
      return OSTRA_ILLEGAL_ARGUMENT("\"@\" is the name of something else in this kernel", newName);
  }
  return places;
}

}  // namespace ostra::tool

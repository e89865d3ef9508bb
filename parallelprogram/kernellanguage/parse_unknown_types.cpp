#include "parallelprogram/kernellanguage/parse_unknown_types.h"

#include "ostra/core/nearest_word.h"
#include "parallelprogram/kernellanguage/foreign_words.h"
#include "parallelprogram/kernellanguage/host_names.h"
#include "parallelprogram/kernellanguage/join.h"
#include "parallelprogram/kernellanguage/words.h"

namespace ostra::kernellanguage {

NodeIndex ParseUnknownTypes::FailUnknownType() {
  const Token& token = Peek();
  if (token.kind != TokenKind::kWord) return StopHere();
  const Word* known = FindWord(token.text);
  if (StopBeyond(known)) return kNoNode;
  const std::string_view instead = FindForeignWord(token.text, ForeignUse::kDeclaration);
  if (!instead.empty() && !_names.IsDeclared(token.text))
    return Fail(token.offset, MakeForeignWordText(token.text, instead));
  if (IsDeclaration() && !known && !MayBeHostName(token.text)) {
    const std::size_t maxChanges = token.text.size() < 3 ? 1 : token.text.size() < 6 ? 2 : 3;
    return Fail(token.offset, Join({"unknown type \"", token.text, "\"", FindHint(maxChanges, true)}));
  }
  return Stop(token.offset, Join({"the type \"", token.text, "\" is not declared in the kernel's files"}));
}

void ParseUnknownTypes::CheckElementType() {
  const Token& token = Peek();
  if (token.kind != TokenKind::kWord || _names.IsType(token.text) || FindWord(token.text) || MayBeHostName(token.text))
    return;
  Fail(token.offset, Join({"the elements of this buffer are \"", token.text,
                           "\", which is neither a type of kernels nor a struct of the kernel's headers",
                           FindHint(token.text.size() < 6 ? 2 : 3, false)}));
}

Bool ParseUnknownTypes::StopBeyond(const Word* known) {
  const Token& token = Peek();
  if (known && known->kind == WordKind::kReserved)
    Stop(token.offset, Join({"\"", token.text, "\" is C++ beyond the language of kernels"}));
  else if (known && known->kind == WordKind::kStage)
    Stop(token.offset, Join({"\"", token.text, "\" is a word of graphics stages"}));
  else
    return false;
  return true;
}

std::string ParseUnknownTypes::FindHint(std::size_t maxChanges, Bool withWords) const {
  NearestWord nearest(Peek().text, maxChanges);
  if (withWords) {
    for (const Word& word : GetWords()) {
      if (word.kind == WordKind::kType) nearest.Try(word.name);
    }
  }
  for (const std::string_view name : _names.GetStructs()) nearest.Try(name);
  return nearest.Get().empty() ? std::string() : Join({"; did you mean \"", nearest.Get(), "\"?"});
}

Bool ParseUnknownTypes::IsDeclaration() const {
  return IsWord(1) && !_names.IsKnown(Peek(1).text) && !MayBeHostName(Peek(1).text) &&
         (Is("=", 2) || Is(";", 2) || Is(",", 2) || Is("(", 2) || Is("[", 2) || Is(")", 2));
}

}  // namespace ostra::kernellanguage

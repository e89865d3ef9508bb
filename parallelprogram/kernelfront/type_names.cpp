#include "parallelprogram/kernelfront/type_names.h"

#include <algorithm>
#include <iterator>

#include "ostra/core/nearest_word.h"
#include "parallelprogram/kernelfront/failure.h"
#include "parallelprogram/kernellanguage/host_names.h"
#include "parallelprogram/kernellanguage/words.h"

namespace ostra::kernelfront {

using kernellanguage::FindWord;
using kernellanguage::GetWords;
using kernellanguage::MayBeHostName;
using kernellanguage::Word;
using kernellanguage::WordKind;

namespace {

// The type that is almost `word`; empty: none.
std::string_view FindNearestType(std::string_view word) {
  if (word.size() < 4) return {};
  NearestWord nearest(word, word.size() < 8 ? 2 : 3);
  for (const Word& known : GetWords())
    if (known.kind == WordKind::kType) nearest.Try(known.name);
  return nearest.Get();
}

// Whether the file may declare the name: in a header, as a type or a macro, or put together by one.
bool MayDeclare(const EditedText& text, std::string_view word) {
  constexpr std::string_view kDeclaring[] = {"struct", "class", "union", "enum", "using", "define", "typename"};
  for (std::size_t i = 0; i < text.GetTokens().size(); ++i) {
    if (text.Is(i, "#") && (text.Is(i + 1, "include") || text.Is(i + 1, "#"))) return true;
    if (!text.Is(i, word)) continue;
    const std::string_view before = i > 0 ? text.GetText(text.GetTokens()[i - 1]) : std::string_view();
    if (std::find(std::begin(kDeclaring), std::end(kDeclaring), before) != std::end(kDeclaring)) return true;
    if (text.Is(i + 1, ";") || text.Is(i + 1, ":") || (i > 0 && text.Is(i - 1, ":"))) return true;
  }
  return false;
}

}  // namespace

void CheckTypeName(const EditedText& text, std::size_t index) {
  const Token& token = text.GetTokens()[index];
  const std::string_view word = text.GetText(token);
  if (!text.IsWord(index) || word.find("TYPE") != std::string_view::npos) return;
  if (FindWord(word) || MayBeHostName(word)) return;
  const std::string_view nearest = FindNearestType(word);
  if (nearest.empty() || MayDeclare(text, word)) return;
  Fail(text, token, Join({"unknown type \"", word, "\"; did you mean \"", nearest, "\"?"}));
}

}  // namespace ostra::kernelfront

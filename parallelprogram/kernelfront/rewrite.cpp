#include "parallelprogram/kernelfront/rewrite.h"

#include "parallelprogram/kernelfront/failure.h"
#include "parallelprogram/kernellanguage/words.h"

namespace ostra::kernelfront {
namespace {

using kernellanguage::WordId;

constexpr std::string_view kTypeWord = "TYPE";

// Whether a number reads as a floating literal of type double.
bool IsDouble(std::string_view number) {
  const bool isHexadecimal = number.size() > 1 && (number[1] == 'x' || number[1] == 'X');
  const char last = number.back();
  if (isHexadecimal) return false;
  const bool isFloating = number.find_first_of(".eE") != std::string_view::npos;
  return isFloating && ((last >= '0' && last <= '9') || last == '.');
}

bool IsQualifier(const EditedText& text, std::size_t i) {
  if (!text.Is(i, "INOUT") && !text.Is(i, "inout") && !text.Is(i, "out") && !text.Is(i, "in")) return false;
  // A buffer or a variable may have such a name: a qualifier stands before the word of a type.
  return i > 0 && (text.Is(i - 1, "(") || text.Is(i - 1, ",")) && text.IsWord(i + 1);
}

// Past the parameter that begins with token `first`: the comma or parenthesis that ends it.
std::size_t FindParameterEnd(const EditedText& text, std::size_t first) {
  int depth = 0;
  std::size_t i = first;
  for (; i < text.GetTokens().size(); ++i) {
    if (text.Is(i, "(") || text.Is(i, "<") || text.Is(i, "[")) ++depth;
    if (depth == 0 && (text.Is(i, ")") || text.Is(i, ","))) return i;
    if (text.Is(i, ")") || text.Is(i, ">") || text.Is(i, "]")) --depth;
    if (text.Is(i, "{") || text.Is(i, ";")) break;
  }
  return i;
}

// "out T x" becomes "T& x", "out T x[4]" becomes "T (&x)[4]".
void MakeReference(EditedText& text, std::size_t qualifier) {
  const auto& tokens = text.GetTokens();
  const std::size_t end = FindParameterEnd(text, qualifier + 1);
  std::size_t name = end;
  for (std::size_t i = qualifier + 1; i < end && !text.Is(i, "["); ++i)
    if (text.IsWord(i)) name = i;
  if (name == end || name == qualifier + 1) return;
  const std::string word(text.GetText(tokens[name]));
  const bool isArray = text.Is(name + 1, "[");
  text.Replace(tokens[name].begin, tokens[name].end, isArray ? Join({"(&", word, ")"}) : Join({"& ", word}));
}

}  // namespace

std::string ReplaceType(std::string_view word, std::string_view templateArgument) {
  std::string result(word);
  if (templateArgument.empty()) return result;
  for (std::size_t at = result.find(kTypeWord); at != std::string::npos;
       at = result.find(kTypeWord, at + templateArgument.size()))
    result.replace(at, kTypeWord.size(), templateArgument);
  return result;
}

void RewriteWords(EditedText& text, std::string_view templateArgument) {
  const auto& tokens = text.GetTokens();
  const Token* scope = nullptr;  // the CPU_SCOPE_START that is open
  for (std::size_t i = 0; i < tokens.size(); ++i) {
    const std::string_view word = text.GetText(tokens[i]);
    if (tokens[i].kind == Token::Kind::kNumber && !scope && IsDouble(word)) text.Insert(tokens[i].end, "f");
    if (tokens[i].kind != Token::Kind::kWord) continue;
    const WordId id = kernellanguage::FindWordId(word);
    if (id == WordId::kCpuScopeStart) scope = &tokens[i];
    if (id == WordId::kCpuScopeEnd) scope = nullptr;
    if (std::string replaced = ReplaceType(word, templateArgument); replaced != word)
      text.Replace(tokens[i].begin, tokens[i].end, std::move(replaced));
    if (IsQualifier(text, i)) {
      text.Replace(tokens[i].begin, tokens[i].end, "");
      if (word != "in") MakeReference(text, i);
    }
  }
  if (scope) Fail(text, *scope, "CPU_SCOPE_START has no CPU_SCOPE_END");
}

}  // namespace ostra::kernelfront

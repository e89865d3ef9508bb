#include "parallelprogram/kernelfront/guard.h"

#include <initializer_list>

namespace ostra::kernelfront {
namespace {

bool IsSequence(const EditedText& text, std::size_t i, std::initializer_list<std::string_view> words) {
  for (const std::string_view word : words) {
    if (!text.Is(i++, word)) return false;
  }
  return true;
}

bool IsLinearIndex(const EditedText& text, std::size_t i) {
  return IsSequence(text, i, {"LinearInvocation", "(", ")", ";"});
}
bool IsGlobalIndex(const EditedText& text, std::size_t i, std::string_view axis) {
  return IsSequence(text, i, {"InGlobalInvocationID", ".", axis, ";"});
}

// Whether the statement behind an if is a plain return.
bool IsReturn(const EditedText& text, std::size_t i) {
  return IsSequence(text, i, {"return", ";"}) || IsSequence(text, i, {"{", "return", ";", "}"});
}

}  // namespace

std::optional<Guard> FindGuard(const EditedText& text, std::size_t open, std::size_t close, bool isLinear) {
  std::size_t i = open + 1;
  std::string_view index;
  // uint name = value ;
  for (; (text.Is(i, "uint") || text.Is(i, "UInt32")) && text.IsWord(i + 1) && text.Is(i + 2, "="); i += 7) {
    const std::size_t value = i + 3;
    if (isLinear ? IsLinearIndex(text, value) : IsGlobalIndex(text, value, "x"))
      index = text.GetText(text.GetTokens()[i + 1]);
    else if (!IsGlobalIndex(text, value, "x") && !IsGlobalIndex(text, value, "y") && !IsGlobalIndex(text, value, "z"))
      return std::nullopt;
  }
  if (index.empty() || !IsSequence(text, i, {"if", "(", index})) return std::nullopt;
  const bool isBelow = IsSequence(text, i + 3, {"<", "UNIFORM", "("});
  const bool isOpposite = IsSequence(text, i + 3, {">", "=", "UNIFORM", "("});
  const std::size_t name = i + (isBelow ? 6 : 7), last = name + 1;
  if ((!isBelow && !isOpposite) || !text.IsWord(name) || !text.Is(last, ")")) return std::nullopt;
  const std::size_t statement = text.FindAfterClosing(i + 1);
  const std::string_view combination = isBelow ? "&" : "|";
  if (last + 2 != statement && !IsSequence(text, last + 1, {combination, combination})) return std::nullopt;
  const bool isWhole =
      isBelow ? text.Is(statement, "{") && text.FindAfterClosing(statement) == close : IsReturn(text, statement);
  if (!isWhole) return std::nullopt;
  return Guard{i + 2, last, text.GetText(text.GetTokens()[name]), isOpposite};
}

}  // namespace ostra::kernelfront

#include "ostra/core/nearest_word.h"
#include "parallelprogram/kernelfront/failure.h"
#include "parallelprogram/kernelfront/parameters.h"

namespace ostra::kernelfront {
namespace {

// Headers and macros may bring names, and macros may put names together.
bool HasOtherNames(const EditedText& text) {
  for (std::size_t i = 0; i < text.GetTokens().size(); ++i) {
    if (text.Is(i, "#") && (text.Is(i + 1, "include") || text.Is(i + 1, "#"))) return true;
  }
  return false;
}

bool IsMacro(const EditedText& text, std::string_view name) {
  for (std::size_t i = 0; i < text.GetTokens().size(); ++i) {
    if (text.Is(i, "define") && text.Is(i + 1, name)) return true;
  }
  return false;
}

bool IsParameter(const std::vector<Parameter>& parameters, std::string_view name) {
  for (const Parameter& parameter : parameters) {
    if (parameter.name == name) return true;
  }
  return false;
}

[[noreturn]] void FailUse(const EditedText& text, const Token& use, const std::vector<Parameter>& parameters) {
  const std::string_view name = text.GetText(use);
  NearestWord nearest(name, name.size() < 4 ? 2 : 4);
  for (const Parameter& parameter : parameters) nearest.Try(parameter.name);
  std::string message = Join({"there is no parameter \"", name, "\""});
  if (!nearest.Get().empty()) message += Join({"; did you mean \"", nearest.Get(), "\"?"});
  Fail(text, use, message);
}

}  // namespace

void CheckParameterUses(const EditedText& text, const std::vector<Parameter>& parameters) {
  if (parameters.empty() || HasOtherNames(text)) return;
  const auto& tokens = text.GetTokens();
  for (std::size_t i = 0; i < tokens.size(); ++i) {
    const bool isUse = text.Is(i, "UNIFORM") || text.Is(i, "UNIFORM_BUFFER");
    if (!isUse || tokens[i].isInDirective || !text.Is(i + 1, "(") || !text.IsWord(i + 2) || !text.Is(i + 3, ")"))
      continue;
    const std::string_view name = text.GetText(tokens[i + 2]);
    if (name.find("TYPE") != std::string_view::npos) continue;  // stands for the template argument
    if (!IsParameter(parameters, name) && !IsMacro(text, name)) FailUse(text, tokens[i + 2], parameters);
  }
}

}  // namespace ostra::kernelfront

#include "parallelprogram/kernelfront/parameters.h"

#include <algorithm>

#include "parallelprogram/kernelfront/failure.h"
#include "parallelprogram/kernelfront/rewrite.h"
#include "parallelprogram/kernelfront/type_names.h"

namespace ostra::kernelfront {
namespace {

bool IsCounter(std::string_view type) {
  while (!type.empty() && (type.back() == '*' || type.back() == '&' || type.back() == ' ')) type.remove_suffix(1);
  return type == "AtomicUInt32" || type == "const AtomicUInt32";
}

std::string MakeMember(const Parameter& parameter) {
  const std::string prefix = IsCounter(parameter.type) ? "" : "ostraParameter_";
  return Join({"::ostra::kernel::ParameterMember<", parameter.type, ">::Type ", prefix, parameter.name, "{};"});
}

// Adds the parameter; two of one name would be two members of one name to the compiler.
void AddParameter(const EditedText& text, const Token& name, std::string type, std::vector<Parameter>& parameters) {
  Parameter parameter{std::move(type), std::string(text.GetText(name))};
  for (const Parameter& other : parameters)
    if (other.name == parameter.name) Fail(text, name, Join({"there is a parameter \"", parameter.name, "\" already"}));
  parameters.push_back(std::move(parameter));
}

// Texture types must be those of a sampler type. The CPU program makes none of U16, I32 and S32, which a GPU reads.
void CheckTextureType(const EditedText& text, const Token& token) {
  const std::string_view word = text.GetText(token);
  if (!word.starts_with("TextureSampler")) return;
  constexpr std::string_view kPrefix = "TextureSampler_";
  constexpr std::string_view kKinds[] = {"R_U8_POINT",    "R_U16_POINT",    "R_I32_POINT",
                                         "R_S32_POINT",   "R_F32_POINT",    "R_F32_LINEAR",
                                         "RG_F32_LINEAR", "RGB_F32_LINEAR", "RGBA_F32_LINEAR"};
  for (const char dimensions : {'1', '2', '3'}) {
    for (const std::string_view kind : kKinds) {
      if (word == Join({kPrefix, std::string(1, dimensions), "D_", kind})) return;
    }
  }
  throw CpuFailure{
      {{kernellanguage::MakeSourceMessage(text.GetSource(), token.begin,
                                          Join({"kernels on the CPU have no texture type \"", word,
                                                "\"; there are TextureSampler_<d>D_<kind> with 1, 2 or 3 for <d> and "
                                                "R_U8_POINT, R_F32_POINT, R_F32_LINEAR, "
                                                "RG_F32_LINEAR, RGB_F32_LINEAR or RGBA_F32_LINEAR for <kind>"}))},
       false}};
}

// The type that the tokens [begin, end) spell, with one blank where there was any.
std::string ReadType(const EditedText& text, std::size_t begin, std::size_t end, std::string_view templateArgument) {
  std::string type;
  for (std::size_t i = begin; i < end; ++i) {
    const Token& token = text.GetTokens()[i];
    const std::string_view word = text.GetText(token);
    if (word == "attribute" || word == "varying" || word == "out")
      Fail(text, token, Join({"\"", word, "\" parameters belong to graphics shaders"}));
    CheckTextureType(text, token);
    CheckTypeName(text, i);
    if (word == "IGNORE_VARIABLE_GPU") continue;
    if (!type.empty() && text.IsWord(i) && text.GetTokens()[i - 1].end < token.begin) type += ' ';
    type += ReplaceType(word, templateArgument);
  }
  return type;
}

// Headers and macros that put names together may use any parameter.
void MarkUses(const EditedText& text, std::vector<Parameter>& parameters) {
  const auto& tokens = text.GetTokens();
  for (std::size_t i = 0; i < tokens.size(); ++i)
    if (text.Is(i, "#") && (text.Is(i + 1, "include") || text.Is(i + 1, "#"))) return;
  for (Parameter& parameter : parameters) {
    const auto isName = [&](const Token& token) { return text.GetText(token) == parameter.name; };
    parameter.isUsed = std::count_if(tokens.begin(), tokens.end(), isName) > 1;
  }
}

// The rest of the block: "}" and the records. The struct ends where its last declaration ended.
std::string MakeStructEnd(const std::vector<Parameter>& parameters) {
  return Join({" ", MakeParameterRecords(parameters), " };"});
}

// The translation for the GPU reads declarations until an empty line or the kernel.
void CheckEndOfDefinition(const EditedText& text, const Token& last) {
  std::string_view next = text.GetLineAfter(last.end);
  next.remove_prefix(std::min(next.find_first_not_of(" \t\r"), next.size()));
  if (next.empty() || next.starts_with("OSTRA_PARALLEL_KERNEL") || next.starts_with("FP_KERNEL")) return;
  FailLineRule(text.GetSource(), text.FindLineAfter(last.end),
               "an empty line must follow KERNELINPUTS: the translation for the GPU reads on until there is one");
}

}  // namespace

std::string MakeParameterRecords(const std::vector<Parameter>& parameters) {
  std::string records = "template <class OstraAdd> ::ostra::Result<void> ForEach([[maybe_unused]] OstraAdd&& add) { ";
  for (const Parameter& parameter : parameters)
    records += Join({parameter.isUsed ? "OSTRA_" : "OSTRA_UNUSED_",
                     IsCounter(parameter.type) ? "COUNTER_RECORD(" : "PARAMETER_RECORD(", parameter.name, ") "});
  return Join({records, "return ::ostra::OK; }"});
}

std::size_t RewriteDefineBlock(EditedText& text, std::size_t first, std::string_view templateArgument,
                               std::vector<Parameter>& parameters) {
  const auto& tokens = text.GetTokens();
  const std::size_t after = text.FindAfterDirective(first);
  std::string replacement = Join({"struct ", kParameterStruct, " {"});
  std::size_t begin = tokens[first].begin, last = first + 2;  // # define KERNELINPUTS
  for (std::size_t i = first + 3; i < after;) {
    const std::size_t name = text.Is(i, "(") ? text.FindAfterClosing(i) : i;
    if (name < i + 3 || name >= after || !text.IsWord(name))
      Fail(text, tokens[i], "this line of KERNELINPUTS is not conforming to '(type) name'");
    if (tokens[i].line == tokens[last].line)
      Fail(text, tokens[i], "each parameter of KERNELINPUTS needs a line of its own");
    AddParameter(text, tokens[name], ReadType(text, i + 1, name - 1, templateArgument), parameters);
    text.Replace(begin, tokens[i].begin, replacement);
    replacement = MakeMember(parameters.back());
    begin = tokens[i].begin;
    last = name;
    if (name + 1 < after && !text.Is(++last, ","))
      Fail(text, tokens[last], Join({"a comma is missing after the parameter \"", parameters.back().name, "\""}));
    i = last + 1;
  }
  CheckEndOfDefinition(text, tokens[last]);
  MarkUses(text, parameters);
  text.Replace(begin, text.FindEndOfLine(tokens[last].begin), replacement + MakeStructEnd(parameters));
  return after;
}

std::size_t RewriteStructBlock(EditedText& text, std::size_t first, std::string_view templateArgument,
                               std::vector<Parameter>& parameters) {
  const auto& tokens = text.GetTokens();
  const Token& start = tokens[first];
  const std::size_t open = first + 2;  // struct KernelInput
  if (!text.Is(open, "{") || !tokens[open].isFirstInLine || tokens[open].line != start.line + 1)
    FailLineRule(text.GetSource(), start.begin, "the opening brace of KernelInput must be alone on the next line");
  const std::size_t after = text.FindAfterClosing(open);
  if (after == 0 || !text.Is(after, ";")) Fail(text, start, "struct KernelInput has no end \"};\"");
  for (std::size_t i = open + 1; i + 1 < after;) {
    std::size_t end = i;
    while (end < after && !text.Is(end, ";")) ++end;
    if (end >= after || end < i + 2 || !text.IsWord(end - 1))
      Fail(text, tokens[i], "this member of KernelInput is not conforming to 'type name;'");
    AddParameter(text, tokens[end - 1], ReadType(text, i, end - 1, templateArgument), parameters);
    text.Replace(tokens[i].begin, tokens[end].end, MakeMember(parameters.back()));
    i = end + 1;
  }
  MarkUses(text, parameters);
  text.Replace(tokens[first + 1].begin, tokens[first + 1].end, std::string(kParameterStruct));
  text.Insert(tokens[after - 1].begin, Join({MakeParameterRecords(parameters), " "}));
  return after + 1;
}

}  // namespace ostra::kernelfront

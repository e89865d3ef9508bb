#include "ostra/shadercompiler/glslang_front.h"

#include <glslang/Public/ResourceLimits.h>
#include <glslang/Public/ShaderLang.h>
#include <glslang/SPIRV/GlslangToSpv.h>

#include <algorithm>
#include <new>
#include <string>

#include "ostra/core/compiler_line.h"
#include "ostra/core/text_characters.h"
#include "ostra/shadercompiler/call_graph.h"

namespace ostra::shadercompiler {

namespace {

// Started once: starting the library again would take as long as compiling. Its tables go with the process, or with the
// module that it is linked with.
struct Library {
  Library() { glslang::InitializeProcess(); }
  Library(const Library&) = delete;
  ~Library() { glslang::FinalizeProcess(); }
};

EShLanguage GetStage(DrawportStage stage) {
  switch (stage) {
    case DrawportStage::Vertex:
      return EShLangVertex;
    case DrawportStage::TessellationControl:
      return EShLangTessControl;
    case DrawportStage::TessellationEvaluation:
      return EShLangTessEvaluation;
    case DrawportStage::Fragment:
      return EShLangFragment;
    default:
      return EShLangCompute;
  }
}

String MakeText(std::string_view text) {
  auto copy = String::Create(text);
  if (!copy) throw std::bad_alloc();
  return std::move(*copy);
}

// The library's names of tokens, as people know them.
struct TokenName {
  std::string_view name, text;
};
constexpr TokenName kTokenNames[] = {
    {"LEFT_BRACE", "\"{\""},
    {"RIGHT_BRACE", "\"}\""},
    {"LEFT_PAREN", "\"(\""},
    {"RIGHT_PAREN", "\")\""},
    {"LEFT_BRACKET", "\"[\""},
    {"RIGHT_BRACKET", "\"]\""},
    {"LEFT_ANGLE", "\"<\""},
    {"RIGHT_ANGLE", "\">\""},
    {"SEMICOLON", "\";\""},
    {"COMMA", "\",\""},
    {"COLON", "\":\""},
    {"DOT", "\".\""},
    {"EQUAL", "\"=\""},
    {"BANG", "\"!\""},
    {"DASH", "\"-\""},
    {"TILDE", "\"~\""},
    {"PLUS", "\"+\""},
    {"STAR", "\"*\""},
    {"SLASH", "\"/\""},
    {"PERCENT", "\"%\""},
    {"VERTICAL_BAR", "\"|\""},
    {"CARET", "\"^\""},
    {"AMPERSAND", "\"&\""},
    {"QUESTION", "\"?\""},
    {"LEFT_OP", "\"<<\""},
    {"RIGHT_OP", "\">>\""},
    {"INC_OP", "\"++\""},
    {"DEC_OP", "\"--\""},
    {"LE_OP", "\"<=\""},
    {"GE_OP", "\">=\""},
    {"EQ_OP", "\"==\""},
    {"NE_OP", "\"!=\""},
    {"AND_OP", "\"&&\""},
    {"OR_OP", "\"||\""},
    {"XOR_OP", "\"^^\""},
    {"IDENTIFIER", "a name"},
    {"TYPE_NAME", "a type"},
    {"FIELD_SELECTION", "a member"},
    {"INTCONSTANT", "a number"},
    {"UINTCONSTANT", "a number"},
    {"FLOATCONSTANT", "a number"},
    {"DOUBLECONSTANT", "a number"},
    {"BOOLCONSTANT", "a truth value"},
};

std::string DescribeToken(std::string_view word) {
  for (const TokenName& known : kTokenNames)
    if (known.name == word) return std::string(known.text);
  const Bool isToken = word.size() > 1 && std::all_of(word.begin(), word.end(), [](char c) {
                         return (c >= 'A' && c <= 'Z') || IsDigit(c) || c == '_';
                       });
  std::string text(word);
  if (!isToken) return text;
  std::transform(text.begin(), text.end(), text.begin(), &ToLower);
  return '"' + text + '"';
}

// "'' :  syntax error, unexpected RIGHT_BRACE" becomes "syntax error, unexpected "}"".
std::string DescribeTokens(std::string_view message) {
  constexpr std::string_view kStart = "syntax error, unexpected ";
  const std::size_t start = message.find(kStart);
  if (start == std::string_view::npos) {
    if (message.find("memory exhausted") == std::string_view::npos) return std::string(message);
    return "expressions or statements are nested too deeply for the compiler: divide them";
  }
  std::string text(kStart);
  message.remove_prefix(start + kStart.size());
  while (!message.empty()) {
    std::size_t end = 0;
    while (end < message.size() && IsWordCharacter(message[end])) ++end;
    text += DescribeToken(message.substr(0, end));
    if (end < message.size()) text += message[end++];
    message.remove_prefix(end);
  }
  return text;
}

// A log without a message of the usual form: "(12): error at column 1, HLSL parsing failed.".
ShaderMessage ReadBareLog(std::string_view log) {
  const auto read = ReadCompilerLine(log.substr(0, log.find('\n')));
  return read ? ShaderMessage{true, read->line, MakeText(read->text)} : ShaderMessage{true, 0, MakeText(log)};
}

// Lines that only sum up what the others say.
Bool IsSummary(std::string_view text) {
  return text.find("compilation errors.") != std::string_view::npos ||
         text.find("compilation terminated") != std::string_view::npos;
}

// The library makes an empty program of a text without the function "main".
Bool IsFailure(std::string_view warning) { return warning.find("Entry point not found") != std::string_view::npos; }

// The library reads on behind a mistake and reports what it no longer understands: the first message about a line is
// the one that helps.
void KeepFirstOfEachLine(std::vector<ShaderMessage>& messages) {
  std::vector<ShaderMessage> kept;
  for (ShaderMessage& message : messages) {
    const Bool isFirst = std::none_of(kept.begin(), kept.end(), [&message](const ShaderMessage& known) {
      return message.line > 0 && known.line == message.line && known.isError && message.isError;
    });
    if (isFirst) kept.push_back(std::move(message));
  }
  messages = std::move(kept);
}

// Adds a line that goes on with a message. "f(vf3;u1;" is how the library writes the function f.
void AppendWords(std::string_view line, std::string& text) {
  while (!line.empty()) {
    const std::string_view word = line.substr(0, line.find(' '));
    line.remove_prefix(std::min(word.size() + 1, line.size()));
    if (!word.empty()) text.append(" ").append(word.substr(0, word.find('(')));
  }
}

// The line of the first call or definition of a function; 0 without one.
Int FindFunctionLine(std::string_view text, std::string_view name) {
  for (std::size_t at = text.find(name); at != std::string_view::npos; at = text.find(name, at + 1)) {
    const std::size_t end = text.find_first_not_of(" \t", at + name.size());
    if (end == std::string_view::npos || text[end] != '(' || (at > 0 && IsWordCharacter(text[at - 1]))) continue;
    return 1 + std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(at), '\n');
  }
  return 0;
}

// The linker knows no lines. Functions are defined before they are called, so that the first line with the name is that
// of the definition.
void PlaceRecursion(std::string_view text, std::vector<ShaderMessage>& messages) {
  constexpr std::string_view kMark = "Recursion detected: ";
  for (ShaderMessage& message : messages) {
    const std::string_view words = message.text.GetView();
    const std::size_t mark = words.find(kMark);
    if (message.line != 0 || mark == std::string_view::npos) continue;
    const std::string_view name = words.substr(mark + kMark.size());
    message.line = FindFunctionLine(text, name.substr(0, name.find(' ')));
  }
}

// The language of the source, and what it is translated for.
void SetEnvironment(glslang::TShader& shader, EShLanguage language, Bool isHlsl) {
  shader.setEntryPoint("main");
  shader.setEnvInput(isHlsl ? glslang::EShSourceHlsl : glslang::EShSourceGlsl, language, glslang::EShClientVulkan, 100);
  shader.setEnvClient(glslang::EShClientVulkan, isHlsl ? glslang::EShTargetVulkan_1_1 : glslang::EShTargetVulkan_1_2);
  shader.setEnvTarget(glslang::EShTargetSpv, isHlsl ? glslang::EShTargetSpv_1_3 : glslang::EShTargetSpv_1_5);
  if (isHlsl) shader.setTextureSamplerTransformMode(EShTexSampTransUpgradeTextureRemoveSampler);
}

}  // namespace

void ReadLog(std::string_view log, std::vector<ShaderMessage>& messages) {
  struct Line {
    Bool isError;
    Int number;
    std::string text;
  };
  std::vector<Line> lines;
  Bool isContinued = false;  // what a message lists stands on lines of its own behind it
  while (!log.empty()) {
    const std::size_t end = log.find('\n');
    std::string_view line = log.substr(0, end);
    log = end == std::string_view::npos ? std::string_view() : log.substr(end + 1);
    while (line.ends_with(' ')) line.remove_suffix(1);
    const auto read = ReadCompilerLine(line);
    if (!read) {
      if (isContinued) AppendWords(line, lines.back().text);
      continue;
    }
    isContinued = !IsSummary(read->text);
    if (!isContinued) continue;
    const Bool isError = read->severity == SourceSeverity::kError;
    lines.push_back({isError || IsFailure(read->text), read->line, DescribeTokens(read->text)});
  }
  for (const Line& line : lines) messages.push_back({line.isError, line.number, MakeText(line.text)});
}

std::vector<UInt32> TranslateToSpirv(Bool isHlsl, DrawportStage stage, std::string_view text,
                                     const ShaderCompilerOptions& options, std::vector<ShaderMessage>& messages) {
  [[maybe_unused]] static const Library library;
  const EShLanguage language = GetStage(stage);
  glslang::TShader shader(language);
  const char* const source = text.data();
  const int size = static_cast<int>(text.size());
  shader.setStringsWithLengths(&source, &size, 1);
  SetEnvironment(shader, language, isHlsl);
  auto rules = static_cast<EShMessages>(EShMsgSpvRules | EShMsgVulkanRules);
  if (isHlsl) rules = static_cast<EShMessages>(rules | EShMsgReadHlsl | EShMsgHlslEnable16BitTypes);

  constexpr int kDefaultVersion = 450;
  const Bool isParsed = shader.parse(GetDefaultResources(), kDefaultVersion, false, rules);
  ReadLog(shader.getInfoLog(), messages);
  KeepFirstOfEachLine(messages);
  if (!isParsed) {
    if (messages.empty()) messages.push_back(ReadBareLog(shader.getInfoLog()));
    return {};
  }
  glslang::TProgram program;
  program.addShader(&shader);
  const Bool isResolved = ResolveCalls(*shader.getIntermediate());
  const Bool isLinked = program.link(isResolved ? static_cast<EShMessages>(rules | EShMsgKeepUncalled) : rules);
  ReadLog(program.getInfoLog(), messages);
  PlaceRecursion(text, messages);
  if (!isLinked) {
    if (messages.empty()) messages.push_back({true, 0, MakeText(program.getInfoLog())});
    return {};
  }
  std::vector<unsigned int> words;
  glslang::SpvOptions spirvOptions;
  spirvOptions.disableOptimizer = true;
  spirvOptions.stripDebugInfo = !options.keepsNames;
  glslang::GlslangToSpv(*program.getIntermediate(language), words, &spirvOptions);
  return words;
}

}  // namespace ostra::shadercompiler

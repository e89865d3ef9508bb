#include "ostra/shadercompiler/glslang_front.h"

#include <glslang/Public/ResourceLimits.h>
#include <glslang/Public/ShaderLang.h>
#include <glslang/SPIRV/GlslangToSpv.h>

#include <algorithm>
#include <charconv>
#include <new>

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

// The library numbers its sources: "0:12: " stands for line 12 of the only one. Returns 0 without a number.
Int TakeLineNumber(std::string_view& text) {
  constexpr std::string_view kSource = "0:";
  if (!text.starts_with(kSource)) return 0;
  Int line = 0;
  const auto [end, code] = std::from_chars(text.data() + kSource.size(), text.data() + text.size(), line);
  if (code != std::errc() || end == text.data() + text.size() || *end != ':') return 0;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()) + 1);
  while (text.starts_with(' ')) text.remove_prefix(1);
  return line;
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
    constexpr std::string_view kError = "ERROR: ", kWarning = "WARNING: ";
    const Bool isError = line.starts_with(kError);
    if (!isError && !line.starts_with(kWarning)) {
      if (isContinued) AppendWords(line, lines.back().text);
      continue;
    }
    line.remove_prefix(isError ? kError.size() : kWarning.size());
    while (line.ends_with(' ')) line.remove_suffix(1);
    isContinued = !IsSummary(line);
    if (!isContinued) continue;
    const Int number = TakeLineNumber(line);
    lines.push_back({isError || IsFailure(line), number, std::string(line)});
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
  shader.setEntryPoint("main");
  shader.setEnvInput(isHlsl ? glslang::EShSourceHlsl : glslang::EShSourceGlsl, language, glslang::EShClientVulkan, 100);
  shader.setEnvClient(glslang::EShClientVulkan, isHlsl ? glslang::EShTargetVulkan_1_1 : glslang::EShTargetVulkan_1_2);
  shader.setEnvTarget(glslang::EShTargetSpv, isHlsl ? glslang::EShTargetSpv_1_3 : glslang::EShTargetSpv_1_5);
  if (isHlsl) shader.setTextureSamplerTransformMode(EShTexSampTransUpgradeTextureRemoveSampler);
  auto rules = static_cast<EShMessages>(EShMsgSpvRules | EShMsgVulkanRules);
  if (isHlsl) rules = static_cast<EShMessages>(rules | EShMsgReadHlsl | EShMsgHlslEnable16BitTypes);

  constexpr int kDefaultVersion = 450;
  const Bool isParsed = shader.parse(GetDefaultResources(), kDefaultVersion, false, rules);
  ReadLog(shader.getInfoLog(), messages);
  KeepFirstOfEachLine(messages);
  if (!isParsed) {
    if (messages.empty()) messages.push_back({true, 0, MakeText(shader.getInfoLog())});
    return {};
  }
  glslang::TProgram program;
  program.addShader(&shader);
  const Bool isLinked = program.link(rules);
  ReadLog(program.getInfoLog(), messages);
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

#include "ostra/shadercompiler/shader_compiler.h"

#include <algorithm>

#include "ostra/core/catch_out_of_memory.h"
#include "ostra/core/format.h"
#include "ostra/shadercompiler/contraction.h"
#include "ostra/shadercompiler/glslang_front.h"
#include "ostra/shadercompiler/inlining.h"
#include "ostra/shadercompiler/large_stack.h"
#include "ostra/shadercompiler/scalar_layout.h"
#include "ostra/shadercompiler/spirv_checks.h"
#include "ostra/shadercompiler/text_limits.h"

OSTRA_UNIT("shader_compiler");

namespace ostra {

namespace {

// Of programs that are optimised. Larger ones are generated; optimising them would take minutes and gigabytes.
constexpr std::size_t kMaxOptimizedWords = 100000;

Bool HasErrors(const std::vector<ShaderMessage>& messages) {
  return std::any_of(messages.begin(), messages.end(), [](const ShaderMessage& message) { return message.isError; });
}

std::vector<UInt32> Compile(Bool isHlsl, DrawportStage stage, std::string_view text,
                            const ShaderCompilerOptions& options, std::vector<ShaderMessage>& messages) {
  std::vector<UInt32> words = shadercompiler::TranslateToSpirv(isHlsl, stage, text, options, messages);
  if (HasErrors(messages)) return {};
  if (isHlsl) shadercompiler::PackStructuredBuffers(words);
  // Before the optimiser, which then leaves arithmetic alone, and after it for what it has copied.
  shadercompiler::ForbidContraction(words);
  const Bool isOptimized = options.isOptimized && words.size() <= kMaxOptimizedWords;
  if (isOptimized) {
    shadercompiler::LimitInlining(words);
    shadercompiler::OptimizeSpirv(isHlsl, words);
    shadercompiler::ForbidContraction(words);
  }
  std::vector<ShaderMessage> faults;
  shadercompiler::CheckSpirv(isHlsl, words, faults);
  if (isHlsl && !isOptimized && HasErrors(faults)) {
    shadercompiler::LimitInlining(words);
    shadercompiler::LegalizeSpirv(words);
    shadercompiler::ForbidContraction(words);
    faults.clear();
    shadercompiler::CheckSpirv(isHlsl, words, faults);
  }
  for (ShaderMessage& fault : faults) messages.push_back(std::move(fault));
  if (HasErrors(messages)) return {};
  return words;
}

// Number of the line that ends the kernel's body; 0 without one. Lines of declarations come behind it, too, but stand
// further up in the file.
Int FindEndOfBody(const AssembledShader& shader) {
  const auto& lines = shader.lines;
  Int last = lines.GetCount();
  while (last > 0 && lines[last - 1].line <= 0) --last;
  if (last == 0) return 0;
  Int end = last;
  for (Int i = last - 1; i > 0; --i)
    if (lines[i - 1].line > lines[end - 1].line && lines[i - 1].file == lines[last - 1].file) end = i;
  return end;
}

// Where a brace stays open, compilers stumble over what was added behind the body.
Bool IsOfOpenBrace(const ShaderMessage& message, Int endOfBody) {
  if (!message.isError || endOfBody == 0) return false;
  const std::string_view text = message.text.GetView();
  const auto has = [text](std::string_view part) { return text.find(part) != std::string_view::npos; };
  return has("end of file") || (message.line > endOfBody && (has("xpected") || has("not allowed here")));
}

}  // namespace

Result<CompiledShader> CompileShader(const Id& language, DrawportStage stage, const AssembledShader& shader,
                                     const ShaderCompilerOptions& options) {
  const Bool isHlsl = language == kShadingLanguageHlsl;
  if (!isHlsl && !(language == kShadingLanguageGlsl))
    return OSTRA_ILLEGAL_ARGUMENT("Shaders in the language \"@\" cannot be compiled.", language);
  const Bool isStage = stage == DrawportStage::Compute || stage == DrawportStage::Vertex ||
                       stage == DrawportStage::TessellationControl || stage == DrawportStage::TessellationEvaluation ||
                       stage == DrawportStage::Fragment;
  if (!isStage) return OSTRA_ILLEGAL_ARGUMENT("Shaders of the stage @ cannot be compiled.", static_cast<Int32>(stage));
  return CatchOutOfMemory(kOstraUnit, __LINE__, [&]() -> Result<CompiledShader> {
    CompiledShader compiled;
    std::vector<ShaderMessage> messages;
    std::vector<UInt32> words;
    if (auto error = shadercompiler::FindTextLimitError(shader.text)) {
      OSTRA_ASSIGN_OR_RETURN(String text, String::Create(error->text));
      messages.push_back({true, error->line, std::move(text)});
    } else {
      OSTRA_RETURN_IF_ERROR(shadercompiler::RunOnLargeStack(
          shadercompiler::kStackSize, [&] { words = Compile(isHlsl, stage, shader.text, options, messages); }));
    }
    OSTRA_RETURN_IF_ERROR(compiled.words.Resize(static_cast<Int>(words.size())));
    std::copy(words.begin(), words.end(), compiled.words.begin());
    for (ShaderMessage& message : messages) OSTRA_RETURN_IF_ERROR(compiled.messages.Append(std::move(message)));
    return compiled;
  });
}

Result<SourceMessage> PlaceShaderMessage(const AssembledShader& shader, const ShaderMessage& message,
                                         std::string_view fallbackFile) {
  OSTRA_ASSIGN_OR_RETURN(const String text, RestoreShaderWords(message.text));
  return CatchOutOfMemory(kOstraUnit, __LINE__, [&]() -> Result<SourceMessage> {
    SourceMessage placed{.severity = message.isError ? SourceSeverity::kError : SourceSeverity::kWarning,
                         .file = std::string(fallbackFile),
                         .text = std::string(text.GetView())};
    const auto place = [&placed](const ShaderOrigin& origin) {
      placed.file = origin.file.GetView();
      placed.line = origin.line;
    };
    const Bool isLine = message.line > 0 && message.line <= shader.lines.GetCount();
    if (const Int end = FindEndOfBody(shader); IsOfOpenBrace(message, end)) {
      place(shader.lines[end - 1]);
      placed.text += " (behind the last line: is a brace left open?)";
    } else if (isLine && shader.lines[message.line - 1].line > 0) {
      place(shader.lines[message.line - 1]);
    } else if (isLine) {
      placed.text += " (line " + std::to_string(message.line) + " of the assembled text)";
    }
    return placed;
  });
}

Error MakeCompileError(const AssembledShader& shader, const CompiledShader& compiled, std::string_view fallbackFile) {
  return CatchOutOfMemory(kOstraUnit, __LINE__, [&]() -> Error {
    std::vector<SourceMessage> errors;
    for (const ShaderMessage& message : compiled.messages) {
      if (!message.isError) continue;
      auto placed = PlaceShaderMessage(shader, message, fallbackFile);
      if (!placed) return placed.TakeError();
      errors.push_back(std::move(*placed));
    }
    return MakeSourceError(std::move(errors), kOstraUnit, __LINE__);
  });
}

}  // namespace ostra

#include "ostra/shadercompiler/shader_compiler.h"

#include <algorithm>
#include <new>

#include "ostra/core/format.h"
#include "ostra/shadercompiler/contraction.h"
#include "ostra/shadercompiler/glslang_front.h"
#include "ostra/shadercompiler/inlining.h"
#include "ostra/shadercompiler/scalar_layout.h"
#include "ostra/shadercompiler/spirv_checks.h"

OSTRA_UNIT("shader_compiler");

namespace ostra {

namespace {

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
  if (options.isOptimized) {
    shadercompiler::LimitInlining(words);
    shadercompiler::OptimizeSpirv(isHlsl, words);
    shadercompiler::ForbidContraction(words);
  }
  shadercompiler::CheckSpirv(isHlsl, words, messages);
  if (HasErrors(messages)) return {};
  return words;
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
  CompiledShader compiled;
  try {
    std::vector<ShaderMessage> messages;
    const std::vector<UInt32> words = Compile(isHlsl, stage, shader.text, options, messages);
    OSTRA_RETURN_IF_ERROR(compiled.words.Resize(static_cast<Int>(words.size())));
    std::copy(words.begin(), words.end(), compiled.words.begin());
    for (ShaderMessage& message : messages) OSTRA_RETURN_IF_ERROR(compiled.messages.Append(std::move(message)));
  } catch (const std::bad_alloc&) {
    return OSTRA_OUT_OF_MEMORY();
  }
  return compiled;
}

Result<String> FormatShaderMessage(const AssembledShader& shader, const ShaderMessage& message,
                                   std::string_view fallbackFile) {
  const std::string_view severity = message.isError ? "error" : "warning";
  OSTRA_ASSIGN_OR_RETURN(const String text, RestoreShaderWords(message.text));
  const Bool isLine = message.line > 0 && message.line <= shader.lines.GetCount();
  if (isLine && shader.lines[message.line - 1].line > 0) {
    const ShaderOrigin& origin = shader.lines[message.line - 1];
    return Format("@:@: @: @", origin.file, origin.line, severity, text);
  }
  if (isLine) return Format("@: @: @ (line @ of the assembled text)", fallbackFile, severity, text, message.line);
  return Format("@: @: @", fallbackFile, severity, text);
}

Error MakeCompileError(const AssembledShader& shader, const CompiledShader& compiled, std::string_view fallbackFile) {
  String report;
  for (const ShaderMessage& message : compiled.messages) {
    if (!message.isError) continue;
    auto line = FormatShaderMessage(shader, message, fallbackFile);
    if (!line) return line.TakeError();
    if (report.IsPopulated()) {
      if (auto result = report.Append("\n"); !result) return result.TakeError();
    }
    if (auto result = report.Append(*line); !result) return result.TakeError();
  }
  return OSTRA_ILLEGAL_ARGUMENT("@", report);
}

}  // namespace ostra

#include "bench/vulkan/shader.h"

#include "bench/program.h"
#include "ostra/shadercompiler/shader_compiler.h"
#include "parallelprogram/shaderassembly/assembly_records.h"

namespace bench {

using namespace ostra;

Shader MakeShader(const std::string& kernelPath) {
  const StrongRef<ShaderParser> parser = Need(ShaderParser::Create(kShadingLanguageGlsl));
  Need(parser->Init(Need(Url::Create(kernelPath)), DataDictionary()));
  const ShaderRecords records = Need(MakeShaderRecords(*parser, DrawportStage::Compute));
  const AssembledShader assembled = Need(AssembleShader(records));
  const CompiledShader compiled = Need(CompileShader(records.language, records.stage, assembled));
  if (!compiled.IsCompiled()) throw Failure(MakeCompileError(assembled, compiled, kernelPath));

  Shader shader;
  shader.words.assign(compiled.words.begin(), compiled.words.end());
  for (const ShaderParameter& parameter : records.parameters) {
    if (parameter.kind == ShaderParameterKind::Buffer)
      shader.buffers.push_back({std::string(parameter.name.GetView()), static_cast<std::uint32_t>(parameter.binding)});
  }
  for (const ShaderTexture& texture : records.textures)
    shader.textures.push_back({std::string(texture.name.GetView()), static_cast<std::uint32_t>(texture.binding)});
  for (const ShaderUniform& uniform : assembled.uniforms)
    shader.uniforms.push_back({std::string(uniform.name.GetView()), static_cast<std::uint32_t>(uniform.offset)});
  shader.uniformBinding = static_cast<std::uint32_t>(records.uniformBinding);
  shader.uniformBytes = static_cast<std::uint32_t>(assembled.uniformByteCount);
  shader.groupSize[0] = records.workGroupSize.x;
  shader.groupSize[1] = records.workGroupSize.y;
  shader.groupSize[2] = records.workGroupSize.z;
  return shader;
}

std::vector<std::uint32_t> CompileGlsl(const std::string& text, bool isVertex) {
  AssembledShader assembled;
  assembled.text = Need(String::Create(text));
  const CompiledShader compiled =
      Need(CompileShader(kShadingLanguageGlsl, isVertex ? DrawportStage::Vertex : DrawportStage::Fragment, assembled));
  if (!compiled.IsCompiled()) throw Failure(MakeCompileError(assembled, compiled, "reference"));
  return {compiled.words.begin(), compiled.words.end()};
}

GroupCounts GetGroupCounts(const Shader& shader, std::uint32_t x, std::uint32_t y) {
  constexpr std::uint32_t kMaxGroups = 65535;
  const std::uint32_t columns = (x - 1) / shader.groupSize[0] + 1;
  if (y > 1) return {columns, (y - 1) / shader.groupSize[1] + 1};
  // A long line goes on in further rows of this many groups.
  return columns <= kMaxGroups ? GroupCounts{columns, 1} : GroupCounts{kMaxGroups, (columns - 1) / kMaxGroups + 1};
}

}  // namespace bench

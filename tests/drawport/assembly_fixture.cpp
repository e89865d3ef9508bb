#include "tests/drawport/assembly_fixture.h"

#include <gtest/gtest.h>

#include <cstdio>

#include "tests/support/result_matchers.h"

namespace ostra::test {

namespace {

const Result<tool::MetalCompiler>& GetMetalCompiler() {
  static const Result<tool::MetalCompiler> compiler = tool::MetalCompiler::Find();
  return compiler;
}

}  // namespace

String MakeText(std::string_view text) { return String::Create(text).GetValue(); }

ShaderRecords MakeRecords(const Id& language, std::string_view code) {
  ShaderRecords records;
  records.language = language;
  records.workGroupSize = Vec3<UInt32>(64, 1, 1);
  records.body.text = MakeText("{\n" + std::string(code) + "\n}");
  return records;
}

void AddParameter(ShaderRecords& records, ShaderParameter parameter) {
  ASSERT_THAT(records.parameters.Append(std::move(parameter)), IsOk());
}

void AddValue(ShaderRecords& records, const char* name, DrawportShaderValueType type) {
  ShaderParameter parameter;
  parameter.name = MakeText(name);
  parameter.valueType = type;
  AddParameter(records, std::move(parameter));
}

void AddBuffer(ShaderRecords& records, const char* name, const char* elementType, DrawportBufferAccess access) {
  ShaderParameter parameter;
  parameter.kind = ShaderParameterKind::Buffer;
  parameter.name = MakeText(name);
  parameter.elementType = MakeText(elementType);
  parameter.access = access;
  AddParameter(records, std::move(parameter));
}

void AddCounter(ShaderRecords& records, const char* name) {
  ShaderParameter parameter;
  parameter.kind = ShaderParameterKind::Counter;
  parameter.name = MakeText(name);
  AddParameter(records, std::move(parameter));
}

void AddTexture(ShaderRecords& records, const char* name, DrawportTextureType type, const Id& format, Bool isImage,
                Bool hasLayers) {
  ShaderTexture texture;
  texture.name = MakeText(name);
  texture.textureType = type;
  texture.format = GetPixelFormat(format).GetValue();
  texture.isImage = isImage;
  texture.hasLayers = hasLayers;
  ASSERT_THAT(records.textures.Append(std::move(texture)), IsOk());
}

void AddFunction(ShaderRecords& records, std::string_view text) {
  ASSERT_THAT(records.functions.Append(ShaderCode{MakeText(text), {}}), IsOk());
}

AssembledShader Assemble(ShaderRecords& records) {
  AssignBindings(records);
  auto shader = AssembleShader(records);
  EXPECT_THAT(shader, IsOk());
  return shader ? std::move(*shader) : AssembledShader();
}

std::string Compile(ShaderRecords& records) {
  const AssembledShader shader = Assemble(records);
  std::vector<ShaderMessage> messages;
  if (records.language == kShadingLanguageMetal) {
    if (!GetMetalCompiler()) {
      [[maybe_unused]] static const int printed =
          std::fprintf(stderr, "%s\n", FindMissingCompiler(records.language).c_str());
      return {};
    }
    auto found = GetMetalCompiler()->Compile(shader.text);
    EXPECT_THAT(found, IsOk());
    if (found) messages = std::move(*found);
  } else {
    auto compiled = CompileShader(records.language, records.stage, shader, {.isOptimized = false});
    EXPECT_THAT(compiled, IsOk());
    if (compiled)
      for (const ShaderMessage& message : compiled->messages) messages.push_back(message);
  }
  std::string report;
  for (const ShaderMessage& message : messages)
    if (message.isError) report += std::to_string(message.line) + ": " + std::string(message.text.GetView()) + "\n";
  return report;
}

std::string FindMissingCompiler(const Id& language) {
  if (!(language == kShadingLanguageMetal) || GetMetalCompiler()) return {};
  return "METAL text is not compiled: " + std::string(GetMetalCompiler().GetError().GetMessage().GetView()) +
         " The package clang has that program.";
}

std::vector<std::string> GetLines(std::string_view text) {
  std::vector<std::string> lines;
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    lines.emplace_back(text.substr(0, end));
    text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
  }
  return lines;
}

}  // namespace ostra::test

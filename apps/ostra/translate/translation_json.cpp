#include <nlohmann/json.hpp>

#include "apps/ostra/translate/translation_report.h"
#include "ostra/core/atomic.h"
#include "ostra/math/data_types.h"
#include "ostra/render/gradient.h"
#include "parallelprogram/shaderassembly/assembly_records.h"
#include "plans/values/text.h"

namespace ostra::tool {

using namespace plans;

namespace {

using Json = nlohmann::ordered_json;

struct NamedType {
  const DataType& (*getType)();
  std::string_view name;
};

constexpr NamedType kValueTypes[] = {
    {&GetDataType<Float32>, "float32"},
    {&GetDataType<Vec2<Float32>>, "vec2f"},
    {&GetDataType<Vec3<Float32>>, "vec3f"},
    {&GetDataType<Vec4<Float32>>, "vec4f"},
    {&GetDataType<SquareMatrix4d32>, "mat4f"},
    {&GetDataType<SquareMatrix32>, "mat3f"},
    {&GetDataType<UInt32>, "uint32"},
    {&GetDataType<Int32>, "int32"},
    {&GetDataType<Vec4<UInt32>>, "vec4u"},
    {&GetDataType<Vec4<Int32>>, "vec4i"},
    {&GetDataType<AtomicUInt32>, "atomicuint32"},
    {&GetDataType<GradientRenderData>, "gradientrenderdata"},
    {&GetDataType<HalfFloat>, "float16"},
    {&GetDataType<Vec2<HalfFloat>>, "vec2h"},
    {&GetDataType<Vec3<HalfFloat>>, "vec3h"},
    {&GetDataType<Vec4<HalfFloat>>, "vec4h"},
};

template <class Texts>
Json ListTexts(const Texts& texts) {
  Json list = Json::array();
  for (const auto& text : texts) list.push_back(TextOf(text));
  return list;
}

Json DescribeInput(const ShaderInputEntry& input) {
  const std::string_view type = GetValueTypeName(input.dataType);
  return {{"dataType", type.empty() ? Json(nullptr) : Json(TextOf(type))},
          {"typeName", TextOf(input.typeName)},
          {"name", TextOf(input.name)},
          {"kind", input.kind}};
}

Json DescribeInputs(const BaseArray<ShaderInputEntry>& inputs) {
  Json list = Json::array();
  for (const ShaderInputEntry& input : inputs) list.push_back(DescribeInput(input));
  return list;
}

Json DescribeFunctions(const ShaderParser& parser) {
  Json list = Json::array();
  for (const ShaderFunctionDefinition& function : parser.GetFunctions()) {
    Json entry = {{"declaration", TextOf(function.declaration)}, {"body", TextOf(function.body)}};
    const auto definition = MakeFunctionDefinition(parser, function);
    if (definition)
      entry["definition"] = TextOf(*definition);
    else
      entry["definitionError"] = TextOf(definition.GetError().GetMessage());
    list.push_back(entry);
  }
  return list;
}

Json DescribeTextures(const ShaderParser& parser) {
  Json list = Json::array();
  for (const ShaderTextureEntry& texture : parser.GetTextureEntries())
    list.push_back({{"textureType", texture.textureType},
                    {"format", texture.format ? TextOf(texture.format->id.GetView()) : std::string()},
                    {"name", TextOf(texture.name)},
                    {"linear", texture.linear},
                    {"readOnly", texture.readOnly}});
  return list;
}

Json DescribeStructs(const ShaderParser& parser) {
  Json list = Json::array();
  for (const ShaderStructDefinition& definition : parser.GetStructs())
    list.push_back({{"name", TextOf(definition.name)},
                    {"members", DescribeInputs(definition.members)},
                    {"memberLines", ListTexts(definition.memberLines)},
                    {"byteSize", definition.byteSize}});
  return list;
}

Json DescribePieces(const ShaderParser& parser) {
  const Vec3<Int32> size = parser.GetWorkGroupSize();
  return {{"targetLanguage", TextOf(parser.GetTargetLanguage().GetView())},
          {"workGroupSize", Json::array({size.x, size.y, size.z})},
          {"noiseCallCount", parser.GetNoiseCallCount()},
          {"kernelCode", TextOf(parser.GetKernelCode())},
          {"globalCode", ListTexts(parser.GetGlobalCode())},
          {"functions", DescribeFunctions(parser)},
          {"inputEntries", DescribeInputs(parser.GetInputEntries())},
          {"textureEntries", DescribeTextures(parser)},
          {"structs", DescribeStructs(parser)},
          {"defines", ListTexts(parser.GetDefines())},
          {"groupSharedDeclarations", ListTexts(parser.GetGroupSharedDeclarations())},
          {"metalBufferCount", parser.GetMetalBufferCount()},
          {"metalImageCount", parser.GetMetalImageCount()}};
}

}  // namespace

std::string_view GetValueTypeName(DataType type) {
  if (!type.IsPopulated()) return {};
  for (const NamedType& known : kValueTypes)
    if (known.getType() == type) return known.name;
  return type.GetView();
}

Result<std::string> FormatTranslationAsJson(const Translation& translation) {
  Json json;
  if (translation.result) {
    json = DescribePieces(*translation.parser);
  } else {
    const Error& error = translation.result.GetError();
    json["error"] = {{"kind", TextOf(error.GetKind().GetView())},
                     {"message", TextOf(error.GetMessage())},
                     {"unit", TextOf(error.GetUnit())},
                     {"line", error.GetLine()}};
  }
  json["diagnostics"] = Json::array();
  for (const Diagnostic& line : translation.diagnostics) json["diagnostics"].push_back(line.text);
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace ostra::tool

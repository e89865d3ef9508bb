// Textures and images of every format, in every language.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <span>

#include "tests/drawport/assembly_fixture.h"
#include "tests/support/result_matchers.h"

namespace ostra::test {
namespace {

using testing::HasSubstr;

struct Shape {
  DrawportTextureType type;
  const char* coordinates;
  const char* texel;
};
constexpr Shape kShapes[] = {
    {DrawportTextureType::Texture1D, "0.5", "3"},
    {DrawportTextureType::Texture2D, "vec2(0.5, 0.5)", "int2(3, 4)"},
    {DrawportTextureType::Texture3D, "vec3(0.5, 0.5, 0.5)", "int3(3, 4, 5)"},
};

Bool IsInKernels(const PixelFormat& format) {
  return !(format.valueClass == PixelValueClass::SignedInteger && format.bitsPerChannel < 32);
}

// What FetchTexture gives.
std::string GetFetchedType(const PixelFormat& format) {
  const std::string count = format.channels == 1 ? "" : std::to_string(format.channels);
  if (format.valueClass == PixelValueClass::FloatingPoint) return format.channels == 1 ? "float" : "vec" + count;
  return (format.valueClass == PixelValueClass::SignedInteger ? "int" : "uint") + count;
}
std::string GetSampledType(const PixelFormat& format) {
  return format.channels == 1 ? "float" : std::string("vec").append(std::to_string(format.channels));
}

class ShaderTextureTest : public testing::TestWithParam<const Id*> {
 protected:
  void SetUp() override {
    if (const std::string missing = FindMissingCompiler(*GetParam()); !missing.empty()) GTEST_SKIP() << missing;
  }
};

TEST_P(ShaderTextureTest, EveryFormatCanBeSampledAndFetched) {
  for (const Shape& shape : kShapes) {
    std::string code;
    ShaderRecords records = MakeRecords(*GetParam(), "");
    Int number = 0;
    for (const PixelFormat& format : std::span(GetPixelFormats().GetFirst(), kPixelFormatCount)) {
      if (!IsInKernels(format)) continue;
      const std::string name = std::string("t").append(std::to_string(number++));
      AddTexture(records, name.c_str(), shape.type, format.id);
      code += GetFetchedType(format) + " f_" + name + " = FetchTexture(" + name + ", " + shape.texel + ");\n";
      if (format.bitsPerChannel < 32 || format.valueClass == PixelValueClass::FloatingPoint)
        code += GetSampledType(format) + " s_" + name + " = SampleTexture(UNIFORM(" + name + "), " + shape.coordinates +
                ");\n";
    }
    code += shape.type == DrawportTextureType::Texture1D   ? "int size = TextureSize(t0);"
            : shape.type == DrawportTextureType::Texture2D ? "int2 size = TextureSize(t0);"
                                                           : "int3 size = TextureSize(t0);";
    records.body.text = MakeText("{\n" + code + "\n}");
    EXPECT_EQ(Compile(records), "");
  }
}

TEST_P(ShaderTextureTest, EveryFormatCanBeAnImage) {
  for (const Shape& shape : kShapes) {
    std::string code;
    ShaderRecords records = MakeRecords(*GetParam(), "");
    Int number = 0;
    for (const PixelFormat& format : std::span(GetPixelFormats().GetFirst(), kPixelFormatCount)) {
      if (!IsInKernels(format)) continue;
      const std::string name = std::string("t").append(std::to_string(number++));
      AddTexture(records, name.c_str(), shape.type, format.id, true);
      code += GetFetchedType(format) + " f_" + name + " = FetchTexture(" + name + ", " + shape.texel + ");\n";
      code += "StoreImage(" + name + ", " + shape.texel + ", f_" + name + ");\n";
    }
    records.body.text = MakeText("{\n" + code + "\n}");
    EXPECT_EQ(Compile(records), "");
  }
}

TEST_P(ShaderTextureTest, LayersOfArraysAreRead) {
  for (const Shape& shape : {kShapes[0], kShapes[1]}) {
    ShaderRecords records = MakeRecords(*GetParam(), "");
    AddTexture(records, "a", shape.type, "net.ostra.image.pixelformat.rgb.f32"_id, false, true);
    AddTexture(records, "b", shape.type, "net.ostra.image.pixelformat.dynamic.redu8"_id, false, true);
    AddTexture(records, "c", shape.type, "net.ostra.image.pixelformat.rgba.s32"_id, false, true);
    const std::string at = shape.coordinates, texel = shape.texel;
    records.body.text =
        MakeText("{\nvec3 s = SampleTextureLayer(a, " + at + ", 2u) + SampleTexture(a, " + at +
                 ");\nvec3 f = FetchTextureLayer(a, " + texel + ", 1u) + FetchTexture(a, " + texel +
                 ");\nfloat p = SampleTextureLayer(b, " + at + ", 1u);\nuint n = FetchTextureLayer(b, " + texel +
                 ", 1u);\nint4 q = FetchTextureLayer(c, " + texel + ", 1u);\n" +
                 (shape.type == DrawportTextureType::Texture1D ? "int" : "int2") + " size = TextureSize(a);\n}");
    EXPECT_EQ(Compile(records), "");
  }
}

TEST_P(ShaderTextureTest, AnImageCannotBeSampled) {
  ShaderRecords records = MakeRecords(*GetParam(), "vec4 s = SampleTexture(image, vec2(0.5, 0.5));");
  AddTexture(records, "image", DrawportTextureType::Texture2D, "net.ostra.image.pixelformat.rgba.f32"_id, true);
  EXPECT_NE(Compile(records), "");
}

TEST_P(ShaderTextureTest, FramebufferLayersAreReadByTexelAndSample) {
  ShaderRecords records = MakeRecords(*GetParam(),
                                      "color = GetFramebufferTexel(PassTexture(colorTexture), int2(1, 2)) + "
                                      "GetFramebufferTexel(PassMultisampledTexture(samples), int2(1, 2), InSampleID);");
  records.stage = DrawportStage::Fragment;
  AddTexture(records, "colorTexture", DrawportTextureType::Texture2D, "net.ostra.image.pixelformat.rgba.f32"_id);
  AddTexture(records, "samples", DrawportTextureType::Texture2D, "net.ostra.image.pixelformat.rgba.f32"_id);
  records.textures[1].isMultisampled = true;
  ShaderParameter color;
  color.kind = ShaderParameterKind::Output;
  color.name = "color"_s;
  color.valueType = DrawportShaderValueType::Float4;
  AddParameter(records, std::move(color));
  EXPECT_EQ(Compile(records), "");
}

INSTANTIATE_TEST_SUITE_P(Languages, ShaderTextureTest, testing::ValuesIn(kLanguages),
                         [](const auto& language) { return std::string(language.param->GetView()); });

TEST(ShaderTextureErrorTest, WhatNoShaderCanReadIsRefused) {
  const auto assemble = [](auto change) {
    ShaderRecords records = MakeRecords(kShadingLanguageGlsl, "");
    AddTexture(records, "image", DrawportTextureType::Texture2D, "net.ostra.image.pixelformat.rgba.f32"_id);
    change(records.textures[0]);
    AssignBindings(records);
    return AssembleShader(records);
  };
  EXPECT_THAT(assemble([](ShaderTexture& texture) { texture.format = nullptr; }),
              IsErrorWith(kIllegalArgumentError, "The texture \"image\" has no pixel format."));
  EXPECT_THAT(assemble([](ShaderTexture& texture) {
                texture.format = GetPixelFormat("net.ostra.image.pixelformat.dynamic.reds8"_id).GetValue();
              }),
              IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(assemble([](ShaderTexture& texture) {
                texture.textureType = DrawportTextureType::Texture3D;
                texture.hasLayers = true;
              }),
              IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(assemble([](ShaderTexture& texture) { texture.hasLayers = texture.isImage = true; }),
              IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(assemble([](ShaderTexture& texture) {
                texture.isMultisampled = true;
                texture.textureType = DrawportTextureType::Texture1D;
              }),
              IsErrorOfKind(kIllegalArgumentError));
  EXPECT_THAT(assemble([](ShaderTexture& texture) { texture.textureType = static_cast<DrawportTextureType>(2); }),
              IsErrorWith(kIllegalArgumentError, "The texture \"image\" has the unknown type 2."));
}

}  // namespace
}  // namespace ostra::test

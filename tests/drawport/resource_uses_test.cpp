// What the code of a kernel says about its textures and noises, beside their declarations.
#include "parallelprogram/shaderassembly/resource_uses.h"

#include <gmock/gmock.h>

#include "parallelprogram/shaderassembly/assembly_records.h"
#include "tests/support/result_matchers.h"
#include "tests/support/temporary_folder.h"

namespace ostra::test {
namespace {

class ResourceUsesTest : public testing::Test {
 protected:
  // The records of a kernel with two textures.
  ShaderRecords Make(const std::string& body, const std::string& header = "", const std::string& functions = "") {
    _folder.Write("k.h", header);
    const std::string file = _folder.Write("k.krn",
                                           "#define KERNELINPUTS \\\n(const TextureSampler_2D_R_F32_LINEAR) image, \\\n"
                                           "(const TextureSampler_2D_R_F32_POINT) other\n\n" +
                                               functions + "OSTRA_PARALLEL_KERNEL(K, KERNELINPUTS)\n{\n" + body +
                                               "\n}\nOSTRA_PARALLEL_KERNEL_END\n");
    const auto parser = ShaderParser::Create(kTargetGlsl).GetValue();
    DataDictionary options;
    EXPECT_THAT(options.Set(kShaderMultisampling, Int32{4}), IsOk());
    EXPECT_THAT(parser->Init(Url::Create(file).GetValue(), options, EndlessSource::Refuse), IsOk());
    auto records = MakeShaderRecords(*parser, DrawportStage::Fragment);
    EXPECT_THAT(records, IsOk());
    return std::move(*records);
  }
  // "LM" for a first texture that is an array and multisampled.
  std::string DescribeFirst(const ShaderRecords& records) {
    const ShaderTexture& texture = records.textures[0];
    return std::string(texture.hasLayers ? "L" : "") + (texture.isMultisampled ? "M" : "");
  }

  TemporaryFolder _folder;
};

TEST_F(ResourceUsesTest, ATextureThatIsReadWithALayerIsAnArray) {
  EXPECT_EQ(DescribeFirst(Make("a = SampleTextureLayer(image, p, 1);")), "L");
  EXPECT_EQ(DescribeFirst(Make("a = FetchTextureLayer (\n\tUNIFORM(image), p, 1);")), "L");
  EXPECT_EQ(DescribeFirst(Make("", "#define READ(p) SampleTextureLayer(image, p, 0)\n")), "L");
  EXPECT_EQ(DescribeFirst(Make("", "", "inline float F()\n{\nreturn SampleTextureLayer(image, p, 0).x;\n}\n")), "L");
  EXPECT_EQ(DescribeFirst(Make("a = SampleTextureLayer(other, p, 1);")), "");
  EXPECT_EQ(DescribeFirst(Make("a = MySampleTextureLayer(image, p, 1);")), "");
}

TEST_F(ResourceUsesTest, CommentsAndTextsMakeNoArray) {
  EXPECT_EQ(DescribeFirst(Make("a = SampleTexture(image, p); // not SampleTextureLayer(image, p, 1)")), "");
  EXPECT_EQ(DescribeFirst(Make("/* SampleTextureLayer(image, p, 1)\nFetchTextureLayer(image, q, 1) */")), "");
  EXPECT_EQ(DescribeFirst(Make("print(\"SampleTextureLayer(image, p, 1)\");")), "");
}

TEST_F(ResourceUsesTest, ATextureWhoseSamplesAreReadByNumberIsMultisampled) {
  EXPECT_EQ(DescribeFirst(Make("a = GetFramebufferTexel(PassTexture(image), at);")), "M");
  EXPECT_EQ(DescribeFirst(Make("a =GetFramebufferTexel(PassMultisampledTexture(image), at, 0);")), "M");
  EXPECT_EQ(DescribeFirst(Make("a =GetFramebufferTexel(PassTexture(image), at);")), "");
  EXPECT_EQ(DescribeFirst(Make("a =GetFramebufferTexel(PassTexture(image), at); // InSampleID")), "");
  EXPECT_EQ(DescribeFirst(Make("a =GetFramebufferTexel(PassTexture(image), at); b = InSampleID;")), "");
  EXPECT_EQ(DescribeFirst(Make("// =GetFramebufferTexel(PassTexture(image), at, InSampleID)")), "");
}

TEST_F(ResourceUsesTest, NoisesAreAsManyAsAreMarkedOrNamed) {
  EXPECT_EQ(Make("a = RenderNoise(3, p, t);").noiseTableCount, 0);
  EXPECT_EQ(Make("ADDNOISECALL\na = RenderNoise(0, p, t);").noiseTableCount, 1);
  EXPECT_EQ(Make("ADDNOISECALL\nADDNOISECALL\na = RenderNoise(0, p, t);").noiseTableCount, 2);
  EXPECT_EQ(Make("ADDNOISECALL\na = RenderNoise( 3, p, t) + RenderNoise(1, p, t);").noiseTableCount, 4);
  EXPECT_EQ(Make("ADDNOISECALL\na = RenderNoise(500, p, t);").noiseTableCount, 128);
  EXPECT_EQ(Make("ADDNOISECALL\na = RenderNoise(i, p, t);").noiseTableCount, 1);
}

TEST_F(ResourceUsesTest, CommentsNameNoNoises) {
  EXPECT_EQ(Make("ADDNOISECALL\na = RenderNoise(0, p, t); // RenderNoise(7, p, t)").noiseTableCount, 1);
  EXPECT_EQ(Make("ADDNOISECALL\na = MyRenderNoise(7, p, t);").noiseTableCount, 1);
}

}  // namespace
}  // namespace ostra::test

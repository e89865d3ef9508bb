// One stage file for targets with one and with several samples: what the translation writes is what assembly declares.
#include <gmock/gmock.h>

#include <optional>

#include "parallelprogram/shaderassembly/assembly_records.h"
#include "tests/drawport/assembly_fixture.h"
#include "tests/support/result_matchers.h"
#include "tests/support/temporary_folder.h"

namespace ostra::test {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr std::string_view kStage = R"(#define KERNELINPUTS \
(const TextureSampler_2D_RGBA_F32_POINT) layer, \
(const TextureSampler_2D_RGBA_F32_POINT) other, \
(out Vector4d32) color

OSTRA_PARALLEL_KERNEL(Samples, KERNELINPUTS)
{
	ONLY_USE_FIRST_MSAA_SAMPLE
	int2 pixel = int2(int(InFragCoord.x), int(InFragCoord.y));
	vec4 seen = GetFramebufferTexel(PassTexture(layer), pixel);
	color = seen + SampleTexture(other, vec2(0.5, 0.5));
}
OSTRA_PARALLEL_KERNEL_END
)";

class StageSamplesTest : public testing::Test {
 protected:
  ShaderRecords Translate(const Id& language, std::optional<Int32> sampleCount) {
    DataDictionary options;
    if (sampleCount) {
      EXPECT_THAT(options.Set(kShaderMultisampling, *sampleCount), IsOk());
    }
    const auto parser = ShaderParser::Create(language).GetValue();
    EXPECT_THAT(parser->Init(Url::Create(_file).GetValue(), options), IsOk());
    return MakeShaderRecords(*parser, DrawportStage::Fragment).GetValue();
  }

  TemporaryFolder _folder;
  const std::string _file = _folder.Write("net.ostra.test.samples.frag", kStage);
};

TEST_F(StageSamplesTest, TheOptionDecidesWhetherALayerHasSeveralSamples) {
  for (const Id* language : kLanguages) {
    for (const auto& [sampleCount, isMultisampled] : {std::pair(1, false), std::pair(4, true)}) {
      ShaderRecords records = Translate(*language, sampleCount);
      ASSERT_EQ(records.textures.GetCount(), 2);
      EXPECT_EQ(records.textures[0].isMultisampled, isMultisampled);
      EXPECT_FALSE(records.textures[1].isMultisampled);  // sampled with coordinates
      EXPECT_EQ(records.body.text.Contains("if (InSampleID > 0) discard;"), isMultisampled);
      EXPECT_EQ(Compile(records), "") << language->GetView() << sampleCount;
    }
    ShaderRecords records = Translate(*language, std::nullopt);
    EXPECT_FALSE(records.textures[0].isMultisampled);
    EXPECT_EQ(Compile(records), "") << language->GetView();
  }
}

}  // namespace
}  // namespace ostra::test

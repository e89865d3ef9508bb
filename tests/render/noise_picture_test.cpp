// The pictures of docs/noise.md show what the noises give now. After a wanted change: ostra-noise-pictures
// docs/pictures
#include "apps/noisepictures/noise_picture.h"

#include <fstream>

#include "tests/render/noise_fixture.h"

namespace ostra::test {
namespace {

class NoisePictureTest : public testing::TestWithParam<Id> {};

// As the picture's file holds it.
Int GetStep(Float32 value) { return static_cast<Int>(value * 255 + 0.5f); }

TEST_P(NoisePictureTest, ThePictureInTheManualIsUpToDate) {
  const std::string name =
      std::string(OSTRA_SOURCE_FOLDER "/docs/pictures/") + std::string(GetNoiseName(GetParam())) + ".png";
  auto url = Url::Create(name);
  ASSERT_THAT(url, IsOk());
  const auto kept = ReadImage(*url);
  ASSERT_THAT(kept, IsOk());
  auto registry = ClassRegistry::Find(kRenderNoiseRegistry);
  ASSERT_THAT(registry, IsOk());
  const auto drawn = DrawNoisePicture(**registry->FindEntryValue(GetParam()));
  ASSERT_THAT(drawn, IsOk());
  ASSERT_EQ(kept->rgba.GetCount(), drawn->rgba.GetCount());
  Int differing = 0;
  for (Int i = 0; i < kept->rgba.GetCount(); ++i) differing += GetStep(kept->rgba[i]) != GetStep(drawn->rgba[i]);
  EXPECT_EQ(differing, 0);
}

OSTRA_TEST_EACH_NOISE(NoisePictureTest);

TEST(NoisePageTest, EveryNoiseHasItsModeAndItsPictureInTheManual) {
  std::ifstream file(OSTRA_SOURCE_FOLDER "/docs/noise.md");
  const std::string page{std::istreambuf_iterator<char>(file), {}};
  Int count = 0;
  const auto expectLine = [&](const std::string& mode, const std::string& name) {
    ++count;
    EXPECT_NE(page.find("\n| " + mode + " | " + name + " | ![" + name + "](pictures/" + name + ".png) | "),
              std::string::npos)
        << name;
  };
#define OSTRA_NOISE(mode, name, id) expectLine(#mode, id);
#define OSTRA_DEFAULT_NOISE(mode, name, id) expectLine(#mode ", 2", id);
#include "ostra/render/noise_table.inl"
  EXPECT_EQ(count, std::ssize(GetNoiseIds()));
}

}  // namespace
}  // namespace ostra::test

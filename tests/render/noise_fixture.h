// Noise objects for tests, reached as clients reach them: through the registry.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "apps/noisepictures/noise_picture.h"
#include "ostra/core/format.h"
#include "ostra/object/class.h"
#include "ostra/render/render_noise.h"
#include "tests/support/result_matchers.h"

namespace ostra::test {

inline std::vector<Id> GetNoiseIds() {
  auto registry = ClassRegistry::Find(kRenderNoiseRegistry);
  if (!registry) return {};
  auto ids = registry->GetIds();
  return ids ? std::vector<Id>(ids->begin(), ids->end()) : std::vector<Id>();
}

// A noise before Init; the test ends when there is none.
inline RenderNoiseRef CreateNoise(const Id& id) {
  auto registry = ClassRegistry::Find(kRenderNoiseRegistry);
  EXPECT_THAT(registry, IsOk());
  if (!registry) return nullptr;
  auto noiseClass = registry->FindEntryValue(id);
  EXPECT_THAT(noiseClass, IsOk());
  if (!noiseClass) return nullptr;
  auto noise = (*noiseClass)->CreateObject<RenderNoiseInterface>();
  EXPECT_THAT(noise, IsOk());
  return noise ? *noise : nullptr;
}

inline RenderNoiseRef MakeNoise(const Id& id, Int32 seed, Int32 depth = kNoiseDepth) {
  RenderNoiseRef noise = CreateNoise(id);
  EXPECT_THAT(noise->Init(seed, depth, id), IsOk());
  return noise;
}

// Positions of all kinds: near 0, far away, on lattice planes, negative. The same ones in every run.
inline std::vector<Vector4d32> MakePositions(Int count) {
  std::mt19937 random(7);
  std::uniform_real_distribution<Float32> near(-20, 20);
  std::uniform_real_distribution<Float32> far(-100000, 100000);
  std::vector<Vector4d32> positions;
  for (Int i = 0; i < count; ++i) {
    Vector4d32 p(near(random), near(random), near(random), near(random));
    if (i % 4 == 1) p = Vector4d32(far(random), far(random), far(random), far(random));
    if (i % 4 == 2) p = Vector4d32(p.x, p.y, 0, 0);
    if (i % 4 == 3) p = Vector4d32(std::floor(p.x), p.y, std::floor(p.z), p.w);
    positions.push_back(p);
  }
  return positions;
}

// A test that runs once per noise class.
class EachNoiseTest : public testing::TestWithParam<Id> {};

#define OSTRA_TEST_EACH_NOISE(Suite)                                                 \
  INSTANTIATE_TEST_SUITE_P(, Suite, testing::ValuesIn(::ostra::test::GetNoiseIds()), \
                           [](const auto& noiseInfo) { return std::string(::ostra::GetNoiseName(noiseInfo.param)); })

}  // namespace ostra::test

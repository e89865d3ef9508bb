// Buffers of structs: members of all kinds, two of them with names that a shading language keeps.
#include <cstring>

#include "conformance/comparisons.h"
#include "conformance/program_runner.h"
#include "ostra/core/struct_type.h"
#include "ostra/math/data_types.h"

namespace ostra::conformance {
namespace {

struct Body {
  Vec3<Float32> axis;
  Float32 mass;
};
OSTRA_STRUCT(Body, axis, mass)

struct Particle {
  Vec3<Float32> position;
  UInt32 length;
  Body body;
  SquareMatrix32 frame;
  Int32 cells[3];
  Vec2<UInt32> sample;
  Body others[2];
};
OSTRA_STRUCT(Particle, position, length, body, frame, cells, sample, others)

constexpr UInt32 kElements = 1009;

// Floats are quarters from -8 to 8: products and sums of a few are exact.
std::vector<Particle> MakeParticles() {
  UInt32 state = 1;
  const auto next = [&state] { return (state = state * 1664525u + 1013904223u) >> 8; };
  const auto number = [&] { return static_cast<Float32>(next() % 65) * 0.25f - 8.0f; };
  const auto vector = [&] {
    const Float32 x = number(), y = number(), z = number();
    return Vec3<Float32>(x, y, z);
  };
  std::vector<Particle> particles(kElements);
  for (Particle& particle : particles) {
    particle.position = vector();
    particle.length = next();
    for (Body* body : {&particle.body, &particle.others[0], &particle.others[1]}) *body = {vector(), number()};
    const Vec3<Float32> first = vector(), second = vector(), third = vector();
    particle.frame = SquareMatrix32(first, second, third);
    for (Int32& cell : particle.cells) cell = static_cast<Int32>(next()) - (1 << 23);
    particle.sample = {next(), next()};
  }
  return particles;
}

}  // namespace

std::vector<ConformanceRow> CompareMembers(const Url& kernels) {
  constexpr const char* kGroup = "language";
  constexpr const char* kWhat = "members of structs in buffers";
  const std::vector<Particle> particles = MakeParticles();
  const std::vector<Particle> untouched(kElements);
  std::vector<Byte> results[2];
  for (const Bool isGpu : {false, true}) {
    ProgramRunner runner(isGpu ? kGpuProgramClass : kCpuProgramClass, kernels, "net.ostra.parity.members.krn");
    runner.SetValue<UInt32>("count", kElements);
    runner.SetBuffer("source", particles);
    runner.SetBuffer("target", untouched);
    runner.Run({kElements, 1, 1});
    results[isGpu] = runner.ReadBytes("target");
    if (!runner.GetFailure().empty()) return {MakeFailedRow(kGroup, kWhat, kSameBits, runner.GetFailure())};
  }
  if (results[0].size() != kElements * sizeof(Particle) || results[1].size() != results[0].size())
    return {MakeFailedRow(kGroup, kWhat, kSameBits, "other numbers of results")};
  const auto isStill = [&](const std::vector<Particle>& given) {
    return std::memcmp(results[0].data(), given.data(), results[0].size()) == 0;
  };
  if (isStill(particles) || isStill(untouched)) return {MakeFailedRow(kGroup, kWhat, kSameBits, "nothing was changed")};
  for (std::size_t i = 0; i < results[0].size(); ++i)
    if (results[0][i] != results[1][i])
      return {MakeFailedRow(kGroup, kWhat, kSameBits,
                            "byte " + std::to_string(i % sizeof(Particle)) + " of element " +
                                std::to_string(i / sizeof(Particle)) + " differs")};
  return {{kGroup, kWhat, kSameBits, kSameBits, true}};
}

}  // namespace ostra::conformance

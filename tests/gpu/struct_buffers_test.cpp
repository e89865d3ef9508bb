// Buffers of structs from C++: the application has the structs of the kernel's header.
#include <cstring>

#include "net.example.particles.structs.h"
#include "ostra/core/struct_type.h"
#include "ostra/drawport/cache.h"
#include "ostra/drawport/settings.h"
#include "struct_buffers_test_kernels.h"
#include "tests/gpu/gpu_fixture.h"

namespace mistaken {

struct Body {
  ostra::Vec3<ostra::Float32> axis;
  ostra::UInt32 mass;
  ostra::Vec2<ostra::Float32> spin;
};
OSTRA_STRUCT(Body, axis, mass, spin)

}  // namespace mistaken

namespace shorter {

struct Body {
  ostra::Vec3<ostra::Float32> axis;
  ostra::Float32 mass;
};
OSTRA_STRUCT(Body, axis, mass)

}  // namespace shorter

namespace ostra::test {
namespace {

using kernelstructs::Body;
using kernelstructs::Particle;
using testing::HasSubstr;

constexpr UInt32 kCount = 70;

std::vector<Body> MakeBodies() {
  std::vector<Body> bodies(kCount);
  for (UInt32 i = 0; i < kCount; ++i) {
    const auto number = static_cast<Float32>(i);
    bodies[i] = {Vector32(number, 2, -number), 0.5f * number, Vec2<Float32>(3, number - 7)};
  }
  return bodies;
}

std::vector<Particle> MakeParticles() {
  const std::vector<Body> bodies = MakeBodies();
  std::vector<Particle> particles(kCount);
  for (UInt32 i = 0; i < kCount; ++i) {
    Particle& particle = particles[i];
    std::memset(&particle, 0, sizeof(particle));
    particle.position = Vector32(1, 2, 3);
    particle.frame = SquareMatrix32(Vector32(0, 1, 0), Vector32(-1, 0, 0), Vector32(0, 0, 2));
    particle.id = i;
    particle.body = particle.others[0] = bodies[i];
    particle.cells[0] = static_cast<Int32>(i);
    particle.cells[2] = 100;
    particle.cell = Vec2<UInt32>(5, 6);
  }
  return particles;
}

class StructBuffersTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    auto registry = ClassRegistry::Find(kKernelClassRegistry);
    ASSERT_THAT(registry, IsOk());
    for (const auto& kernel : GetKernels_struct_buffers_test()) {
      const auto kernelClass = kernel.create();
      ASSERT_THAT(kernelClass, IsOk());
      ASSERT_THAT(registry->Insert(*kernelClass), IsOk());
    }
  }
  void TearDown() override { SetDrawportShadingLanguage(kShadingLanguageGlsl); }

  static ParallelProgramRef MakeLoaded(const Id& programClass) {
    ParallelProgramRef program = MakeProgram(programClass);
    if (!program) return nullptr;
    const auto file = Url::Create(OSTRA_TEST_KERNELS "/net.example.particles.krn");
    EXPECT_THAT(file, IsOk());
    EXPECT_THAT(program->AddKernel("particles"_iid, *file, true), IsOk());
    return program;
  }

  template <class Bodies>
  static Result<void> Prepare(ParallelProgramInterface& program, const std::vector<Bodies>& bodies) {
    OSTRA_RETURN_IF_ERROR(program.StoreUniformBufferData("source"_iid, MakeArray(MakeParticles())));
    OSTRA_RETURN_IF_ERROR(program.StoreUniformBufferData("bodies"_iid, MakeArray(bodies)));
    OSTRA_RETURN_IF_ERROR(program.CreateUniformBuffer("target"_iid, GetDataType<Particle>(), kCount));
    for (const InternedId& id : {"source"_iid, "bodies"_iid, "target"_iid})
      OSTRA_RETURN_IF_ERROR(program.SetBufferToActiveKernelSameId(id));
    OSTRA_RETURN_IF_ERROR(program.SetUniform("count"_iid, kCount));
    return program.UpdateUniforms();
  }

  static std::vector<Particle> Run(const Id& programClass) {
    const ParallelProgramRef program = MakeLoaded(programClass);
    if (!program) return {};
    EXPECT_THAT(Prepare(*program, MakeBodies()), IsOk());
    EXPECT_THAT(program->DispatchKernel(kCount, 1, 1, false), IsOk());
    EXPECT_THAT(program->Execute(true), IsOk());
    return ReadBuffer<Particle>(*program, "target"_iid);
  }

  static void ExpectSameBytes(const std::vector<Particle>& some, const std::vector<Particle>& others) {
    ASSERT_EQ(some.size(), others.size());
    EXPECT_EQ(std::memcmp(some.data(), others.data(), some.size() * sizeof(Particle)), 0);
  }
};

TEST_F(StructBuffersTest, TheApplicationReadsTheMembersThatTheKernelWrote) {
  const std::vector<Particle> particles = Run(kCpuProgramClass);
  ASSERT_EQ(particles.size(), kCount);
  const std::vector<Body> bodies = MakeBodies();
  for (UInt32 i = 0; i < kCount; ++i) {
    const Particle& particle = particles[i];
    EXPECT_EQ(particle.position, Vector32(-2, 1, 6));
    EXPECT_EQ(particle.id, i + 1);
    EXPECT_EQ(particle.body.mass, bodies[i].mass * bodies[i].spin.y);
    EXPECT_EQ(particle.body.spin, Vec2<Float32>(0.25f, bodies[i].spin.y));
    EXPECT_EQ(particle.cells[1], static_cast<Int32>(i) - 100);
    EXPECT_EQ(particle.cell, Vec2<UInt32>(6, i + 1));
    EXPECT_EQ(particle.others[0].axis, bodies[i].axis);
    EXPECT_EQ(particle.others[1].axis, bodies[i].axis);
  }
}

TEST_F(StructBuffersTest, TheGpuGivesTheSameBytesInBothLanguages) {
  if (!HasDevice()) GTEST_SKIP() << "There is no GPU device on this machine.";
  const std::vector<Particle> expected = Run(kCpuProgramClass);
  ExpectSameBytes(Run(kGpuProgramClass), expected);
  SetDrawportShadingLanguage(kShadingLanguageHlsl);
  ExpectSameBytes(Run(kGpuProgramClass), expected);
}

TEST_F(StructBuffersTest, AStructWithAnotherMemberIsRefused) {
  const ParallelProgramRef program = MakeLoaded(kCpuProgramClass);
  ASSERT_TRUE(program);
  EXPECT_THAT(
      Prepare(*program, std::vector<mistaken::Body>(kCount)),
      IsErrorContaining(kIllegalArgumentError,
                        "The buffer \"bodies\" of the kernel \"particles\" is declared with elements of type Body and "
                        "was given a buffer of type Body: the member \"mass\" is float32 in the kernel and uint32 in "
                        "the buffer."));
  EXPECT_THAT(Prepare(*program, std::vector<shorter::Body>(kCount)),
              IsErrorContaining(kIllegalArgumentError, ": the buffer has no member \"spin\"."));
  EXPECT_THAT(Prepare(*program, std::vector<Float32>(kCount)),
              IsErrorContaining(kIllegalArgumentError,
                                "is declared with elements of type Body and was given a buffer "
                                "of type float32."));
}

TEST_F(StructBuffersTest, TheGpuRefusesItToo) {
  if (!HasDevice()) GTEST_SKIP() << "There is no GPU device on this machine.";
  const ParallelProgramRef program = MakeLoaded(kGpuProgramClass);
  ASSERT_TRUE(program);
  EXPECT_THAT(Prepare(*program, std::vector<mistaken::Body>(kCount)),
              IsErrorContaining(kIllegalArgumentError,
                                "The kernel's buffer \"bodies\" is declared with elements of type Body and was given a "
                                "buffer of type Body: the member \"mass\" is float32 in the kernel and uint32 in the "
                                "buffer."));
}

}  // namespace
}  // namespace ostra::test

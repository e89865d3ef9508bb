// Every allocation of the front end may fail: the result is the out-of-memory error, and nothing is left behind. The
// whole program allocates through these operators.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

#include "parallelprogram/kernellanguage/front_end.h"

namespace {

std::atomic<long> g_untilFailure{-1};  // allocations that still succeed; below 0: all
std::atomic<long> g_live{0};

void* Allocate(std::size_t size) {
  if (g_untilFailure.load() == 0) return nullptr;
  if (g_untilFailure.load() > 0) --g_untilFailure;
  ++g_live;
  return std::malloc(size == 0 ? 1 : size);
}
void Free(void* memory) {
  if (memory) --g_live;
  std::free(memory);
}

}  // namespace

void* operator new(std::size_t size) {
  if (void* memory = Allocate(size)) return memory;
  throw std::bad_alloc();
}
void* operator new[](std::size_t size) { return operator new(size); }
void operator delete(void* memory) noexcept { Free(memory); }
void operator delete[](void* memory) noexcept { Free(memory); }
void operator delete(void* memory, std::size_t) noexcept { Free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { Free(memory); }

namespace ostra::kernellanguage {
namespace {

constexpr std::string_view kKernel =
    "#define TWICE(x) ((x) * 2.0)\n"
    "#define KERNELINPUTS \\\n(UInt32) count, \\\n(const Block<Vector4d32>) source, \\\n(Block<Float32>) target\n\n"
    "struct P\n{\nvec3 at; float w[2];\n};\n"
    "inline float Grow(INOUT float x, const P p)\n{\nif (x > 1.0) return p.w[0];\nx += 1.0;\nreturn TWICE(x);\n}\n"
    "OSTRA_PARALLEL_KERNEL(T, KERNELINPUTS)\n{\n"
    "uint i = LinearInvocation();\nif (i >= UNIFORM(count)) return;\n"
    "P p = {vec3(0.0, 1.0, 2.0), {1.0, 2}};\nvec4 c = UNIFORM_BUFFER(source)[i];\n"
    "for (int k = 0; k < 4; k++) { float s = c.x; c.y += Grow(s, p); if (c.y > 3.0) break; }\n"
    "switch (int(c.x)) { case 1: c.x = 2.0; break; default: c.x = mix(c.x, c.y, 0.5); }\n"
    "UNIFORM_BUFFER(target)[i] = dot(c, c);\n"
    "}\nOSTRA_PARALLEL_KERNEL_END\n";

void ExpectEveryFailureIsReported(const std::string& text, Bool isUnderstood) {
  const Source source{.fileName = "k.krn", .text = text};
  ASSERT_EQ(AnalyzeKernel(source)->IsUnderstood(), isUnderstood);  // what is made once is made here
  long failures = 0;
  for (Bool hasFailed = true; hasFailed; ++failures) {
    const long liveBefore = g_live;
    {
      g_untilFailure = failures;
      const auto kernel = AnalyzeKernel(source);
      hasFailed = g_untilFailure == 0;
      g_untilFailure = -1;
      if (kernel.IsOk()) {
        ASSERT_EQ(kernel->IsUnderstood(), isUnderstood);
      } else {
        ASSERT_EQ(kernel.GetError().GetKind(), kOutOfMemoryError);
      }
      // The last one may fail without a need for it: a buffer that is only wished for.
      if (kernel.IsOk()) break;
    }
    ASSERT_EQ(g_live, liveBefore) << "allocation " << failures;
  }
  EXPECT_GT(failures, 100);
}

TEST(KernelLanguageMemoryTest, EveryFailedAllocationIsTheOutOfMemoryError) {
  ExpectEveryFailureIsReported(std::string(kKernel), true);
}

TEST(KernelLanguageMemoryTest, SoItIsWhileMistakesAreFound) {
  std::string text(kKernel);
  const std::size_t place = text.find("dot(c, c)");
  text.replace(place, 9, "dot(c, 1.0); c = 3.0; wrong = 4.0; float w = counts; vec3 v = c.xyz");
  ExpectEveryFailureIsReported(text, false);
}

}  // namespace
}  // namespace ostra::kernellanguage

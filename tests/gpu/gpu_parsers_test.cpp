// The parsers that all GPU programs share: who is given which one.
#include <set>
#include <thread>

#include "tests/gpu/calls_fixture.h"

namespace ostra::test {
namespace {

class GpuParsersTest : public GpuCallsTest {
 protected:
  static std::string MakeKernel(int size, int lines = 0) {
    std::string text = "GROUPSIZE(" + std::to_string(size) + ", 1, 1)\n\nOSTRA_PARALLEL_KERNEL(K, KERNELINPUTS)\n{\n";
    for (int i = 0; i < lines; ++i) text += "\tfloat x" + std::to_string(i) + " = UNIFORM(factor) + 1.0;\n";
    return text + "}\nOSTRA_PARALLEL_KERNEL_END\n";
  }
  // The work group size that a parse of the source finds.
  static Int32 FindSize(const KernelSource& source) {
    AtomicInt32 lock;
    const auto parsed = ParseKernel(source, lock);
    EXPECT_THAT(parsed, IsOk());
    return parsed ? parsed->parser->GetWorkGroupSize().x : 0;
  }
};

TEST_F(GpuParsersTest, CallersThatMissTogetherAreGivenOneParser) {
  constexpr int kThreads = 4;
  const Url file = Write("k.krn", MakeKernel(8, 50));
  for (int round = 0; round < 200; ++round) {
    const KernelSource source{file, String(), kTargetGlsl, static_cast<UInt64>(1000 + round)};
    std::atomic<int> ready{0};
    std::vector<StrongRef<ShaderParser>> parsers(kThreads);
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
      threads.emplace_back([&, i] {
        AtomicInt32 lock;  // each program has one of its own
        ++ready;
        while (ready < kThreads) std::this_thread::yield();
        if (auto parsed = ParseKernel(source, lock)) parsers[static_cast<std::size_t>(i)] = parsed->parser;
      });
    }
    for (std::thread& thread : threads) thread.join();
    std::set<const ShaderParser*> different;
    for (const auto& parser : parsers) different.insert(parser.GetPointer());
    ASSERT_EQ(different.size(), 1u) << round;
    ASSERT_TRUE(*different.begin());
  }
  EXPECT_EQ(GetCachedParserCount(), 200);
}

TEST_F(GpuParsersTest, ATranslationIsSharedByKernelsOfOneIdAndFile) {
  const Url file = Write("k.krn", kKernel);
  ASSERT_THAT(program->AddKernel("k"_iid, file, true), IsOk());
  EXPECT_EQ(GetCachedParserCount(), 1);
  const ParallelProgramRef neighbour = *programClass->CreateObject<ParallelProgramInterface>();
  ASSERT_THAT(neighbour->Init(Url(), &context, 0, false), IsOk());
  ASSERT_THAT(neighbour->AddKernel("k"_iid, file, true), IsOk());
  EXPECT_EQ(GetCachedParserCount(), 1);
  // Another ID is another key, as is another stamp.
  ASSERT_THAT(program->CopyKernel("k"_iid, "copy"_iid, true), IsOk());
  EXPECT_EQ(GetCachedParserCount(), 2);
  Write("k.krn", kKernel);
  ASSERT_THAT(neighbour->CopyKernel("k"_iid, "copy"_iid, true), IsOk());
  EXPECT_EQ(GetCachedParserCount(), 3);
}

TEST_F(GpuParsersTest, AnotherFileOfTheSameKeyIsNotTakenForTheFirst) {
  KernelSource one{Write("one.krn", MakeKernel(8)), String(), kTargetGlsl, 77};
  KernelSource two = one;
  two.file = Write("two.krn", MakeKernel(16));
  std::filesystem::last_write_time(folder / "two.krn", std::filesystem::last_write_time(folder / "one.krn"));
  EXPECT_EQ(FindSize(one), 8);
  EXPECT_EQ(FindSize(two), 16);
  EXPECT_EQ(FindSize(one), 8);
  EXPECT_EQ(GetCachedParserCount(), 1);
}

TEST_F(GpuParsersTest, AnotherFileIsNotTakenForTheOneThatIsBeingRead) {
  KernelSource large{Write("large.krn", MakeKernel(8, 60000)), String(), kTargetGlsl, 77};
  KernelSource small = large;
  small.file = Write("small.krn", MakeKernel(16));
  std::filesystem::last_write_time(folder / "small.krn", std::filesystem::last_write_time(folder / "large.krn"));
  for (int round = 0; round < 10; ++round) {
    ResetParserCache();
    std::thread reader([&] { EXPECT_EQ(FindSize(large), 8); });
    while (GetCachedParserCount() == 0) std::this_thread::yield();  // it is in the cache as soon as it is read
    EXPECT_EQ(FindSize(small), 16);
    reader.join();
  }
}

}  // namespace
}  // namespace ostra::test

// Loads a module and with it the host library, and unloads both while workers may still look for work. Whether the
// host library really goes depends on the compiler: some symbols of the standard library pin it with GCC.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <thread>

namespace {

long RunAndUnload() {
  void* module = dlopen(UNLOAD_MODULE, RTLD_NOW | RTLD_LOCAL);
  if (!module) {
    ADD_FAILURE() << dlerror();
    return -1;
  }
  auto run = reinterpret_cast<long (*)()>(dlsym(module, "RunModule"));
  const long sum = run ? run() : -1;
  EXPECT_EQ(dlclose(module), 0);
  return sum;
}

TEST(JobUnloadTest, TheHostLibraryCanBeUnloadedAfterJobsRanAndLoadedAgain) {
  for (int round = 0; round < 30; ++round) EXPECT_EQ(RunAndUnload(), 20000);
}

TEST(JobUnloadTest, UnloadingOnAnotherThreadThanTheFirstOneIsFine) {
  for (int round = 0; round < 10; ++round) {
    std::thread thread([] { EXPECT_EQ(RunAndUnload(), 20000); });
    thread.join();
  }
}

}  // namespace

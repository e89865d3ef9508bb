// Modules and lists of the cache that are not as they were written.
#include "parallelprogram/kernelruntime/compiled_list.h"
#include "tests/tool/kernel_cache_fixture.h"

namespace ostra {
namespace {

using testing::HasSubstr;

class KernelCacheDamageTest : public KernelCacheTest {
 protected:
  static std::string ReadFile(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }
  static void WriteFile(const std::string& file, const std::string& text) {
    std::ofstream(file, std::ios::binary | std::ios::trunc) << text;
  }
  // The module in use: the first one and those that are compiled with precompiled headers have different names.
  std::string GetListedModule() const {
    const auto list = kernelruntime::CompiledList::Parse(ReadFile(GetOnlyFile(".headers")));
    return list ? _folder / "cache/" + list->file : std::string();
  }
  // After damage the kernel is compiled again, once, and computes what it should.
  void ExpectRepair(const std::string& what) {
    EXPECT_EQ(Compute(), std::pair(true, std::string("1\n"))) << what;
    EXPECT_EQ(Compute(), std::pair(false, std::string("1\n"))) << what;
  }
};

TEST_F(KernelCacheDamageTest, ADamagedModuleIsCompiledAgain) {
  Write(MakeKernel("1.0"));
  Compute();
  WriteFile(GetListedModule(), "");
  ExpectRepair("an empty module");
  const std::string whole = ReadFile(GetListedModule());
  WriteFile(GetListedModule(), whole.substr(0, whole.size() / 2));
  ExpectRepair("a module that was cut");
  std::string flipped = ReadFile(GetListedModule());
  flipped[flipped.size() / 3] ^= 1;
  WriteFile(GetListedModule(), flipped);
  ExpectRepair("a module with another bit");
  std::filesystem::remove(GetListedModule());
  ExpectRepair("a missing module");
}

TEST_F(KernelCacheDamageTest, ADamagedListIsWrittenAgain) {
  Write(MakeKernel("1.0"));
  Compute();
  const std::string file = GetOnlyFile(".headers"), whole = ReadFile(file);
  for (const std::string& text : {std::string(), whole.substr(0, 40), whole.substr(0, whole.size() - 20)}) {
    WriteFile(file, text);
    ExpectRepair("a list of " + std::to_string(text.size()) + " bytes");
  }
}

TEST_F(KernelCacheDamageTest, AModuleThatCannotBeLoadedIsCompiledAgain) {
  Write(MakeKernel("1.0"));
  Compute();
  const std::string garbage = "no module at all", listFile = GetOnlyFile(".headers");
  WriteFile(GetOnlyFile(".so"), garbage);
  auto list = kernelruntime::CompiledList::Parse(ReadFile(listFile));
  ASSERT_TRUE(list);
  list->size = static_cast<Int>(garbage.size());
  list->checksum = kernelruntime::MakeChecksum(garbage);
  WriteFile(listFile, list->ToText());
  ExpectRepair("a module that is not one");
}

}  // namespace
}  // namespace ostra

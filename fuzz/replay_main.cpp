// Runs a fuzz target over every file of the folders on the command line. A finding ends the process as it does under
// the fuzzer; an empty corpus is a failure, because it would test nothing.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argumentCount, char** arguments) {
  int files = 0;
  for (int i = 1; i < argumentCount; ++i)
    for (const auto& entry : std::filesystem::directory_iterator(arguments[i])) {
      std::ifstream stream(entry.path(), std::ios::binary);
      const std::vector<char> bytes{std::istreambuf_iterator<char>(stream), {}};
      LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
      ++files;
    }
  std::printf("%d inputs\n", files);
  return files > 0 ? 0 : 1;
}

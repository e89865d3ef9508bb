// Any text through the front step: it must end with a source or an error. The first byte chooses the options.
#include <string>

#include "parallelprogram/kernelfront/kernel_source.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
  ostra::KernelSourceOptions options{.fileName = "k.krn", .classId = "k.krn"};
  if (data[0] & 1) options.templateArgument = "Float32";
  options.isModule = data[0] & 2;
  if (data[0] & 4) {
    // Headers with the rest of the text in them, which may include further ones.
    options.readHeader = [&text](const std::string& name, const std::string&) -> std::optional<ostra::KernelHeader> {
      const std::size_t place = text.find(name);
      return ostra::KernelHeader{name, place == std::string::npos ? text : text.substr(place + name.size())};
    };
  }
  const auto result = ostra::GenerateKernelSource(options, text);
  static_cast<void>(result.IsOk());
  return 0;
}

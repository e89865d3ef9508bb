#include "apps/ostra/kernels/kernel_source.h"

#include <optional>
#include <string>

#include "ostra/io/file.h"
#include "parallelprogram/kernelfront/kernel_source.h"

OSTRA_UNIT("kernel_source");

namespace ostra::tool {

namespace {

Result<String> ReadText(const Url& file) {
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<Byte> bytes, ReadFileToMemory(file));
  auto text = DecodeText(bytes.GetBlock());
  if (!text) return OSTRA_ILLEGAL_ARGUMENT("@ cannot be read: @", file, text.GetError());
  return text;
}

// Headers are looked for beside the file that includes them; what is not there is left to the compiler.
std::optional<KernelHeader> ReadHeader(const std::string& name, const std::string& includingFile) {
  const auto file = Url(String::FromStatic(includingFile.c_str(), includingFile.size())).GetDirectory() + name;
  if (!file || IoDetect(*file) != IODETECT::FILE) return std::nullopt;
  const auto text = ReadText(*file);
  if (!text) return std::nullopt;
  return KernelHeader{std::string(file->GetView()), std::string(text->GetView())};
}

}  // namespace

Result<String> ReadKernelSource(const Url& kernelFile) {
  OSTRA_ASSIGN_OR_RETURN(const String text, ReadText(kernelFile));
  const String classId = kernelFile.GetName();
  KernelSourceOptions options;
  options.fileName = kernelFile.GetView();
  options.classId = classId.GetView();
  options.isModule = true;
  options.readHeader = ReadHeader;
  return GenerateKernelSource(options, text.GetView());
}

}  // namespace ostra::tool

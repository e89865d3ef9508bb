#include "apps/ostra/kernels/kernel_source.h"

#include <optional>
#include <string>

#include "apps/ostra/encode/source_file.h"
#include "ostra/io/file.h"
#include "parallelprogram/kernelfront/kernel_source.h"

OSTRA_UNIT("kernel_source");

namespace ostra::tool {

namespace {

// Headers are looked for beside the file that includes them; what is not there is left to the compiler. `failure`
// keeps why a header that is there could not be read, which the compiler would not tell.
std::optional<KernelHeader> ReadHeader(const std::string& name, const std::string& includingFile,
                                       Result<void>& failure) {
  const auto file = Url(String::FromStatic(includingFile.c_str(), includingFile.size())).GetDirectory() + name;
  if (!file || IoDetect(*file) != IODETECT::FILE) return std::nullopt;
  auto text = ReadSourceText(*file);
  if (!text) {
    failure = text.TakeError();
    return std::nullopt;
  }
  return KernelHeader{std::string(file->GetView()), std::string(text->GetView())};
}

}  // namespace

Result<String> ReadKernelSource(const Url& kernelFile) {
  OSTRA_ASSIGN_OR_RETURN(const String text, ReadSourceText(kernelFile));
  const String classId = kernelFile.GetName();
  Result<void> headers = OK;
  KernelSourceOptions options;
  options.fileName = kernelFile.GetView();
  options.classId = classId.GetView();
  options.isModule = true;
  options.readHeader = [&headers](const std::string& name, const std::string& includingFile) {
    return ReadHeader(name, includingFile, headers);
  };
  auto source = GenerateKernelSource(options, text.GetView());
  OSTRA_RETURN_IF_ERROR(std::move(headers));
  return source;
}

}  // namespace ostra::tool

#include "apps/ostra/kernels/kernel_source.h"

#include <optional>
#include <string>

#include "apps/ostra/encode/source_file.h"
#include "ostra/io/file.h"
#include "parallelprogram/kernelfront/kernel_source.h"

OSTRA_UNIT("kernel_source");

namespace ostra::tool {

namespace {

// Headers are looked for beside the file that includes them; what is not there is left to the compiler.
class HeaderReader {
 public:
  std::optional<KernelHeader> Read(const std::string& name, const std::string& includingFile) {
    const auto file = Url(String::FromStatic(includingFile.c_str(), includingFile.size())).GetDirectory() + name;
    if (!file || IoDetect(*file) != IODETECT::FILE) return std::nullopt;
    const auto source = ReadSourceText(*file);
    if (!source) {
      _failure = source.GetError();
      return std::nullopt;
    }
    _hasEncodedFiles |= source->isEncoded;
    return KernelHeader{std::string(file->GetView()), std::string(source->text.GetView())};
  }

  // Why a header that is there could not be read, which the compiler would not tell.
  const Result<void>& GetFailure() const { return _failure; }
  Bool HasEncodedFiles() const { return _hasEncodedFiles; }

 private:
  Result<void> _failure = OK;
  Bool _hasEncodedFiles = false;
};

}  // namespace

Result<KernelSource> ReadKernelSource(const Url& kernelFile, std::string_view templateArgument) {
  OSTRA_ASSIGN_OR_RETURN(const SourceText source, ReadSourceText(kernelFile));
  const String classId = kernelFile.GetName();
  HeaderReader headers;
  KernelSourceOptions options;
  options.fileName = kernelFile.GetView();
  options.classId = classId.GetView();
  options.templateArgument = templateArgument;
  options.isModule = true;
  options.readHeader = [&headers](const std::string& name, const std::string& includingFile) {
    return headers.Read(name, includingFile);
  };
  auto text = GenerateKernelSource(options, source.text.GetView());
  if (!headers.GetFailure()) return headers.GetFailure().GetError();
  if (!text) return text.TakeError();
  return KernelSource{std::move(*text), source.isEncoded || headers.HasEncodedFiles()};
}

}  // namespace ostra::tool

// The headers of a kernel file as the front end asks for them: those beside the file that includes them.
//
//   KernelHeaders headers([](const Url& file) { return ReadSourceFile(file, LineEnds::LineFeeds); });
//   options.readHeader = headers.GetReader();              // `headers` must outlive the options
//   const auto source = GenerateKernelSource(options, text);
//   OSTRA_RETURN_IF_ERROR(headers.GetFailure());
//
// For one thread.
#pragma once

#include <functional>

#include "parallelprogram/kernelfront/kernel_source.h"
#include "parallelprogram/shaderparser/source_file.h"

namespace ostra {

class KernelHeaders {
 public:
  using ReadFile = std::function<Result<SourceFile>(const Url& file)>;
  explicit KernelHeaders(ReadFile readFile) : _readFile(std::move(readFile)) {}
  KernelHeaders(const KernelHeaders&) = delete;
  KernelHeaders& operator=(const KernelHeaders&) = delete;

  // A header that is not beside the file is left to the compiler.
  decltype(KernelSourceOptions::readHeader) GetReader();
  // Why a header that is there could not be read, which the compiler would not tell.
  const Result<void>& GetFailure() const { return _failure; }
  Bool HasEncodedFiles() const { return _hasEncodedFiles; }

 private:
  std::optional<KernelHeader> Read(const std::string& name, const std::string& includingFile);

  const ReadFile _readFile;
  Result<void> _failure = OK;
  Bool _hasEncodedFiles = false;
};

// Calls `use(options, text)` with the text of the kernel file and what the front end needs to read it; the result is
// its own. Errors: those of reading the file; of `use`. Thread-safe.
template <class Use>
auto ReadForFrontEnd(const Url& file, std::string_view templateArgument, Use&& use)
    -> decltype(use(std::declval<const KernelSourceOptions&>(), std::string_view())) {
  const auto read = [](const Url& source) { return ReadSourceFile(source, LineEnds::LineFeeds); };
  OSTRA_ASSIGN_OR_RETURN(const SourceFile source, read(file));
  KernelHeaders headers(read);
  KernelSourceOptions options;
  options.fileName = file.GetView();
  options.templateArgument = templateArgument;
  options.isHidden = source.isEncoded;
  options.readHeader = headers.GetReader();
  return use(options, source.text.GetView());
}

}  // namespace ostra

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

}  // namespace ostra

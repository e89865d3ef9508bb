#include "parallelprogram/device/kernel_headers.h"

namespace ostra {

decltype(KernelSourceOptions::readHeader) KernelHeaders::GetReader() {
  return [this](const std::string& name, const std::string& includingFile) { return Read(name, includingFile); };
}

std::optional<KernelHeader> KernelHeaders::Read(const std::string& name, const std::string& includingFile) {
  const auto file = Url(String::FromStatic(includingFile.c_str(), includingFile.size())).GetDirectory() + name;
  if (!file || IoDetect(*file) != IODETECT::FILE) return std::nullopt;
  const auto source = _readFile(*file);
  if (!source) {
    _failure = source.GetError();
    return std::nullopt;
  }
  _hasEncodedFiles |= source->isEncoded;
  return KernelHeader{std::string(file->GetView()), std::string(source->text.GetView()), source->isEncoded};
}

}  // namespace ostra

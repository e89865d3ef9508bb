#include "parallelprogram/kernelruntime/source_text.h"

#include <filesystem>

#include "ostra/core/nearest_word.h"
#include "ostra/core/printable_text.h"
#include "ostra/io/file.h"
#include "parallelprogram/shaderparser/container.h"
#include "parallelprogram/shaderparser/source_file.h"

OSTRA_UNIT("source_file");

namespace ostra::kernelruntime {

namespace {

namespace fs = std::filesystem;

Error MakeReadError(const Url& file, const Error& reason) {
  if (reason.GetKind() == kOutOfMemoryError) return reason;
  return MakeError(reason.GetKind(), kOstraUnit, __LINE__, "@ cannot be read: @", file, reason);
}

}  // namespace

Result<void> CheckSourceName(const Url& file) {
  if (!HasControlCharacters(file.GetView())) return OK;
  return OSTRA_ILLEGAL_ARGUMENT("@ cannot be read: names of source files are UTF-8 without control characters.", file);
}

std::string FindSimilarFile(const Url& file) {
  if (!CheckSourceName(file) || IoDetect(file) != IODETECT::NONE) return {};
  const fs::path path(std::string(file.GetPath().GetView()));
  const std::string name = path.filename();
  std::string similar;
  Int best = 3;
  std::error_code code;
  for (const fs::directory_entry& entry :
       fs::directory_iterator(path.has_parent_path() ? path.parent_path() : ".", code)) {
    if (!entry.is_regular_file(code)) continue;
    const std::string candidate = entry.path().filename();
    const Bool isLonger = candidate.ends_with("." + name) || candidate.starts_with(name + ".");
    const Int distance = isLonger ? 1 : GetEditDistance(name, candidate);
    // Of short names nothing would be left.
    if (distance >= best || 3 * distance > static_cast<Int>(path.stem().native().size())) continue;
    best = distance;
    similar = (path.parent_path() / candidate).native();
  }
  return similar;
}

Result<BaseArray<Byte>> ReadSourceBytes(const Url& file, Bool mayBePipe) {
  OSTRA_RETURN_IF_ERROR(CheckSourceName(file));
  auto bytes = ReadFileToMemory(file, {kMaxTextFileSize, mayBePipe});
  if (bytes || bytes.GetError().GetKind() == kOutOfMemoryError) return bytes;
  const std::string similar = FindSimilarFile(file);
  if (similar.empty()) return bytes;
  std::string_view message = bytes.GetError().GetMessage();
  if (message.ends_with('.')) message.remove_suffix(1);
  return MakeError(bytes.GetError().GetKind(), kOstraUnit, __LINE__, "@; did you mean \"@\"?", message, similar);
}

Result<void> DecodeSourceFile(const Url& file, BaseArray<Byte>& bytes) {
  auto decoded = DecodeContainer(bytes);
  if (!decoded) return MakeReadError(file, decoded.GetError());
  return OK;
}

Result<SourceText> ReadSourceText(const Url& file) {
  OSTRA_ASSIGN_OR_RETURN(BaseArray<Byte> bytes, ReadSourceBytes(file));
  const Bool isEncoded = IsContainer(bytes.GetBlock());
  OSTRA_RETURN_IF_ERROR(DecodeSourceFile(file, bytes));
  auto text = DecodeText(bytes.GetBlock());
  if (!text) return MakeReadError(file, text.GetError());
  OSTRA_ASSIGN_OR_RETURN(String lines, NormalizeLineEnds(std::move(*text)));
  return SourceText{std::move(lines), isEncoded};
}

}  // namespace ostra::kernelruntime

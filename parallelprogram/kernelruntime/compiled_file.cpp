#include "parallelprogram/kernelruntime/compiled_file.h"

#include "ostra/core/format.h"
#include "ostra/io/file.h"
#include "ostra/io/mapped_file.h"
#include "ostra/io/private_files.h"
#include "ostra/io/temporary_file.h"
#include "parallelprogram/kernelruntime/cache_trim.h"
#include "parallelprogram/kernelruntime/compiled_list.h"
#include "parallelprogram/kernelruntime/dependencies.h"
#include "parallelprogram/kernelruntime/header_state.h"

OSTRA_UNIT("compiled_file");

namespace ostra::kernelruntime {

namespace {

namespace fs = std::filesystem;

Block<const Byte> BytesOf(std::string_view text) {
  return {reinterpret_cast<const Byte*>(text.data()), static_cast<Int>(text.size())};
}

// Nothing when the file cannot be read.
std::optional<std::string> ReadText(const fs::path& file) {
  const auto url = Url::Create(file.native());
  const auto bytes = url ? ReadFileToMemory(*url) : Result<BaseArray<Byte>>(url.GetError());
  if (!bytes) return std::nullopt;
  return std::string(reinterpret_cast<const char*>(bytes->GetFirst()), static_cast<std::size_t>(bytes->GetCount()));
}

// Fills in the size and the checksum of a file; false when it cannot be read.
Bool Measure(const fs::path& path, CompiledList& list) {
  const auto file = MappedFile::Open(path.c_str());
  if (!file) return false;
  const Block<const Byte> bytes = file->GetBytes();
  list.size = bytes.GetCount();
  list.checksum =
      MakeChecksum({reinterpret_cast<const char*>(bytes.GetFirst()), static_cast<std::size_t>(bytes.GetCount())});
  return true;
}

// The name of a file that was made with the headers as they are now. Error: a header is gone.
Result<std::string> MakeFileName(const CompiledFileKey& key, const std::vector<std::string>& headers) {
  CacheKey named = key.key;
  OSTRA_RETURN_IF_ERROR(AddHeaderState(named, headers, key.headerFolder));
  return named.ToText() + key.fileSuffix;
}

}  // namespace

fs::path CompiledFileKey::GetListPath() const { return folder->GetPath() / (key.ToText() + listSuffix); }

Result<std::optional<CompiledFile>> FindCompiledFile(const CompiledFileKey& key) {
  const std::optional<CompiledFile> nothing;
  if (!key.folder) return nothing;
  const fs::path listPath = key.GetListPath();
  OSTRA_RETURN_IF_ERROR(CheckTrustedFile(listPath.native()));
  const auto text = ReadText(listPath);
  auto list = text ? CompiledList::Parse(*text) : std::nullopt;
  if (!list) return nothing;
  const auto name = MakeFileName(key, list->headers);
  if (!name || *name != list->file) return nothing;
  const fs::path path = key.folder->GetPath() / *name;
  OSTRA_RETURN_IF_ERROR(CheckTrustedFile(path.native()));
  CompiledList found;
  if (!Measure(path, found) || found.size != list->size || found.checksum != list->checksum) return nothing;
  MarkCacheFileUsed(path);
  MarkCacheFileUsed(listPath);
  return std::optional(CompiledFile{path, std::move(list->headers)});
}

Result<fs::path> KeepCompiledFile(const CompiledFileKey& key, const fs::path& file, std::vector<std::string> headers,
                                  Int start) {
  CompiledList list;
  list.headers = std::move(headers);
  OSTRA_ASSIGN_OR_RETURN(list.file, MakeFileName(key, list.headers));
  if (list.headers.empty() || HasChangedSince(list.headers, start))
    return OSTRA_ILLEGAL_STATE("a header changed while the kernel was compiled");
  // For the owner alone, and on the disk before its name is.
  OSTRA_RETURN_IF_ERROR(SyncPrivateFile(file.native()));
  if (!Measure(file, list)) return OSTRA_ILLEGAL_STATE("the compiled file cannot be read");
  const fs::path kept = key.folder->GetPath() / list.file;
  std::error_code code;
  fs::rename(file, kept, code);
  if (code) return OSTRA_ILLEGAL_STATE("@ cannot be written: @", kept.native(), code.message());
  if (auto written = WritePrivateFile(key.GetListPath().native(), BytesOf(list.ToText()), true); !written) {
    fs::rename(kept, file, code);
    return written.TakeError();
  }
  return kept;
}

std::vector<std::string> ReadHeaderList(const fs::path& dependencyFile, const fs::path& workFolder) {
  const auto text = ReadText(dependencyFile);
  std::vector<std::string> headers = text ? ParseDependencies(*text) : std::vector<std::string>();
  std::erase_if(headers, [&](const std::string& file) {
    return file == kStandardInputFile || file.starts_with(workFolder.native() + "/");
  });
  return headers;
}

}  // namespace ostra::kernelruntime

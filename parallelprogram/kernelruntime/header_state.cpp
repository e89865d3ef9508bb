#include "parallelprogram/kernelruntime/header_state.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>

#include "ostra/core/format.h"
#include "ostra/core/split_text.h"
#include "ostra/io/file.h"

OSTRA_UNIT("header_state");

namespace ostra::kernelruntime {

namespace {

// Lists of folders that come before the compiler's own.
constexpr const char* kHeaderFolders[] = {"CPATH", "CPLUS_INCLUDE_PATH"};
constexpr const char* kOtherFolders[] = {"C_INCLUDE_PATH",
                                         "OBJC_INCLUDE_PATH",
                                         "OBJCPLUS_INCLUDE_PATH",
                                         "COMPILER_PATH",
                                         "LIBRARY_PATH",
                                         "LD_RUN_PATH",
                                         "GCC_EXEC_PREFIX",
                                         "SDKROOT",
                                         "CLANG_CONFIG_FILE_SYSTEM_DIR",
                                         "CLANG_CONFIG_FILE_USER_DIR"};
constexpr const char* kOptions[] = {"CCC_OVERRIDE_OPTIONS",
                                    "CCC_ADD_ARGS",
                                    "CL",
                                    "_CL_",
                                    "GCC_COMPARE_DEBUG",
                                    "GNUTARGET",
                                    "LDEMULATION",
                                    "SOURCE_DATE_EPOCH",
                                    "CLANG_NO_DEFAULT_CONFIG",
                                    "MACOSX_DEPLOYMENT_TARGET"};

Bool AddVariable(CacheKey& key, const char* name) {
  const char* value = std::getenv(name);
  if (!value) return false;
  key.Add(name);
  key.Add(value);
  return true;
}

// Also an empty element, which means the current folder.
Bool HasRelativeElement(std::string_view list) {
  for (const std::string_view element : SplitText(list, ':'))
    if (!element.starts_with('/')) return true;
  return false;
}

Bool IsIn(const std::string& file, const std::string& folder) {
  return file.size() > folder.size() && file.starts_with(folder) && file[folder.size()] == '/';
}

std::vector<std::string> GetFirstSearchedFolders() {
  std::vector<std::string> folders;
  for (const char* name : kHeaderFolders) {
    const char* value = std::getenv(name);
    if (!value || !*value) continue;
    for (const std::string_view folder : SplitText(value, ':')) folders.emplace_back(folder.empty() ? "." : folder);
  }
  return folders;
}

// A header a/b/c.h may have been included as c.h, b/c.h or a/b/c.h: what lies under these names in `folder`.
void AddNamesakes(CacheKey& key, const std::string& header, const std::string& folder) {
  for (std::size_t slash = header.rfind('/'); slash != std::string::npos && slash > 0;
       slash = header.rfind('/', slash - 1)) {
    const std::string file = folder + header.substr(slash);
    std::error_code code;
    if (std::filesystem::exists(file, code)) key.Add(file);
  }
}

}  // namespace

void AddCompilerEnvironment(CacheKey& key, const std::vector<std::string>& command) {
  Bool dependsOnFolder = false;
  const auto addFolders = [&](const char* name) {
    if (AddVariable(key, name)) dependsOnFolder |= HasRelativeElement(std::getenv(name));
  };
  std::for_each(std::begin(kHeaderFolders), std::end(kHeaderFolders), addFolders);
  std::for_each(std::begin(kOtherFolders), std::end(kOtherFolders), addFolders);
  for (const char* name : kOptions) dependsOnFolder |= AddVariable(key, name);
  for (const std::string& word : command) dependsOnFolder |= word.starts_with('-') || word.starts_with('@');
  std::error_code code;
  if (dependsOnFolder) key.Add(std::filesystem::current_path(code).native());
}

Result<void> AddHeaderState(CacheKey& key, const std::vector<std::string>& headers,
                            const std::string& frameworkFolder) {
  const std::vector<std::string> folders = GetFirstSearchedFolders();
  for (const std::string& header : headers) {
    key.Add(header);
    if (IsIn(header, frameworkFolder)) {
      OSTRA_ASSIGN_OR_RETURN(const Url file, Url::Create(header));
      OSTRA_RETURN_IF_ERROR(key.AddFile(file));
      continue;
    }
    std::error_code code;
    const auto size = std::filesystem::file_size(header, code);
    if (code) return OSTRA_ILLEGAL_STATE("The header @ is missing.", header);
    key.Add(std::to_string(size) + " " + std::to_string(GetModificationTime(header)));
    for (const std::string& folder : folders) AddNamesakes(key, header, folder);
  }
  return OK;
}

Int GetModificationTime(const std::string& file) {
  const auto url = Url::Create(file);
  const auto stamp = url ? GetModificationStamp(*url) : Result<UInt64>(url.GetError());
  return stamp ? static_cast<Int>(*stamp) : 0;
}

Bool HasChangedSince(const std::vector<std::string>& headers, Int start) {
  // Files with a time in the future were not written just now.
  const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch());
  const Int end = std::chrono::nanoseconds(now + std::chrono::seconds(1)).count();
  return std::any_of(headers.begin(), headers.end(), [&](const std::string& header) {
    const Int time = GetModificationTime(header);
    return time > start && time <= end;
  });
}

}  // namespace ostra::kernelruntime

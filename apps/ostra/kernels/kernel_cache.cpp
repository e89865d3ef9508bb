#include "apps/ostra/kernels/kernel_cache.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <vector>

#include "apps/ostra/kernels/cache_key.h"
#include "apps/ostra/kernels/cache_trim.h"
#include "apps/ostra/kernels/compiler.h"
#include "apps/ostra/kernels/dependencies.h"
#include "apps/ostra/kernels/header_folder.h"
#include "apps/ostra/kernels/kernel_flags.h"
#include "apps/ostra/kernels/kernel_source.h"
#include "apps/ostra/kernels/nameless_file.h"
#include "apps/ostra/output/progress.h"
#include "ostra/core/format.h"
#include "ostra/io/file.h"

OSTRA_UNIT("kernel_cache");

namespace ostra::tool {

namespace {

namespace fs = std::filesystem;

Block<const Byte> BytesOf(std::string_view text) {
  return {reinterpret_cast<const Byte*>(text.data()), static_cast<Int>(text.size())};
}

Result<Url> MakeUrl(const fs::path& path) { return Url::Create(path.native()); }

// A folder that is there and belongs to the user.
Result<fs::path> OpenCacheFolder(const std::string& chosen) {
  const char* cache = std::getenv("XDG_CACHE_HOME");
  const char* home = std::getenv("HOME");
  fs::path folder = chosen;
  if (folder.empty() && cache && *cache) folder = fs::path(cache) / "ostra";
  if (folder.empty() && home && *home) folder = fs::path(home) / ".cache" / "ostra";
  if (folder.empty())
    return OSTRA_ILLEGAL_STATE("There is no home folder for compiled kernels; name a folder with --cache-dir.");
  std::error_code code;
  fs::create_directories(folder, code);
  if (!fs::is_directory(folder, code) || access(folder.c_str(), W_OK) != 0)
    return OSTRA_ILLEGAL_STATE(
        "The folder @ for compiled kernels cannot be written; name another one with --cache-dir.", folder.native());
  return folder;
}

std::vector<std::string> MakeFlags(const std::string& headerFolder, const KernelModuleOptions& options) {
  std::vector<std::string> flags = {"-std=c++20", "-shared",          "-fPIC", "-fvisibility=hidden", "-march=native",
                                    "-DNDEBUG",   "-I" + headerFolder};
  for (const char* group : {"all", options.isFast ? "fast" : "exact"}) {
    for (std::string& flag : GetKernelFlags(group)) flags.push_back(std::move(flag));
  }
  if (options.isChecked) flags.emplace_back("-DOSTRA_CHECK_KERNEL_INDICES");
  return flags;
}

// Everything about a module that is known before it is compiled.
struct Recipe {
  fs::path folder;  // of the cache
  Compiler compiler;
  std::vector<std::string> flags;
  KernelSource source;
  CacheKey key;

  // The list of the framework's headers that the source uses.
  fs::path GetListFile() const { return folder / (key.ToText() + ".headers"); }
};

Result<Recipe> MakeRecipe(const KernelModuleOptions& options) {
  Recipe recipe;
  OSTRA_ASSIGN_OR_RETURN(recipe.source, ReadKernelSource(options.kernelFile));
  OSTRA_ASSIGN_OR_RETURN(recipe.folder, OpenCacheFolder(options.cacheFolder));
  OSTRA_ASSIGN_OR_RETURN(recipe.compiler, FindCompiler());
  OSTRA_ASSIGN_OR_RETURN(const std::string headerFolder, FindHeaderFolder());
  recipe.flags = MakeFlags(headerFolder, options);
  recipe.key.Add(recipe.source.text);
  recipe.key.Add(recipe.compiler.stamp);
  for (const std::string& flag : recipe.flags) recipe.key.Add(flag);
  recipe.key.AddProcessor();
  return recipe;
}

// Where a module lies that was made with the headers as they are now. Error: a header is gone.
Result<fs::path> GetModuleFile(const Recipe& recipe, const std::vector<std::string>& headers) {
  CacheKey key = recipe.key;
  for (const std::string& header : headers) {
    key.Add(header);
    OSTRA_ASSIGN_OR_RETURN(const Url file, Url::Create(header));
    OSTRA_RETURN_IF_ERROR(key.AddFile(file));
  }
  return recipe.folder / (key.ToText() + ".so");
}

std::optional<fs::path> FindModule(const Recipe& recipe) {
  const auto listFile = MakeUrl(recipe.GetListFile());
  const auto list = listFile ? ReadFileToMemory(*listFile) : Result<BaseArray<Byte>>(listFile.GetError());
  if (!list) return std::nullopt;
  auto file = GetModuleFile(recipe, SplitLines({reinterpret_cast<const char*>(list->GetFirst()),
                                                static_cast<std::size_t>(list->GetCount())}));
  std::error_code code;
  if (!file || !fs::exists(*file, code)) return std::nullopt;
  TouchCacheFile(*file);
  TouchCacheFile(recipe.GetListFile());
  return std::move(*file);
}

// A folder for one compilation, removed at the end.
class WorkFolder {
 public:
  explicit WorkFolder(const fs::path& cacheFolder) : _path((cacheFolder / "work_XXXXXX").native()) {
    if (!mkdtemp(_path.data())) _path.clear();
  }
  WorkFolder(const WorkFolder&) = delete;
  WorkFolder& operator=(const WorkFolder&) = delete;
  ~WorkFolder() {
    std::error_code code;
    if (!_path.empty()) fs::remove_all(_path, code);
  }
  Bool Exists() const { return !_path.empty(); }
  fs::path operator/(const char* name) const { return fs::path(_path) / name; }

 private:
  std::string _path;
};

Result<void> RunCompiler(const Recipe& recipe, const WorkFolder& folder, const Url& kernelFile) {
  // The source of an encoded kernel must not be left behind, even if this process is ended while the compiler runs.
  OSTRA_ASSIGN_OR_RETURN(const NamelessFile source, NamelessFile::Create(folder / "", recipe.source.text));
  std::vector<std::string> command = recipe.compiler.command;
  command.insert(command.end(), recipe.flags.begin(), recipe.flags.end());
  command.insert(command.end(), {"-MMD", "-MF", (folder / "kernel.d").native(), "-o", (folder / "kernel.so").native(),
                                 "-x", "c++", kStandardInputFile});
  if (recipe.source.hasEncodedFiles) {
    OSTRA_ASSIGN_OR_RETURN(const std::string noExcerpts, FindSwitchAgainstExcerpts(recipe.compiler));
    command.push_back(noExcerpts);
  }
  const Progress progress("compiling " + std::string(kernelFile.GetName().GetView()), 0);
  OSTRA_ASSIGN_OR_RETURN(const CommandResult result, RunCommand(command, source.GetDescriptor()));
  if (result.exitStatus != 0) return OSTRA_ILLEGAL_ARGUMENT("@@ does not compile.", result.output, kernelFile);
  return OK;
}

// Moves the module to its place, and then the list through which it is found.
Result<fs::path> KeepModule(const Recipe& recipe, const WorkFolder& folder) {
  OSTRA_ASSIGN_OR_RETURN(const Url dependencyFile, MakeUrl(folder / "kernel.d"));
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<Byte> dependencies, ReadFileToMemory(dependencyFile));
  std::vector<std::string> headers = ParseDependencies(
      {reinterpret_cast<const char*>(dependencies.GetFirst()), static_cast<std::size_t>(dependencies.GetCount())});
  std::erase(headers, kStandardInputFile);
  OSTRA_ASSIGN_OR_RETURN(const fs::path file, GetModuleFile(recipe, headers));
  std::error_code code;
  fs::rename(folder / "kernel.so", file, code);
  if (code) return OSTRA_ILLEGAL_STATE("@ cannot be written: @.", file.native(), code.message());
  std::string list;
  for (const std::string& header : headers) list += header + "\n";
  OSTRA_ASSIGN_OR_RETURN(const Url listFile, MakeUrl(recipe.GetListFile()));
  OSTRA_RETURN_IF_ERROR(WriteFileAtomically(listFile, BytesOf(list)));
  TrimCache(recipe.folder);
  return file;
}

}  // namespace

Result<KernelModule> MakeKernelModule(const KernelModuleOptions& options) {
  OSTRA_ASSIGN_OR_RETURN(const Recipe recipe, MakeRecipe(options));
  const std::string classId(options.kernelFile.GetName().GetView());
  if (const auto cached = FindModule(recipe)) return KernelModule{cached->native(), classId, false};
  const WorkFolder folder(recipe.folder);
  if (!folder.Exists())
    return OSTRA_ILLEGAL_STATE(
        "The folder @ for compiled kernels cannot be written; name another one with --cache-dir.",
        recipe.folder.native());
  OSTRA_RETURN_IF_ERROR(RunCompiler(recipe, folder, options.kernelFile));
  OSTRA_ASSIGN_OR_RETURN(const fs::path file, KeepModule(recipe, folder));
  return KernelModule{file.native(), classId, true};
}

}  // namespace ostra::tool

#include "apps/ostra/kernels/kernel_cache.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <optional>
#include <vector>

#include "apps/ostra/kernels/cache_folder.h"
#include "apps/ostra/kernels/cache_key.h"
#include "apps/ostra/kernels/cache_trim.h"
#include "apps/ostra/kernels/compiler.h"
#include "apps/ostra/kernels/compiler_report.h"
#include "apps/ostra/kernels/dependencies.h"
#include "apps/ostra/kernels/header_folder.h"
#include "apps/ostra/kernels/header_state.h"
#include "apps/ostra/kernels/kernel_flags.h"
#include "apps/ostra/kernels/kernel_source.h"
#include "apps/ostra/kernels/module_list.h"
#include "apps/ostra/kernels/nameless_file.h"
#include "apps/ostra/output/progress.h"
#include "apps/ostra/output/standard_output.h"
#include "ostra/core/format.h"
#include "ostra/io/file.h"
#include "ostra/io/private_files.h"

OSTRA_UNIT("kernel_cache");

namespace ostra::tool {

namespace {

namespace fs = std::filesystem;

Block<const Byte> BytesOf(std::string_view text) {
  return {reinterpret_cast<const Byte*>(text.data()), static_cast<Int>(text.size())};
}

Result<Url> MakeUrl(const fs::path& path) { return Url::Create(path.native()); }

std::vector<std::string> MakeFlags(const std::string& headerFolder, const KernelModuleOptions& options) {
  std::vector<std::string> flags = {"-std=c++20", "-shared",          "-fPIC", "-fvisibility=hidden", "-march=native",
                                    "-DNDEBUG",   "-I" + headerFolder};
  for (const char* group : {"all", options.isFast ? "fast" : "exact"}) {
    for (std::string& flag : GetKernelFlags(group)) flags.push_back(std::move(flag));
  }
  if (options.isChecked) {
    for (const char* flag : {"-DOSTRA_CHECK_KERNEL_INDICES", "-DOSTRA_CHECK_KERNEL_ARRAYS", "-fsanitize=bounds",
                             "-fno-sanitize-recover=bounds"})
      flags.emplace_back(flag);
  }
  return flags;
}

// Everything about a module that is known before it is compiled.
struct Recipe {
  CacheFolder cache;
  Compiler compiler;
  std::string headerFolder;
  std::vector<std::string> flags;
  KernelSource source;
  CacheKey key;

  // The list of the headers that the source uses; only with a cache.
  fs::path GetListFile() const { return cache.folder->GetPath() / (key.ToText() + ".headers"); }
};

Result<Recipe> MakeRecipe(const KernelModuleOptions& options) {
  Recipe recipe;
  OSTRA_ASSIGN_OR_RETURN(recipe.source, ReadKernelSource(options.kernelFile, options.templateArgument));
  OSTRA_ASSIGN_OR_RETURN(recipe.cache, OpenCacheFolder(options.cacheFolder));
  OSTRA_ASSIGN_OR_RETURN(recipe.compiler, FindCompiler());
  OSTRA_ASSIGN_OR_RETURN(recipe.headerFolder, FindHeaderFolder());
  recipe.flags = MakeFlags(recipe.headerFolder, options);
  recipe.key.Add(recipe.source.text);
  recipe.key.Add(recipe.compiler.stamp);
  AddCompilerEnvironment(recipe.key, recipe.compiler.command);
  for (const std::string& flag : recipe.flags) recipe.key.Add(flag);
  recipe.key.AddProcessor();
  return recipe;
}

// The name of a module that was made with the headers as they are now. Error: a header is gone.
Result<std::string> GetModuleName(const Recipe& recipe, const std::vector<std::string>& headers) {
  CacheKey key = recipe.key;
  OSTRA_RETURN_IF_ERROR(AddHeaderState(key, headers, recipe.headerFolder));
  return key.ToText() + ".so";
}

// Nothing when the file cannot be read.
std::optional<std::string> ReadText(const fs::path& file) {
  const auto url = MakeUrl(file);
  const auto bytes = url ? ReadFileToMemory(*url) : Result<BaseArray<Byte>>(url.GetError());
  if (!bytes) return std::nullopt;
  return std::string(reinterpret_cast<const char*>(bytes->GetFirst()), static_cast<std::size_t>(bytes->GetCount()));
}

// The same for a file of the cache. Error: others may have written it.
Result<std::optional<std::string>> ReadCacheFile(const fs::path& file) {
  OSTRA_RETURN_IF_ERROR(CheckTrustedFile(file.native()));
  return ReadText(file);
}

// Nothing when there is no module, or when it is not as it was written. Error: others may have written it.
Result<std::optional<fs::path>> FindModule(const Recipe& recipe) {
  const std::optional<fs::path> nothing;
  if (!recipe.cache.folder) return nothing;
  OSTRA_ASSIGN_OR_RETURN(const auto text, ReadCacheFile(recipe.GetListFile()));
  const auto list = text ? ModuleList::Parse(*text) : std::nullopt;
  if (!list) return nothing;
  const auto name = GetModuleName(recipe, list->headers);
  if (!name || *name != list->module) return nothing;
  const fs::path file = recipe.cache.folder->GetPath() / *name;
  OSTRA_ASSIGN_OR_RETURN(const auto module, ReadCacheFile(file));
  if (!module || static_cast<Int>(module->size()) != list->size || MakeChecksum(*module) != list->checksum)
    return nothing;
  TouchCacheFile(file);
  TouchCacheFile(recipe.GetListFile());
  return std::optional(file);
}

Result<void> RunCompiler(const Recipe& recipe, const WorkFolder& folder, const Url& kernelFile) {
  // The source of an encoded kernel must not be left behind, even if this process is ended while the compiler runs.
  OSTRA_ASSIGN_OR_RETURN(const NamelessFile source, NamelessFile::Create(folder / "", recipe.source.text));
  std::vector<std::string> command = recipe.compiler.command;
  command.insert(command.end(), recipe.flags.begin(), recipe.flags.end());
  command.insert(command.end(), {"-MD", "-MF", (folder / "kernel.d").native(), "-o", (folder / "kernel.so").native(),
                                 "-x", "c++", kStandardInputFile});
  if (recipe.source.hasEncodedFiles) {
    OSTRA_ASSIGN_OR_RETURN(const std::string noExcerpts, FindSwitchAgainstExcerpts(recipe.compiler));
    command.push_back(noExcerpts);
  }
  const std::vector<std::string> switches = FindMessageSwitches(recipe.compiler);
  command.insert(command.end(), switches.begin(), switches.end());
  const Progress progress("compiling " + std::string(kernelFile.GetName().GetView()), 0);
  OSTRA_ASSIGN_OR_RETURN(const CommandResult result,
                         RunCommand(command, source.GetDescriptor(), folder.GetPath().native()));
  if (result.exitStatus != 0)
    return OSTRA_ILLEGAL_ARGUMENT("@@ does not compile.", CleanCompilerReport(result.output), kernelFile);
  return OK;
}

// On the disk, and for the owner alone.
Result<void> FinishFile(const fs::path& path) {
  const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (file.IsOpen() && fchmod(file.Get(), S_IRUSR | S_IWUSR) == 0 && fsync(file.Get()) == 0) return OK;
  return OSTRA_ILLEGAL_STATE("@ cannot be written: @.", path.native(), std::strerror(errno));
}

// Moves the module to its place, and then the list through which it is found. `start`: when the compiler was started.
Result<fs::path> KeepModule(const Recipe& recipe, const WorkFolder& folder, Int start) {
  if (!folder.GetReason().empty()) return OSTRA_ILLEGAL_STATE("@", folder.GetReason());
  ModuleList list;
  if (const auto dependencies = ReadText(folder / "kernel.d")) list.headers = ParseDependencies(*dependencies);
  std::erase(list.headers, kStandardInputFile);
  OSTRA_ASSIGN_OR_RETURN(list.module, GetModuleName(recipe, list.headers));
  if (list.headers.empty() || HasChangedSince(list.headers, start))
    return OSTRA_ILLEGAL_STATE("a header changed while the kernel was compiled");
  OSTRA_RETURN_IF_ERROR(FinishFile(folder / "kernel.so"));
  const auto module = ReadText(folder / "kernel.so");
  if (!module) return OSTRA_ILLEGAL_STATE("the compiled module cannot be read");
  list.size = static_cast<Int>(module->size());
  list.checksum = MakeChecksum(*module);
  const fs::path file = recipe.cache.folder->GetPath() / list.module;
  std::error_code code;
  fs::rename(folder / "kernel.so", file, code);
  if (code) return OSTRA_ILLEGAL_STATE("@ cannot be written: @", file.native(), code.message());
  if (auto written = WritePrivateFile(recipe.GetListFile().native(), BytesOf(list.ToText()), true); !written) {
    fs::rename(file, folder / "kernel.so", code);
    return written.TakeError();
  }
  TrimCache(recipe.cache.folder->GetPath());
  return file;
}

}  // namespace

Result<KernelModule> MakeKernelModule(const KernelModuleOptions& options) {
  OSTRA_ASSIGN_OR_RETURN(const Recipe recipe, MakeRecipe(options));
  const std::string classId(options.kernelFile.GetName().GetView());
  if (!options.isCompiledAgain) {
    OSTRA_ASSIGN_OR_RETURN(const auto cached, FindModule(recipe));
    if (cached) return KernelModule{cached->native(), classId, false, recipe.cache.folder, nullptr};
  }
  OSTRA_ASSIGN_OR_RETURN(auto folder, WorkFolder::Create(recipe.cache));
  const Int start = GetModificationTime(folder->GetPath());
  OSTRA_RETURN_IF_ERROR(RunCompiler(recipe, *folder, options.kernelFile));
  auto kept = KeepModule(recipe, *folder, start);
  if (kept) return KernelModule{kept->native(), classId, true, recipe.cache.folder, nullptr};
  WriteErrorLine("note: the compiled kernel is not kept: " + std::string(kept.GetError().GetMessage().GetView()));
  return KernelModule{(*folder / "kernel.so").native(), classId, true, nullptr, std::move(folder)};
}

Result<KernelModule> LoadKernelModule(const KernelModuleOptions& options, Host& host) {
  OSTRA_ASSIGN_OR_RETURN(KernelModule module, MakeKernelModule(options));
  auto loaded = host.LoadModule(module.path);
  if (!loaded && !module.wasCompiled) {
    KernelModuleOptions again = options;
    again.isCompiledAgain = true;
    OSTRA_ASSIGN_OR_RETURN(module, MakeKernelModule(again));
    loaded = host.LoadModule(module.path);
  }
  if (!loaded) return loaded.TakeError();
  // Loaded code needs no name: nothing is left behind if the process is killed later.
  module.unkept = nullptr;
  return module;
}

}  // namespace ostra::tool

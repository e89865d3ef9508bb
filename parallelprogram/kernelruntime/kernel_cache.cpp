#include "parallelprogram/kernelruntime/kernel_cache.h"

#include <filesystem>
#include <optional>
#include <vector>

#include "ostra/core/format.h"
#include "ostra/io/temporary_file.h"
#include "ostra/process/command.h"
#include "parallelprogram/kernelruntime/cache_folder.h"
#include "parallelprogram/kernelruntime/cache_key.h"
#include "parallelprogram/kernelruntime/cache_trim.h"
#include "parallelprogram/kernelruntime/compiled_file.h"
#include "parallelprogram/kernelruntime/compiler.h"
#include "parallelprogram/kernelruntime/compiler_report.h"
#include "parallelprogram/kernelruntime/header_folder.h"
#include "parallelprogram/kernelruntime/header_state.h"
#include "parallelprogram/kernelruntime/kernel_flags.h"
#include "parallelprogram/kernelruntime/opened_kernel.h"
#include "parallelprogram/kernelruntime/precompiled_header.h"

OSTRA_UNIT("kernel_cache");

namespace ostra::kernelruntime {

namespace {

namespace fs = std::filesystem;

std::vector<std::string> MakeFlags(const std::string& headerFolder, const KernelModuleOptions& options,
                                   Bool isCheckedByCompiler) {
  std::vector<std::string> flags = {"-std=c++20",    "-fPIC",    "-fvisibility=hidden",
                                    "-march=native", "-DNDEBUG", "-I" + headerFolder};
  for (const char* group : {"all", options.isFast ? "fast" : "exact"}) {
    for (std::string& flag : GetKernelFlags(group)) flags.push_back(std::move(flag));
  }
  if (isCheckedByCompiler) {
    for (const char* flag : {"-DOSTRA_CHECK_KERNEL_INDICES", "-DOSTRA_CHECK_KERNEL_ARRAYS", "-fsanitize=bounds",
                             "-fno-sanitize-recover=bounds"})
      flags.emplace_back(flag);
  }
  // The last one of several -O counts.
  if (options.isDebugged) flags.insert(flags.end(), {"-O0", "-g", "-DOSTRA_KERNEL_IS_STEPPED"});
  return flags;
}

// A kernel takes functions of the C and C++ libraries from the process, which has them loaded; GCC would read those
// libraries for longer than the rest of linking takes.
std::vector<std::string> GetLinkSwitches(CompilerFamily family) {
  if (family == CompilerFamily::kGcc) return {"-shared", "-nodefaultlibs", "-lgcc"};
  return {"-shared"};
}

// Tells the observer of the options when a step begins and ends.
class Step {
 public:
  Step(const KernelModuleOptions& options, KernelBuildStep step) : _observer(options.observer), _step(step) {
    if (_observer) _observer->Begin(step, options.kernelFile);
  }
  Step(const Step&) = delete;
  Step& operator=(const Step&) = delete;
  ~Step() {
    if (_observer) _observer->End(_step);
  }

 private:
  KernelBuildObserver* const _observer;
  const KernelBuildStep _step;
};

// Everything about a module that is known before it is compiled.
struct Recipe {
  CacheFolder cache;
  Compiler compiler;
  std::vector<std::string> command;  // the compiler with all that kernels have in common
  std::vector<std::string> linkSwitches;
  KernelSource source;
  CompiledFileKey module;
  std::optional<PrecompiledHeader> header;
};

Result<Recipe> MakeRecipe(const KernelModuleOptions& options) {
  Recipe recipe;
  {
    const Step step(options, KernelBuildStep::kFrontEnd);
    const KernelReportSwitches reports = {options.isSilent, options.isChecked && !options.isDebugged, options.isTraced};
    const KernelFile kernel{options.kernelFile, options.templateArgument, options.classId, options.text};
    OSTRA_ASSIGN_OR_RETURN(recipe.source,
                           options.opened ? options.opened->MakeSource(reports) : ReadKernelSource(kernel, reports));
  }
  OSTRA_ASSIGN_OR_RETURN(recipe.cache, OpenCacheFolder(options.cacheFolder, options.cacheSetting));
  OSTRA_ASSIGN_OR_RETURN(recipe.compiler, FindCompiler());
  OSTRA_ASSIGN_OR_RETURN(const std::string headerFolder, FindHeaderFolder());
  const CompilerFamily family = FindFamily(recipe.compiler);
  recipe.command = recipe.compiler.command;
  const Bool isCheckedByCompiler = options.isChecked && !recipe.source.isChecked;
  for (const auto& switches : {MakeFlags(headerFolder, options, isCheckedByCompiler), GetMessageSwitches(family)})
    recipe.command.insert(recipe.command.end(), switches.begin(), switches.end());
  CacheKey key;
  key.Add(recipe.compiler.stamp);
  AddCompilerEnvironment(key, recipe.compiler.command);
  for (const std::string& word : recipe.command) key.Add(word);
  key.AddProcessor();
  // Debuggers look for the kernel file from there.
  std::error_code code;
  if (options.isDebugged) key.Add(fs::current_path(code).native());
  recipe.header.emplace(CompiledFileKey{recipe.cache.folder, key, headerFolder, ".pch", ".prelude"}, family,
                        recipe.command);
  recipe.linkSwitches = GetLinkSwitches(family);
  for (const std::string& word : recipe.linkSwitches) key.Add(word);
  key.Add(recipe.source.text);
  recipe.module = {recipe.cache.folder, key, headerFolder, ".so", ".headers"};
  return recipe;
}

Result<void> RunCompiler(const Recipe& recipe, const WorkFolder& folder, const Url& kernelFile,
                         const std::vector<std::string>& headerSwitches) {
  // The source of an encoded kernel must not be left behind, even if this process is ended while the compiler runs.
  OSTRA_ASSIGN_OR_RETURN(const TemporaryFile source, TemporaryFile::Create(folder / "", recipe.source.text));
  std::vector<std::string> command = recipe.command;
  command.insert(command.end(), headerSwitches.begin(), headerSwitches.end());
  command.insert(command.end(), {"-MD", "-MF", (folder / "kernel.d").native(), "-o", (folder / "kernel.so").native(),
                                 "-x", "c++", kStandardInputFile});
  command.insert(command.end(), recipe.linkSwitches.begin(), recipe.linkSwitches.end());
  if (recipe.source.hasEncodedFiles) {
    OSTRA_ASSIGN_OR_RETURN(const std::string noExcerpts, FindSwitchAgainstExcerpts(recipe.compiler));
    command.push_back(noExcerpts);
  }
  OSTRA_ASSIGN_OR_RETURN(const CommandResult result,
                         RunCommand(command, source.GetDescriptor(), folder.GetPath().native()));
  if (result.exitStatus != 0)
    return OSTRA_ILLEGAL_ARGUMENT("@@ does not compile.", CleanCompilerReport(result.output), kernelFile);
  return OK;
}

// Makes "kernel.so" in the folder and returns the headers that went into it.
Result<std::vector<std::string>> Compile(const Recipe& recipe, const WorkFolder& folder,
                                         const KernelModuleOptions& options) {
  const Step step(options, KernelBuildStep::kCompile);
  const Url& kernelFile = options.kernelFile;
  PrecompiledHeader::Use header = recipe.header->Prepare(folder);
  auto compiled = RunCompiler(recipe, folder, kernelFile, header.switches);
  if (!compiled && !header.switches.empty()) {
    // Messages are those of a compilation without it.
    header = {};
    compiled = RunCompiler(recipe, folder, kernelFile, {});
    if (compiled) recipe.header->Refuse();
  }
  if (!compiled) return compiled.TakeError();
  std::vector<std::string> headers = ReadHeaderList(folder / "kernel.d", folder.GetPath());
  // Compilers may name the precompiled header, and need not name what is in it.
  for (const std::string& word : header.switches) std::erase(headers, word);
  headers.insert(headers.end(), header.headers.begin(), header.headers.end());
  return headers;
}

Result<fs::path> KeepModule(const Recipe& recipe, const WorkFolder& folder, std::vector<std::string> headers,
                            Int start) {
  if (!folder.GetReason().empty()) return OSTRA_ILLEGAL_STATE("@", folder.GetReason());
  OSTRA_ASSIGN_OR_RETURN(fs::path file,
                         KeepCompiledFile(recipe.module, folder / "kernel.so", std::move(headers), start));
  recipe.header->Note();
  TrimCache(recipe.cache.folder->GetPath());
  return file;
}

}  // namespace

Result<KernelModule> MakeKernelModule(const KernelModuleOptions& options) {
  OSTRA_ASSIGN_OR_RETURN(const Recipe recipe, MakeRecipe(options));
  const std::string classId =
      options.classId.empty() ? std::string(options.kernelFile.GetName().GetView()) : options.classId;
  if (!options.isCompiledAgain) {
    OSTRA_ASSIGN_OR_RETURN(const auto cached, FindCompiledFile(recipe.module));
    if (cached) return KernelModule{cached->path.native(), classId, false, recipe.cache.folder, nullptr};
  }
  OSTRA_ASSIGN_OR_RETURN(auto folder, WorkFolder::Create(recipe.cache));
  const Int start = GetModificationTime(folder->GetPath());
  OSTRA_ASSIGN_OR_RETURN(std::vector<std::string> headers, Compile(recipe, *folder, options));
  auto kept = KeepModule(recipe, *folder, std::move(headers), start);
  if (kept) return KernelModule{kept->native(), classId, true, recipe.cache.folder, nullptr};
  const std::string_view cause = kept.GetError().GetMessage();
  if (options.observer) options.observer->Note("the compiled kernel is not kept: " + std::string(cause));
  return KernelModule{(*folder / "kernel.so").native(), classId, true, nullptr, std::move(folder)};
}

Result<KernelModule> LoadKernelModule(const KernelModuleOptions& options, Host& host) {
  OSTRA_ASSIGN_OR_RETURN(KernelModule module, MakeKernelModule(options));
  const auto load = [&](const KernelModule& made) {
    const Step step(options, KernelBuildStep::kLoad);
    return host.LoadModule(made.path);
  };
  auto loaded = load(module);
  if (!loaded && !module.wasCompiled) {
    KernelModuleOptions again = options;
    again.isCompiledAgain = true;
    OSTRA_ASSIGN_OR_RETURN(module, MakeKernelModule(again));
    loaded = load(module);
  }
  if (!loaded) return loaded.TakeError();
  // Loaded code needs no name: nothing is left behind if the process is killed later.
  if (!options.isDebugged) module.unkept = nullptr;
  return module;
}

}  // namespace ostra::kernelruntime

// Kernel files as loadable modules: compiled once, then found again.
//
//   OSTRA_ASSIGN_OR_RETURN(KernelModule module, LoadKernelModule({.kernelFile = file}, host));
//   // the kernel class module.classId is registered
//
// A cached module is found by what it was made from: the kernel file with its headers, the options, the compiler with
// its environment, the processor and all headers that the compiler read. Its size and checksum stand in a list beside
// it; a module that is not as it was written is compiled again. Several processes may use one cache at once: modules
// and lists are written beside and renamed. The cache may be deleted at any time; the modules that were used longest
// ago are removed from it. Where no cache can be written, modules are made in a folder for temporary files.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "ostra/host.h"
#include "ostra/io/url.h"
#include "parallelprogram/kernelruntime/kernel_runtime.h"
#include "parallelprogram/kernelruntime/work_folder.h"

namespace ostra::kernelruntime {

class OpenedKernel;

struct KernelModuleOptions {
  Url kernelFile;
  std::string classId = {};                                         // empty: the name of the kernel file
  std::optional<std::string> text = {};                             // of the kernel; nothing: what stands in the file
  std::string cacheFolder;                                          // empty: $XDG_CACHE_HOME/ostra, else ~/.cache/ostra
  std::string cacheSetting = "KernelRuntimeSettings::cacheFolder";  // what messages call the way to choose it
  // Lets the compiler reorder floating-point arithmetic: faster, and the last bits differ.
  Bool isFast = false;
  // Lets the kernel end the process with a message at an index outside of a buffer, an array or the layers of a
  // texture.
  Bool isChecked = false;
  // Leaves out PRINT and ASSERT.
  Bool isSilent = false;
  // Records the values that one invocation writes (program/kernel_report_interface.h).
  Bool isTraced = false;
  // Makes a module that debuggers step through: without optimisation, one invocation after the other.
  Bool isDebugged = false;
  // Compiles the kernel though the cache has a module of it.
  Bool isCompiledAgain = false;
  std::string templateArgument = {};  // takes the place of TYPE
  KernelBuildObserver* observer = nullptr;
  // The kernel, opened as the options say; null: it is opened.
  const OpenedKernel* opened = nullptr;
};

struct KernelModule {
  std::string path;  // valid as long as this object lives
  std::string classId;
  Bool wasCompiled = false;                  // false: it was in the cache
  std::shared_ptr<const OpenFolder> cache;   // where `path` lies,
  std::shared_ptr<const WorkFolder> unkept;  // or the folder of a module that is not kept
};

// Errors: those of reading the file; illegal argument with "file:line: error: ..." for a text that is no kernel;
// illegal argument with the compiler's messages, which name lines of the kernel file; illegal state without a
// compiler, without the framework's headers, for a cache that others may write to, or without any folder that can be
// written.
Result<KernelModule> MakeKernelModule(const KernelModuleOptions& options);

// Makes the module and loads it. A cached one that cannot be loaded is compiled again, once. The file of a module that
// is not kept is gone, unless it is debugged. Errors: the same, and those of Host::LoadModule.
Result<KernelModule> LoadKernelModule(const KernelModuleOptions& options, Host& host);

}  // namespace ostra::kernelruntime

// Kernel files as loadable modules: compiled once, then found again.
//
//   OSTRA_ASSIGN_OR_RETURN(KernelModule module, MakeKernelModule({.kernelFile = file}));
//   host.LoadModule(module.path);                   // registers the kernel class module.classId
//
// A cached module is found by what it was made from: the kernel file with its headers, the options, the compiler, the
// processor and the framework's headers. Several processes may use one cache at once: modules are written beside and
// renamed. The cache may be deleted at any time; the modules that were used longest ago are removed from it by and by.
#pragma once

#include <string>

#include "ostra/io/url.h"

namespace ostra::tool {

struct KernelModuleOptions {
  Url kernelFile;
  std::string cacheFolder;  // empty: $XDG_CACHE_HOME/ostra, else ~/.cache/ostra
  // Lets the compiler reorder floating-point arithmetic: faster, and the last bits differ.
  Bool isFast = false;
  // Lets the kernel end the process with a message at an index outside of a buffer.
  Bool isChecked = false;
};

struct KernelModule {
  std::string path;
  std::string classId;       // the name of the kernel file
  Bool wasCompiled = false;  // false: it was in the cache
};

// Errors: those of reading the file; illegal argument with "file:line: error: ..." for a text that is no kernel;
// illegal argument with the compiler's messages, which name lines of the kernel file; illegal state without a
// compiler, without the framework's headers, or without a folder that can be written.
Result<KernelModule> MakeKernelModule(const KernelModuleOptions& options);

}  // namespace ostra::tool

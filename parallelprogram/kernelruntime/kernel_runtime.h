// KernelRuntime: kernel files and kernel texts become kernel classes while a program runs.
//
//   OSTRA_ASSIGN_OR_RETURN(KernelRuntime runtime, KernelRuntime::Create(host));
//   OSTRA_ASSIGN_OR_RETURN(const LoadedKernel blur, runtime.Load(Url("net.example.blur.krn"_s)));
//   OSTRA_RETURN_IF_ERROR(program->AddKernel("blur"_iid, blur.GetUrl(), true));      // a CPU program
//
// A kernel is compiled by the system's C++ compiler, once: modules are kept in a cache folder on disk and found by
// all that they were made from. Loading a kernel again gives the same class as long as nothing has changed. After an
// edit it gives a new class; programs that have the old one go on with it, until they add the new one.
//
// Link ostra::kernelruntime. The module "parallelprogram" must be loaded.
#pragma once

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ostra/host.h"
#include "ostra/io/url.h"

namespace ostra {

// What happens while a kernel is loaded, for those who show progress. Called by the thread that loads; steps do not lie
// in each other.
enum class KernelBuildStep { kFrontEnd, kCompile, kLoad };

class KernelBuildObserver {
 public:
  virtual ~KernelBuildObserver() = default;
  virtual void Begin(KernelBuildStep step, const Url& kernelFile) = 0;
  virtual void End(KernelBuildStep step) = 0;
  // A sentence without its period on what does not work, though the kernel does: say, that the cache is full.
  virtual void Note(std::string_view text) = 0;
};

struct KernelRuntimeSettings {
  // Where compiled kernels are kept. It must belong to this user alone. Empty: $XDG_CACHE_HOME/ostra, else
  // ~/.cache/ostra; where neither can be written, kernels are compiled for each process.
  std::string cacheFolder = {};
  // Lets the compiler reorder floating-point arithmetic: faster, and the last bits differ from those of a GPU.
  Bool isFast = false;
  // Lets kernels check indices, divisors and loops: a dispatch fails with what is wrong (KernelReportOptions). Kernels
  // with C++ of their own end the process with a message at an index outside of a buffer or an array.
  Bool isChecked = false;
  // Refuses kernels with C++ of their own.
  Bool isOfLanguageAlone = false;
  KernelBuildObserver* observer = nullptr;  // outlives the runtime
};

// A kernel class that is registered as long as the host runs. A value.
class LoadedKernel {
 public:
  // The name of the class, which is that of the file; of a later version "net.example.blur-2.krn".
  const String& GetClassId() const { return _classId; }
  // What ParallelProgramInterface::AddKernel of a CPU program takes.
  Url GetUrl() const { return Url(_classId); }
  // How many axes of its position an invocation looks at, 1 to 3: what a dispatch has at least to be meant. Nothing for
  // a kernel that hands its position on whole.
  std::optional<Int> GetAxisCount() const { return _traits->axisCount; }
  // Whether a parameter is declared as a buffer that the kernel may write. False for other names.
  Bool MayWrite(std::string_view parameter) const;
  // Whether the C++ compiler has run: the module was not in the cache.
  Bool WasCompiled() const { return _wasCompiled; }
  // Kernels are equal when they have one class: nothing has changed between two calls of Load.
  friend Bool operator==(const LoadedKernel& a, const LoadedKernel& b) { return a._classId == b._classId; }

 private:
  friend class KernelRuntime;
  struct Traits {
    std::optional<Int> axisCount;
    std::vector<std::string> writable;
  };
  LoadedKernel(String classId, std::shared_ptr<const Traits> traits, Bool wasCompiled)
      : _classId(std::move(classId)), _traits(std::move(traits)), _wasCompiled(wasCompiled) {}

  String _classId;
  std::shared_ptr<const Traits> _traits;
  Bool _wasCompiled;
};

inline Bool LoadedKernel::MayWrite(std::string_view parameter) const {
  return std::find(_traits->writable.begin(), _traits->writable.end(), parameter) != _traits->writable.end();
}

// Used by the thread that made the host, which it does not outlive. Nothing is thrown; a failed call changes nothing.
class OSTRA_API KernelRuntime {
 public:
  // Errors: illegal state when the module "parallelprogram" is not loaded; out of memory.
  static Result<KernelRuntime> Create(Host& host, KernelRuntimeSettings settings = {});
  KernelRuntime(KernelRuntime&&) noexcept;
  KernelRuntime& operator=(KernelRuntime&&) noexcept;
  ~KernelRuntime();

  // The kernel in a file; `templateArgument` takes the place of TYPE in it. Takes as long as reading the file when
  // neither it nor a header beside it has changed since the last call. Errors: those of reading the file; illegal
  // argument with "file:line:column: error: ...", the line and a caret for a text that is no kernel, and with the
  // compiler's messages, which name lines of the kernel file; the same with what is not of the language where the
  // settings refuse it; illegal state without a C++ compiler, without the framework's headers, and for a cache folder
  // that other users may write to; out of memory.
  Result<LoadedKernel> Load(const Url& file, std::string_view templateArgument = {});
  // The kernel in a text, in UTF-8. `name` stands for the file in messages and gives the class its name; headers are
  // looked for beside it. Errors: the same.
  Result<LoadedKernel> LoadText(std::string_view name, std::string_view text, std::string_view templateArgument = {});

 private:
  class Implementation;
  explicit KernelRuntime(std::unique_ptr<Implementation> implementation);

  std::unique_ptr<Implementation> _implementation;
};

}  // namespace ostra

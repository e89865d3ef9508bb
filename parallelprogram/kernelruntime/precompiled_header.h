// The headers of kernels, compiled ahead: a compiler loads them in a tenth of the time that it takes to read them.
//
// One is kept in the cache for each compiler with its environment and options, and used as long as the headers in it
// are as they were. The first kernel leaves a note (Note), and with the second one it is made. Everything works
// without: nothing here is an error of the kernel.
#pragma once

#include <string>
#include <vector>

#include "parallelprogram/kernelruntime/compiled_file.h"
#include "parallelprogram/kernelruntime/compiler.h"
#include "parallelprogram/kernelruntime/work_folder.h"

namespace ostra::kernelruntime {

class PrecompiledHeader {
 public:
  struct Use {
    std::vector<std::string> switches;  // with which the compiler loads it; none: it is not used
    std::vector<std::string> headers;   // those that are in it
  };

  // `command`: the compiler with all switches that kernels are compiled with.
  PrecompiledHeader(CompiledFileKey key, CompilerFamily family, std::vector<std::string> command);

  // Finds it in the cache, or makes it. Not used where there is no cache, with compilers that are neither GCC nor Clang
  // by name, before Note, after Refuse and where it cannot be made. Valid as long as `folder` and the cache are open.
  Use Prepare(const WorkFolder& folder) const;
  // A kernel was compiled without it: with the next one it is made.
  void Note() const;
  // It cannot be made, or kernels only compile without it: it is not made any more for this compiler and these options.
  void Refuse() const;

 private:
  Bool IsPossible() const { return _key.folder && _family != CompilerFamily::kUnknown; }
  Result<CompiledFile> Make(const WorkFolder& folder) const;

  CompiledFileKey _key;
  CompilerFamily _family;
  std::vector<std::string> _command;
};

}  // namespace ostra::kernelruntime

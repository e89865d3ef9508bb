// The check of one file: lints, translation, assembly and compilation for each target.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "apps/ostra/check/cpu_compiler.h"
#include "apps/ostra/check/metal_compiler.h"
#include "plans/lints/findings.h"
#include "plans/lints/lint_file.h"
#include "plans/translate/translation.h"

namespace ostra::tool {

// A file for one target. Made in two steps: the first writes diagnostics and runs for one file at a time, the second
// may run beside others.
struct TargetCheck {
  Id target;
  plans::Translation translation;
  std::optional<ShaderRecords> records;
  std::optional<AssembledShader> assembled;
  plans::Findings findings;
  Bool isRefused = false;  // for what FileCheck::mistakes says
};

struct FileCheck {
  std::string file;
  Bool isStage = false;                // of a graphics program
  String source;                       // deciphered
  std::optional<WrittenSource> plain;  // what is translated in its place
  plans::Findings findings;
  std::optional<kernelruntime::KernelSource> cpuSource;  // to be compiled for the CPU
  plans::Findings cpuFindings;
  // What the front end of the language finds wrong with a kernel. It stands for what compilers say of it.
  std::optional<Error> mistakes;
  std::string lanes;  // "file: note: ...": whether the kernel has a wide form; empty unless it was asked for
  std::vector<TargetCheck> targets;
};

struct CheckOptions {
  std::vector<std::string> files;
  std::vector<Id> targets;  // languages of GPUs
  Bool isForCpu = true;     // kernels are compiled for the CPU as well
  Bool areNamed = false;    // the user asked for these targets, and for no others
  std::optional<std::string> templateArgument;
  std::optional<Int32> multisampling;
  Bool isExplained = false;  // whether kernels have wide forms is said
  // "original", "translated" or "assembled": texts to show; empty for none.
  std::string shown;
};

// Reads, lints, translates and assembles. What is wrong is in the findings. A file whose lines break a rule that CPU
// and GPU share gets no other findings: they would be about what follows from it, elsewhere. Error: out of memory.
Result<FileCheck> PrepareCheck(const CheckOptions& options, const std::string& file);

// Everything that was found. Mistakes that the front end has found stand for what compilers say, and for all else about
// their lines. When every other target takes the kernel they carry the mark " [CPU]" and stand for nothing else.
plans::Findings CollectFindings(const FileCheck& check, const CheckOptions& options);

// Compiles what was assembled; Metal text only with a compiler for it. Errors: those of running compilers.
Result<void> CompileTarget(TargetCheck& check, const FileCheck& file, const MetalCompiler* metal);

}  // namespace ostra::tool

// The front step: turns a kernel file into the C++ source of a kernel class.
//
//   KernelSourceOptions options{.fileName = "net.example.blur.krn", .classId = "net.example.blur.krn"};
//   OSTRA_ASSIGN_OR_RETURN(String source, GenerateKernelSource(options, text));
//
// The source includes parallelprogram/program/kernel_language.h and ends with OSTRA_KERNEL_ENTRY (kernel_entry.h), or
// is a whole plug-in module. Lines keep their place (#line), so that compiler messages and debuggers show the kernel
// file. What changes on the way: the parameters become a struct, the kernel a class, INOUT, inout and out parameters of
// functions references, "0.5" a Float32, and headers beside the kernel file are put in where they are included.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ostra/core/format.h"
#include "ostra/core/source_message.h"

namespace ostra {

struct KernelHeader {
  std::string path;  // for messages; two headers with the same path are the same header
  std::string text;
  Bool isHidden = false;  // messages name its lines and show none
};

struct KernelSourceOptions {
  // How messages, debuggers and the compiler name the file.
  std::string_view fileName = "kernel.krn";
  // ID of the class, as a rule the file's whole name. Letters, digits, '.', '_' and '-'.
  std::string_view classId = {};
  // What TYPE stands for; empty: TYPE stays.
  std::string_view templateArgument = {};
  // Makes the source of a plug-in module with this one kernel class.
  Bool isModule = false;
  // Leaves out the wide form: C++ for as many invocations at a time as the processor has lanes, which kernels have that
  // the front end understands.
  Bool isScalar = false;
  // Leaves out PRINT and ASSERT, with all that they compute.
  Bool isSilent = false;
  // Checks indices, divisions and steps of loops (kernellanguage/plain_checks.h) of a kernel that the front end
  // understands.
  Bool isChecked = false;
  // Records the values that one invocation writes (kernellanguage/plain_traces.h).
  Bool isTraced = false;
  // Messages name the lines of the file and show none.
  Bool isHidden = false;
  // Finds the header that `includingFile` names in quotes. Nothing: the #include stays for the compiler.
  std::function<std::optional<KernelHeader>(const std::string& name, const std::string& includingFile)> readHeader = {};
};

struct PlainKernel;  // plain_kernel.h

// A parameter as it is declared.
struct KernelParameterText {
  std::string type, name;  // "const Block<Float32>", "source"
};

// KernelSourceOptions has the same.
struct KernelReportSwitches {
  Bool isSilent = false;
  Bool isChecked = false;
  Bool isTraced = false;
  friend bool operator==(const KernelReportSwitches&, const KernelReportSwitches&) = default;
};

// A kernel file that was read and analyzed once, for everything that is made of it. The functions are those below.
//
//   OSTRA_ASSIGN_OR_RETURN(const KernelReading kernel, KernelReading::Create(options, text));
//   OSTRA_ASSIGN_OR_RETURN(const auto plain, kernel.MakePlainKernel());
//   OSTRA_ASSIGN_OR_RETURN(const String source, kernel.GenerateSource());
//
// `options.readHeader` must stay callable as long as the object is used. Copies share what was read; for one thread at
// a time.
class KernelReading {
 public:
  // Error: out of memory. What is wrong with the kernel the other functions say.
  static Result<KernelReading> Create(const KernelSourceOptions& options, std::string_view text);

  // The same kernel with other switches than those of `options`.
  KernelReading WithReports(const KernelReportSwitches& switches) const;

  Result<String> GenerateSource() const;
  Result<String> GenerateStructHeader() const;
  Result<String> GenerateClientHeader() const;
  Result<std::vector<KernelParameterText>> ListParameters() const;
  Result<void> FindMistakes() const;
  // Error: illegal argument with what the front end of the language does not understand: such a kernel has neither
  // checks nor traces. Nothing is said of mistakes.
  Result<void> CheckLanguage() const;
  Result<std::optional<SourceMessage>> ExplainLineRules() const;
  Result<String> ExplainLanes() const;
  Result<std::optional<Int>> CountNoises() const;
  Result<std::optional<PlainKernel>> MakePlainKernel() const;

 private:
  struct State;
  KernelReading(std::shared_ptr<State> state, const KernelReportSwitches& switches)
      : _state(std::move(state)), _switches(switches) {}
  KernelSourceOptions GetOptions() const;
  template <class Use>
  auto Read(Use&& use) const;
  template <class Printer>
  Result<String> Print(Printer&& print) const;

  std::shared_ptr<State> _state;
  KernelReportSwitches _switches;
};

// The C++ source of the kernel file `text`. Errors: illegal argument with "file:line:column: error: what is wrong",
// the line and a caret (kernellanguage/diagnostic.h), for mistakes inside of bodies with all that were found; out of
// memory. What the front end of the language does not understand the compiler reports. Thread-safe.
Result<String> GenerateKernelSource(const KernelSourceOptions& options, std::string_view text);

// A header of C++ with the structs that lie in the kernel's buffers, in the namespace ostra::kernelstructs. Errors:
// those of GenerateKernelSource. Thread-safe.
Result<String> GenerateStructHeader(const KernelSourceOptions& options, std::string_view text);

// A header of C++ through which clients call the kernel: a struct of its parameters in the namespace ostra::kernels
// (clients/cpp/arguments.h). Of a kernel that the front end does not understand it says so. Errors: those of
// GenerateKernelSource. Thread-safe.
Result<String> GenerateClientHeader(const KernelSourceOptions& options, std::string_view text);

// The parameters of the kernel file `text`, as they are declared, in the order of the file. Errors: those of
// GenerateKernelSource. Thread-safe.
Result<std::vector<KernelParameterText>> ListKernelParameters(const KernelSourceOptions& options,
                                                              std::string_view text);

// What is wrong with the kernel file `text` for the CPU and for GPUs: the errors of GenerateKernelSource without those
// that the CPU alone has a reason for. Thread-safe.
Result<void> FindKernelMistakes(const KernelSourceOptions& options, std::string_view text);

// Why the rules for lines (source_rules.h) hold for the kernel file `text`: a note with what the front end of the
// language does not understand or finds wrong. Nothing for a file that it understands, whose lines need no rules.
// Error: out of memory. Thread-safe.
Result<std::optional<SourceMessage>> ExplainLineRules(const KernelSourceOptions& options, std::string_view text);

// Why the kernel file `text` has no wide form: "file:line:column: note: ...", the line and a caret below. Empty when it
// has one. Errors: those of GenerateKernelSource.
Result<String> ExplainKernelLanes(const KernelSourceOptions& options, std::string_view text);

// One more than the highest number of a noise that the kernel file `text` calls, 0 without calls. Nothing when a number
// is no plain one, or when the front end of the language does not understand the kernel. Errors: those of
// GenerateKernelSource for mistakes inside of bodies; out of memory. Thread-safe.
Result<std::optional<Int>> CountKernelNoises(const KernelSourceOptions& options, std::string_view text);

// The source of a table of kernel classes, `GetKernels_<name>()`, and the header that declares it.
// Errors: illegal argument for a name that is no C++ identifier; out of memory.
Result<String> GenerateKernelTable(std::string_view name, const std::vector<std::string>& classIds);
Result<String> GenerateKernelTableHeader(std::string_view name);

}  // namespace ostra

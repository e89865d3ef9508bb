#include "apps/ostra/check/cpu_compiler.h"

#include <filesystem>

#include "ostra/core/compiler_line.h"
#include "ostra/core/format.h"
#include "ostra/io/temporary_file.h"
#include "ostra/process/command.h"
#include "parallelprogram/kernelruntime/compiler.h"
#include "parallelprogram/kernelruntime/compiler_report.h"
#include "parallelprogram/kernelruntime/header_folder.h"

OSTRA_UNIT("cpu_compiler");

namespace ostra::tool {

using namespace plans;

using namespace kernelruntime;

Result<CpuCompiler> CpuCompiler::Find() {
  OSTRA_ASSIGN_OR_RETURN(const Compiler found, FindCompiler());
  OSTRA_ASSIGN_OR_RETURN(const std::string headers, FindHeaderFolder());
  const std::vector<std::string> switches = GetMessageSwitches(FindFamily(found));
  OSTRA_ASSIGN_OR_RETURN(const std::string noExcerpts, FindSwitchAgainstExcerpts(found));
  CpuCompiler compiler;
  compiler._command = found.command;
  compiler._command.insert(compiler._command.end(),
                           {"-std=c++20", "-fsyntax-only", "-march=native", "-DNDEBUG", "-I" + headers, noExcerpts});
  compiler._command.insert(compiler._command.end(), switches.begin(), switches.end());
  compiler._command.insert(compiler._command.end(), {"-x", "c++", kStandardInputFile});
  return compiler;
}

Result<void> CpuCompiler::Compile(const KernelSource& source, const std::string& file, Findings& findings) const {
  std::error_code code;
  const std::filesystem::path folder = std::filesystem::temp_directory_path(code);
  OSTRA_ASSIGN_OR_RETURN(const TemporaryFile input, TemporaryFile::Create(folder, source.text.GetView()));
  const auto result = RunCommand(_command, input.GetDescriptor());
  if (!result) {
    findings.AddError(result.GetError(), file, " [CPU]");
    return OK;
  }
  const std::string report = CleanCompilerReport(result->output);
  const Int known = findings.Count(Severity::Error);
  std::size_t begin = 0;
  while (begin < report.size()) {
    const std::size_t end = report.find('\n', begin);
    const auto read = ReadCompilerLine(std::string_view(report).substr(begin, end - begin));
    if (read && read->line > 0 && read->severity != SourceSeverity::kNote)
      findings.Add({std::string(read->file), read->line,
                    read->severity == SourceSeverity::kError ? Severity::Error : Severity::Warning,
                    std::string(read->text) + " [CPU]"});
    begin = end + 1;
  }
  if (result->exitStatus != 0 && findings.Count(Severity::Error) == known)
    return OSTRA_ILLEGAL_STATE("@: the C++ compiler failed and said nothing about the file: @", file, report);
  return OK;
}

}  // namespace ostra::tool

#include "apps/ostra/check/check_command.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <functional>
#include <optional>
#include <thread>

#include "apps/ostra/check/program_check.h"
#include "apps/ostra/output/progress.h"
#include "apps/ostra/output/quiet.h"
#include "apps/ostra/output/standard_output.h"
#include "apps/ostra/translate/translation_report.h"
#include "ostra/core/format.h"
#include "plans/values/text.h"

OSTRA_UNIT("check_command");

namespace ostra::tool {

using namespace plans;

namespace {

// What is compiled with: nothing for targets that are not asked for, or whose compiler is missing.
struct Compilers {
  std::optional<CpuCompiler> cpu;
  std::optional<MetalCompiler> metal;
  std::string missing;  // the targets without a compiler, for the summary
};

// Says which compiler is missing and what that means. Error: a target that was asked for by name cannot be compiled.
template <class Compiler>
Result<void> Take(Result<Compiler> found, const char* name, const char* effect, Bool isNamed, Compilers& compilers,
                  std::optional<Compiler>& target) {
  if (found) {
    target.emplace(std::move(*found));
    return OK;
  }
  const std::string reason = TextOf(found.GetError().GetMessage());
  if (isNamed) return OSTRA_ILLEGAL_STATE("@ @", effect, std::string_view(reason));
  WriteErrorLine(std::string(effect) + " " + reason);
  compilers.missing.append(compilers.missing.empty() ? "; not compiled: " : ", ").append(name);
  return OK;
}

Result<Compilers> FindCompilers(const CheckOptions& options, const std::vector<FileCheck>& checks) {
  Compilers compilers;
  const Bool needsCpu =
      std::any_of(checks.begin(), checks.end(), [](const FileCheck& check) { return check.cpuSource; });
  if (needsCpu)
    OSTRA_RETURN_IF_ERROR(Take(CpuCompiler::Find(), "CPU", "Kernels are not compiled for the CPU:", options.areNamed,
                               compilers, compilers.cpu));
  if (std::count(options.targets.begin(), options.targets.end(), kTargetMetal) != 0)
    OSTRA_RETURN_IF_ERROR(Take(MetalCompiler::Find(), "METAL", "Metal text is translated but not compiled:",
                               options.areNamed, compilers, compilers.metal));
  return compilers;
}

// Compiles everything, on all processors. The first error that is none of the files' is returned.
Result<void> CompileAll(std::vector<FileCheck>& checks, const Compilers& compilers) {
  std::vector<std::function<Result<void>()>> work;
  const MetalCompiler* const metal = compilers.metal ? &*compilers.metal : nullptr;
  for (FileCheck& check : checks) {
    // What takes longest comes first.
    if (compilers.cpu && check.cpuSource)
      work.emplace_back([&] { return compilers.cpu->Compile(*check.cpuSource, check.file, check.cpuFindings); });
    for (TargetCheck& target : check.targets)
      work.emplace_back([&target, &check, metal] { return CompileTarget(target, check, metal); });
  }
  std::vector<Result<void>> results(work.size(), Result<void>(OK));
  Progress progress("checking", static_cast<Int>(work.size()), "programs");
  std::atomic<std::size_t> next{0};
  const auto run = [&] {
    for (std::size_t i = next++; i < work.size(); i = next++) {
      results[i] = work[i]();
      progress.Advance();
    }
  };
  const std::size_t count = std::min<std::size_t>(std::max(std::thread::hardware_concurrency(), 1u), work.size());
  std::vector<std::thread> helpers;
  for (std::size_t i = 1; i < count; ++i) helpers.emplace_back(run);
  run();
  for (std::thread& helper : helpers) helper.join();
  for (Result<void>& result : results) OSTRA_RETURN_IF_ERROR(std::move(result));
  return OK;
}

void AppendText(std::string& output, const std::string& heading, std::string_view text) {
  output.append("=== ").append(heading).append("\n").append(text);
  if (!output.ends_with('\n')) output += '\n';
}

Result<std::string> MakeShownTexts(const CheckOptions& options, const std::vector<FileCheck>& checks) {
  std::string output;
  for (const FileCheck& check : checks) {
    if (options.shown == "original") {
      AppendText(output, check.file, check.source);
      continue;
    }
    for (const TargetCheck& target : check.targets) {
      const std::string heading = check.file + " (" + std::string(target.target.GetView()) + ")";
      if (options.shown == "assembled" && target.assembled) AppendText(output, heading, target.assembled->text);
      if (options.shown == "translated" && target.translation.result) {
        OSTRA_ASSIGN_OR_RETURN(const std::string text, FormatTranslation(target.translation));
        AppendText(output, heading, text);
      }
    }
  }
  return output;
}

std::string Count(Int count, const char* what) { return std::to_string(count) + " " + what + (count == 1 ? "" : "s"); }

}  // namespace

Result<void> CheckFiles(const CheckOptions& options) {
  std::vector<FileCheck> checks;
  for (const std::string& file : options.files) {
    OSTRA_ASSIGN_OR_RETURN(FileCheck check, PrepareCheck(options, file));
    checks.push_back(std::move(check));
  }
  OSTRA_ASSIGN_OR_RETURN(const Compilers compilers, FindCompilers(options, checks));
  OSTRA_RETURN_IF_ERROR(CompileAll(checks, compilers));

  Findings findings;
  for (const FileCheck& check : checks) findings.AddAll(CollectFindings(check, options));
  CheckPrograms(checks, findings);
  findings.Sort();
  for (const Finding& finding : findings.GetAll()) WriteReportLine(FormatFinding(finding));
  for (const FileCheck& check : checks)
    if (!check.lanes.empty()) WriteReportLine(check.lanes);
  OSTRA_ASSIGN_OR_RETURN(const std::string shown, MakeShownTexts(options, checks));
  const Int errors = findings.Count(Severity::Error);
  const std::string summary = Count(static_cast<Int>(options.files.size()), "file") + ", " +
                              Count(static_cast<Int>(options.targets.size()) + (options.isForCpu ? 1 : 0), "target") +
                              ": " + Count(errors, "error") + ", " +
                              Count(findings.Count(Severity::Warning), "warning") + compilers.missing;
  // The texts are what was asked for then; they go into files and pipes without a line that is none of theirs.
  if (options.shown.empty()) OSTRA_RETURN_IF_ERROR(WriteReport(summary + "\n"));
  if (!options.shown.empty()) {
    OSTRA_RETURN_IF_ERROR(WriteOutput(shown));
    if (!IsQuiet()) WriteErrorLine(summary);
  }
  if (errors > 0) return OSTRA_ILLEGAL_ARGUMENT("the check found @", Count(errors, "error"));
  return OK;
}

}  // namespace ostra::tool

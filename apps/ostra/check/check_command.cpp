#include "apps/ostra/check/check_command.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <thread>

#include "apps/ostra/check/program_check.h"
#include "apps/ostra/output/standard_output.h"
#include "apps/ostra/translate/translation_report.h"
#include "ostra/core/format.h"

OSTRA_UNIT("check_command");

namespace ostra::tool {

namespace {

// One target of one file.
struct Work {
  TargetCheck* check;
  const std::string* file;
};

// Compiles everything, on all processors. The first error that is none of the files' is returned.
Result<void> CompileAll(std::vector<FileCheck>& checks, const MetalCompiler* metal) {
  std::vector<Work> work;
  for (FileCheck& check : checks)
    for (TargetCheck& target : check.targets) work.push_back({&target, &check.file});
  std::vector<Result<void>> results(work.size(), Result<void>(OK));
  std::atomic<std::size_t> next{0};
  const auto run = [&] {
    for (std::size_t i = next++; i < work.size(); i = next++)
      results[i] = CompileTarget(*work[i].check, *work[i].file, metal);
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
  const Bool wantsMetal = std::count(options.targets.begin(), options.targets.end(), kTargetMetal) != 0;
  auto metal = wantsMetal ? MetalCompiler::Find() : Result<MetalCompiler>(MetalCompiler());
  if (!metal)
    WriteErrorLine("Metal text is translated but not compiled: " + std::string(metal.GetError().GetMessage()));
  OSTRA_RETURN_IF_ERROR(CompileAll(checks, wantsMetal && metal ? &*metal : nullptr));

  Findings findings;
  for (const FileCheck& check : checks) {
    findings.AddAll(check.findings);
    for (const TargetCheck& target : check.targets) findings.AddAll(target.findings);
  }
  CheckPrograms(checks, findings);
  findings.Sort();
  for (const Finding& finding : findings.GetAll()) WriteReportLine(FormatFinding(finding));
  OSTRA_ASSIGN_OR_RETURN(const std::string shown, MakeShownTexts(options, checks));
  const Int errors = findings.Count(Severity::Error);
  const std::string summary = Count(static_cast<Int>(options.files.size()), "file") + ", " +
                              Count(static_cast<Int>(options.targets.size()), "target") + ": " +
                              Count(errors, "error") + ", " + Count(findings.Count(Severity::Warning), "warning");
  // The texts are what was asked for then; they go into files and pipes without a line that is none of theirs.
  if (options.shown.empty()) OSTRA_RETURN_IF_ERROR(WriteOutput(summary + "\n"));
  if (!options.shown.empty()) {
    OSTRA_RETURN_IF_ERROR(WriteOutput(shown));
    WriteErrorLine(summary);
  }
  if (errors > 0) return OSTRA_ILLEGAL_ARGUMENT("the check found @", Count(errors, "error"));
  return OK;
}

}  // namespace ostra::tool

#include <algorithm>
#include <charconv>

#include "apps/ostra/check/lints.h"
#include "apps/ostra/values/text.h"

namespace ostra::tool {

namespace {

Bool IsKernelEnd(std::string_view text) {
  return text.starts_with("OSTRA_PARALLEL_KERNEL_END") || text.starts_with("FP_KERNEL_END");
}
Bool IsKernelStart(std::string_view text) {
  if (IsKernelEnd(text)) return false;
  return text.starts_with("OSTRA_PARALLEL_KERNEL") || text.starts_with("FP_KERNEL") ||
         text.starts_with("OSTRA_METHOD Result<void> Kernel");
}
Bool IsDirective(std::string_view text) {
  return text.starts_with("GROUPSIZE") || text.starts_with("CPU_GRANULARITY") ||
         text.starts_with("CPU_SINGLETHREADEDTHRESHOLD");
}
Bool StartsBlock(const SourceLine& line) {
  return IsKernelStart(line.text) || line.firstWord == "inline" || line.text.starts_with("#define KERNELINPUTS") ||
         line.text.starts_with("struct KernelInput");
}
Int CountBraces(std::string_view code) {
  return std::count(code.begin(), code.end(), '{') - std::count(code.begin(), code.end(), '}');
}

class StructureLinter {
 public:
  StructureLinter(const LintedFile& file, Findings& findings) : _file(file), _findings(findings) {}

  void Lint() {
    for (std::size_t i = 0; i < _file.lines.size(); ++i) {
      LintDirective(i);
      LintFunction(i);
      LintScope(i);
    }
    if (!_file.isHeader) {
      LintKernel();
      LintLostCode();
    }
  }

 private:
  void Add(const SourceLine& line, Severity severity, std::string text) {
    _findings.Add({_file.name, line.number, severity, std::move(text)});
  }
  const SourceLine* GetNext(std::size_t i) const { return i + 1 < _file.lines.size() ? &_file.lines[i + 1] : nullptr; }

  void LintDirective(std::size_t i) {
    const SourceLine& line = _file.lines[i];
    if (!IsDirective(line.text)) return;
    const std::string name = line.text.substr(0, line.text.find('('));
    if (line.code.find(';') != std::string::npos)
      Add(line, Severity::Error,
          name + " stands without a semicolon: the translator takes it for a part of the number");
    const SourceLine* const next = GetNext(i);
    if (next && !next->text.empty())
      Add(*next, Severity::Warning, "the translator drops the line after " + name + ": leave it empty");
  }

  void LintFunction(std::size_t i) {
    const SourceLine& line = _file.lines[i];
    if (line.firstWord != "inline") return;
    if (line.code.find('{') != std::string::npos && CountBraces(line.code) == 0)
      Add(line, Severity::Error,
          "a function on one line has no body on the GPU: write its braces on lines of their own");
    if (line.code.find("Block<") != std::string::npos || line.code.find("BaseArray<") != std::string::npos)
      Add(line, Severity::Warning,
          "functions cannot take buffers on every GPU: read them in the kernel, or through a macro of the header");
  }

  void LintScope(std::size_t i) {
    const SourceLine& line = _file.lines[i];
    if (line.firstWord != "CPU_SCOPE_START") return;
    for (std::size_t k = i + 1; k < _file.lines.size(); ++k)
      if (_file.lines[k].firstWord == "CPU_SCOPE_END") return;
    Add(line, Severity::Error, "CPU_SCOPE_START without CPU_SCOPE_END: the rest of the file is for the CPU only");
  }

  // Returns and copies of buffers in front of barriers. The block of the kernel is taken as it is written.
  void LintKernel() {
    const SourceLine* firstReturn = nullptr;
    const SourceLine* lastCopy = nullptr;
    Bool isKernel = false;
    for (const SourceLine& line : _file.lines) {
      if (IsKernelStart(line.text)) isKernel = true;
      if (IsKernelEnd(line.text)) isKernel = false;
      if (!isKernel) continue;
      const Bool isCopy = HasName(line.code, "MAKELOCAL");
      if (!firstReturn && (HasName(line.code, "return") || HasName(line.code, "KERNEL_RETURN"))) firstReturn = &line;
      if (firstReturn && (isCopy || HasName(line.code, "groupSharedBarrier")))
        Add(line, Severity::Warning,
            "some invocations may have returned (line " + std::to_string(firstReturn->number) +
                "), but all of a group must reach a barrier");
      if (isCopy && lastCopy)
        Add(line, Severity::Error,
            "two MAKELOCAL in one block declare groupIndex twice: put each in braces of its own (the other one is in "
            "line " +
                std::to_string(lastCopy->number) + ")");
      if (isCopy) lastCopy = &line;
      if (!isCopy && CountBraces(line.code) < 0) lastCopy = nullptr;
      if (isCopy) LintCopySize(line);
    }
  }

  void LintCopySize(const SourceLine& line) {
    std::string_view arguments;
    if (!GetArguments(line.code, line.code.find("MAKELOCAL"), arguments)) return;
    const std::vector<std::string_view> parts = SplitText(arguments, ',');
    Int count = 0;
    if (parts.size() != 3 ||
        std::from_chars(parts[1].data(), parts[1].data() + parts[1].size(), count).ec != std::errc())
      return;
    const Int groupSize = GetGroupSize();
    if (count > groupSize)
      Add(line, Severity::Warning,
          "a group has " + std::to_string(groupSize) +
              " invocations and each copies one element: " + std::to_string(count) + " are more than that");
  }

  Int GetGroupSize() const {
    for (const SourceLine& line : _file.lines) {
      std::string_view arguments;
      if (!line.text.starts_with("GROUPSIZE") || !GetArguments(line.code, 0, arguments)) continue;
      Int product = 1;
      for (const std::string_view part : SplitText(arguments, ',')) {
        Int number = 0;
        std::from_chars(part.data(), part.data() + part.size(), number);
        product *= number;
      }
      return product;
    }
    return 256;
  }

  // Code after the last block never reaches a GPU.
  void LintLostCode() {
    Int depth = 0;
    Bool isOpen = false;
    Bool isMacroKernel = false;
    std::vector<const SourceLine*> lost;
    for (std::size_t i = 0; i < _file.lines.size(); ++i) {
      const SourceLine& line = _file.lines[i];
      if (!isOpen && StartsBlock(line)) {
        lost.clear();
        isOpen = true;
        depth = 0;
        isMacroKernel = IsKernelStart(line.text) && !line.text.starts_with("OSTRA_METHOD");
      } else if (!isOpen && !line.code.empty() && !line.code.starts_with('#') && !line.code.starts_with('}') &&
                 !IsDirective(line.text) && line.firstWord != "namespace" && line.firstWord != "ADDNOISECALL" &&
                 line.code != "{") {
        lost.push_back(&line);
      }
      if (!isOpen) continue;
      const Int before = depth;
      depth += CountBraces(line.code);
      const Bool isDefineEnd = line.text.empty() && before == 0 && !isMacroKernel;
      if (IsKernelEnd(line.text) || isDefineEnd ||
          (!isMacroKernel && line.code.find('}') != std::string::npos && depth <= 0))
        isOpen = false;
    }
    if (!lost.empty())
      Add(*lost.front(), Severity::Warning, "code after the last block of the file never reaches the GPU");
  }

  const LintedFile& _file;
  Findings& _findings;
};

}  // namespace

void LintStructure(const LintedFile& file, Findings& findings) { StructureLinter(file, findings).Lint(); }

}  // namespace ostra::tool

#include <algorithm>
#include <charconv>
#include <vector>

#include "parallelprogram/shaderparser/kernel_words.h"
#include "plans/lints/lints.h"
#include "plans/values/text.h"

namespace ostra::plans {

namespace {

Int CountBraces(std::string_view code) {
  return std::count(code.begin(), code.end(), '{') - std::count(code.begin(), code.end(), '}');
}

class StructureLinter {
 public:
  StructureLinter(const LintedFile& file, Findings& findings) : _file(file), _findings(findings) {}

  void Lint() {
    for (std::size_t i = 0; i < _file.lines.size(); ++i) {
      if (_file.lines[i].use == LineUse::CpuScope && _file.lines[i].firstWord != "CPU_SCOPE_START") continue;
      LintDirective(i);
      LintFunction(i);
      LintFirstBrace(i);
      LintScope(i);
    }
    if (!_file.isHeader) {
      LintKernel();
      LintMethod();
      LintLostCode();
      LintFileScope();
    }
  }

 private:
  void Add(const SourceLine& line, Severity severity, std::string text) {
    _findings.Add({_file.name, line.number, severity, std::move(text)});
  }
  const SourceLine* GetNext(std::size_t i) const { return i + 1 < _file.lines.size() ? &_file.lines[i + 1] : nullptr; }

  void LintDirective(std::size_t i) {
    const SourceLine& line = _file.lines[i];
    if (line.use != LineUse::Directive) return;
    const std::string name = line.text.substr(0, line.text.find('('));
    if (line.code.find(';') != std::string::npos)
      Add(line, Severity::Error,
          name + " stands without a semicolon: the translator takes it for a part of the number");
    const SourceLine* const next = GetNext(i);
    if (next && !next->text.empty() && !IsWholeComment(*next))
      Add(*next, Severity::Warning, "the translator drops the line after " + name + ": leave it empty");
  }

  // Nothing is missed when it is dropped.
  static Bool IsWholeComment(const SourceLine& line) {
    return line.code.find_first_not_of(' ') == std::string::npos &&
           (line.text.starts_with("//") || (line.text.starts_with("/*") && line.text.ends_with("*/")));
  }

  void LintFunction(std::size_t i) {
    const SourceLine& line = _file.lines[i];
    if (line.use != LineUse::BlockStart || line.block != BlockKind::Function) return;
    if (line.code.find('{') != std::string::npos && CountBraces(line.code) == 0)
      Add(line, Severity::Error,
          "a function on one line has no body on the GPU: write its braces on lines of their own");
    if (line.code.find("Block<") != std::string::npos || line.code.find("BaseArray<") != std::string::npos)
      Add(line, Severity::Warning,
          "functions cannot take buffers on every GPU: read them in the kernel, or through a macro of the header");
  }

  void LintFirstBrace(std::size_t i) {
    const SourceLine& line = _file.lines[i];
    if (line.use != LineUse::BlockStart || CountBraces(line.code) <= 0) return;
    const Bool isStruct = line.block == BlockKind::Struct || line.block == BlockKind::InputStruct;
    if (isStruct || IsKernelMethod(line.text))
      Add(line, Severity::Error,
          "the brace belongs on a line of its own: the translator takes the next line for it, and counts this one in "
          "addition");
    else if (line.block == BlockKind::Function)
      Add(line, Severity::Error,
          "the brace of a function belongs on a line of its own: here it is left out on the GPU");
  }

  // The translator knows methods by the first word of their line.
  void LintMethod() {
    for (const SourceLine& line : _file.lines)
      if (line.use != LineUse::CpuScope && HasName(line.code, "OSTRA_METHOD") && HasName(line.code, "Kernel") &&
          !line.text.starts_with("OSTRA_METHOD") && !line.code.starts_with('#'))
        Add(line, Severity::Error, "OSTRA_METHOD must begin its line: this is no kernel on the GPU");
  }

  void LintScope(std::size_t i) {
    const SourceLine& line = _file.lines[i];
    if (line.use != LineUse::CpuScope || line.firstWord != "CPU_SCOPE_START") return;
    for (std::size_t k = i + 1; k < _file.lines.size(); ++k)
      if (_file.lines[k].firstWord == "CPU_SCOPE_END") return;
    Add(line, Severity::Error, "CPU_SCOPE_START without CPU_SCOPE_END: the rest of the file is for the CPU only");
  }

  // Returns and copies of buffers in front of barriers. The block of the kernel is taken as it is written.
  void LintKernel() {
    const SourceLine* firstReturn = nullptr;
    const SourceLine* lastCopy = nullptr;
    for (const SourceLine& line : _file.lines) {
      if (line.block != BlockKind::Kernel || line.use == LineUse::CpuScope) continue;
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
    const SourceLine* lost = nullptr;
    for (const SourceLine& line : _file.lines) {
      if (line.use == LineUse::BlockStart) lost = nullptr;
      const Bool isCode = line.code.find_first_not_of(' ') != std::string::npos && line.code != "{";
      if (!lost && isCode && line.use == LineUse::FileScope) lost = &line;
    }
    if (lost) Add(*lost, Severity::Warning, "code after the last block of the file never reaches the GPU");
  }

  // Of the braces at file scope, lines that begin with a closing one are dropped.
  void LintFileScope() {
    std::vector<const SourceLine*> open;  // the lines of open braces; null in functions, which have their own message
    for (std::size_t i = 0; i < _file.lines.size(); ++i) {
      const SourceLine& line = _file.lines[i];
      const Bool isClosing = line.use == LineUse::Dropped && line.code.starts_with('}');
      if (line.use != LineUse::FileScope && !isClosing) continue;
      if (IsFunction(i)) {
        Add(line, Severity::Error,
            "\"inline\" is missing in front of the function: without it the translator takes it for file-scope code "
            "and drops the line of its closing brace");
        _isInFunction = true;
      }
      if (isClosing && !open.empty() && open.back())
        Add(line, Severity::Error,
            "the translator drops this line, and the brace of line " + std::to_string(open.back()->number) +
                " stays open: put structs into headers");
      for (const char c : line.code) {
        if (c == '{') open.push_back(_isInFunction ? nullptr : &line);
        if (c == '}' && !open.empty()) open.pop_back();
      }
      if (open.empty() && line.code.find('}') != std::string::npos) _isInFunction = false;
    }
  }

  // `Type Name(...)` with a brace behind it or on the next line.
  Bool IsFunction(std::size_t i) const {
    std::string_view code = TrimText(_file.lines[i].code);
    const SourceLine* const next = GetNext(i);
    const Bool hasBrace = code.ends_with('{');
    if (!hasBrace && (!next || TrimText(next->code) != "{")) return false;
    if (hasBrace) code = TrimText(code.substr(0, code.size() - 1));
    Int nameCount = 0;
    ForEachName(code.substr(0, code.find('(')), [&](std::string_view, std::size_t) { ++nameCount; });
    return code.ends_with(')') && nameCount >= 2 && code.find_first_of("=;") == std::string_view::npos;
  }

  const LintedFile& _file;
  Findings& _findings;
  Bool _isInFunction = false;
};

}  // namespace

void LintStructure(const LintedFile& file, Findings& findings) { StructureLinter(file, findings).Lint(); }

}  // namespace ostra::plans

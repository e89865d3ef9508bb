#include "parallelprogram/kernelfront/source_rules.h"

#include <algorithm>

#include "parallelprogram/kernelfront/edited_text.h"
#include "parallelprogram/kernelfront/failure.h"
#include "parallelprogram/kernellanguage/words.h"

namespace ostra {
namespace {

using kernelfront::EditedText;
using kernelfront::Join;
using kernelfront::Token;
using kernellanguage::FindWordId;
using kernellanguage::WordId;

class RuleChecker {
 public:
  explicit RuleChecker(std::string_view source) : _source(source), _text({{}, source}), _comments(source) {
    for (const Token& token : Tokens())
      std::fill(_comments.begin() + static_cast<std::ptrdiff_t>(token.begin),
                _comments.begin() + static_cast<std::ptrdiff_t>(token.end), ' ');
    _lineBegins.push_back(0);
    for (std::size_t at = 0; at < source.size(); ++at)
      if (_comments[at] == '\n') _lineBegins.push_back(at + 1);
  }

  std::vector<SourceMistake> CheckFile() {
    for (std::size_t i = 0; i < Tokens().size();) i = ReadOutside(i);
    return Take();
  }

  std::vector<SourceMistake> CheckHeader() {
    for (std::size_t i = 0; i < Tokens().size(); ++i) {
      if (_text.Is(i, "define") && _text.Is(i + 1, "OSTRA_INCLUDE_AS_FULLTEXT")) break;  // taken as it is
      if (Tokens()[i].isFirstInLine && _text.Is(i, "inline")) CheckFunctionHead(i);
    }
    return Take();
  }

 private:
  const std::vector<Token>& Tokens() const { return _text.GetTokens(); }
  int GetLine(std::size_t i) const { return Tokens()[i].line; }
  Bool IsOnLine(std::size_t i, int line) const { return i < Tokens().size() && GetLine(i) == line; }
  void Add(std::size_t token, std::string text, Bool isLineRule = true) {
    _mistakes.push_back({Tokens()[token].begin, std::move(text), isLineRule});
  }
  std::vector<SourceMistake> Take() {
    std::stable_sort(_mistakes.begin(), _mistakes.end(),
                     [](const SourceMistake& a, const SourceMistake& b) { return a.position < b.position; });
    return std::move(_mistakes);
  }

  // Returns the token to go on with.
  std::size_t ReadOutside(std::size_t i) {
    if (Tokens()[i].isInDirective || !Tokens()[i].isFirstInLine) return i + 1;
    const WordId word = FindWordId(_text.GetText(i));
    if (word == WordId::kKernelStart) return ReadKernel(i);
    if (_text.Is(i, "inline")) return ReadFunction(i);
    const Bool isMethod = word == WordId::kKernelMethod && _text.Is(i + 1, "Result");
    if (isMethod || (_text.Is(i, "struct") && _text.Is(i + 1, "KernelInput")))
      for (std::size_t k = i; IsOnLine(k, GetLine(i)); ++k)
        if (_text.Is(k, "{"))
          return Add(k,
                     "the brace belongs on a line of its own: the translator takes the next line for it, and counts "
                     "this one in addition"),
                 k + 1;
    return i + 1;
  }

  std::size_t ReadKernel(std::size_t start) {
    const std::string name(_text.GetText(Tokens()[start]));
    const std::string endWord = name + "_END";
    std::size_t open = _text.Is(start + 1, "(") ? _text.FindAfterClosing(start + 1) : 0;
    if (open == 0) return start + 1;
    if (GetLine(open - 1) != GetLine(start))
      Add(start, Join({name,
                       "(Name, KERNELINPUTS) belongs on one line: the translation for the GPU drops only "
                       "its first line"}));
    else if (_text.Is(open, "{") && IsOnLine(open, GetLine(start)))
      Add(open, Join({"the brace of the kernel belongs on a line of its own: the translation for the GPU drops "
                      "the whole line of ",
                      name}));
    std::size_t end = open;
    while (end < Tokens().size() && !_text.Is(end, endWord)) ++end;
    if (end == Tokens().size()) return open;  // the kernel has no end, which others report
    if (!Tokens()[end].isFirstInLine)
      Add(end, Join({endWord, " must begin its line: the translation for the GPU does not find it here"}));
    CheckBraces(open, end, endWord);
    CheckWholeLines(open, end);
    CheckComments(GetLine(start), GetLine(end), false);
    return end + 1;
  }

  std::size_t ReadFunction(std::size_t start) {
    const std::size_t brace = CheckFunctionHead(start);
    const std::size_t after = brace == 0 ? 0 : _text.FindAfterClosing(brace);
    if (after == 0) return start + 1;
    CheckWholeLines(brace, after);
    CheckComments(GetLine(start), GetLine(after - 1), true);
    return after;
  }

  // The brace of a function; 0 for what is none.
  std::size_t CheckFunctionHead(std::size_t start) {
    std::size_t open = start;
    while (open < Tokens().size() && !_text.Is(open, "(") && !_text.Is(open, ";") && !_text.Is(open, "{")) ++open;
    const std::size_t brace = _text.Is(open, "(") ? _text.FindAfterClosing(open) : 0;
    if (brace == 0 || !_text.Is(brace, "{")) return 0;
    const int line = GetLine(start);
    const std::size_t after = _text.FindAfterClosing(brace);
    if (GetLine(brace - 1) != line)
      Add(start, "the declaration of a function belongs on one line: the translation for the GPU takes the first one");
    else if (GetLine(brace) == line && after != 0 && GetLine(after - 1) == line)
      Add(brace, "a function on one line has no body on the GPU: write its braces on lines of their own");
    else if (GetLine(brace) == line)
      Add(brace, "the brace of a function belongs on a line of its own: here it is left out on the GPU");
    return brace;
  }

  // From the kernel's opening brace to its end word.
  void CheckBraces(std::size_t open, std::size_t end, const std::string& endWord) {
    std::vector<std::size_t> braces;
    for (std::size_t i = open; i < end; ++i) {
      if (Tokens()[i].isInDirective && (_text.Is(i, "if") || _text.Is(i, "ifdef") || _text.Is(i, "ifndef")))
        return;  // branches may have braces of their own
      if (Tokens()[i].isInDirective) continue;
      if (_text.Is(i, "{")) braces.push_back(i);
      if (!_text.Is(i, "}")) continue;
      if (!braces.empty()) braces.pop_back();
      if (braces.empty() && i + 1 != end)
        return Add(i,
                   Join({"this brace closes the kernel, which ends in line ", std::to_string(GetLine(end)),
                         ": is it one too many, or is an opening brace missing before it?"}),
                   false);
    }
    if (!braces.empty()) Add(braces.back(), Join({"this brace is not closed before ", endWord}), false);
  }

  // Macros whose whole line is replaced on the GPU.
  void CheckWholeLines(std::size_t begin, std::size_t end) {
    Bool isInCpuScope = false;
    for (std::size_t i = begin; i < end; ++i) {
      const WordId word = FindWordId(_text.GetText(i));
      if (word == WordId::kCpuScopeStart) isInCpuScope = true;
      if (word == WordId::kCpuScopeEnd) isInCpuScope = false;
      const Bool isMacro = _text.Is(i, "MAKELOCAL") || _text.Is(i, "GROUPSHAREDMEM");
      if (!isMacro || isInCpuScope || Tokens()[i].isInDirective || !_text.Is(i + 1, "(")) continue;
      std::size_t after = _text.FindAfterClosing(i + 1);
      if (after == 0) return;
      if (_text.Is(after, ";")) ++after;
      if (!Tokens()[i].isFirstInLine || IsOnLine(after, GetLine(i)))
        Add(i, Join({_text.GetText(Tokens()[i]),
                     " belongs on a line of its own: the translation for the GPU replaces the whole line"}));
    }
  }

  // Braces in comments, which the translation for the GPU counts.
  void CheckComments(int firstLine, int lastLine, Bool isOpenOneCounted) {
    int depth = 0;
    SourceMistake open;
    Bool isInCpuScope = false;
    for (int line = firstLine; line <= lastLine; ++line) {
      isInCpuScope = IsInCpuScope(isInCpuScope, GetLineText(_source, line));
      if (isInCpuScope) continue;
      std::size_t position = _lineBegins[static_cast<std::size_t>(line) - 1];
      for (const char c : GetLineText(_comments, line)) {
        if (c == '{' && ++depth == 1) open = {position, {}};
        if (c == '}' && --depth < 0) {
          _mistakes.push_back({position,
                               "the brace in this comment ends the block on the GPU: the translation counts braces in "
                               "comments"});
          return;
        }
        ++position;
      }
    }
    if (depth == 0 || !isOpenOneCounted) return;
    open.text = "the brace in this comment keeps the block open on the GPU: the translation counts braces in comments";
    _mistakes.push_back(std::move(open));
  }
  std::string_view GetLineText(std::string_view text, int line) const {
    const std::size_t begin = _lineBegins[static_cast<std::size_t>(line) - 1];
    return text.substr(begin, text.find('\n', begin) - begin);
  }
  static Bool IsInCpuScope(Bool wasInside, std::string_view line) {
    line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
    if (line.starts_with("CPU_SCOPE_START")) return true;
    return wasInside && !line.starts_with("CPU_SCOPE_END");
  }

  const std::string_view _source;
  const EditedText _text;
  std::string _comments;  // the source with its tokens blanked
  std::vector<std::size_t> _lineBegins;
  std::vector<SourceMistake> _mistakes;
};

}  // namespace

std::vector<SourceMistake> FindSourceMistakes(std::string_view source) { return RuleChecker(source).CheckFile(); }

std::vector<SourceMistake> FindHeaderMistakes(std::string_view source) { return RuleChecker(source).CheckHeader(); }

}  // namespace ostra

// Cuts a kernel file into blocks as the translator does (docs/translation.md), so that lints know what becomes of a
// line.
#include "apps/ostra/lints/source_lines.h"
#include "parallelprogram/shaderparser/kernel_words.h"

namespace ostra::tool {

namespace {

class LinePlacer {
 public:
  explicit LinePlacer(std::vector<SourceLine>& lines) : _lines(lines) {}

  void Run() {
    for (; _index < _lines.size(); ++_index) {
      SourceLine& line = _lines[_index];
      const Bool isDefineEnd = line.text.empty() || (IsKernelStart(line.text) && !IsKernelEnd(line.text));
      if (_block == BlockKind::InputDefine && isDefineEnd) _block = BlockKind::None;
      if (line.text.empty())
        Put(LinePlace::Empty);
      else if (_block == BlockKind::None)
        ReadOutside(line);
      else
        ReadInside(line);
    }
  }

 private:
  void Put(LinePlace place) {
    _lines[_index].place = place;
    _lines[_index].block = _block;
  }
  void Swallow() {
    if (_index + 1 < _lines.size()) ++_index, Put(LinePlace::Swallowed);
  }

  void ReadOutside(const SourceLine& line) {
    if (IsInputStruct(line.text))
      BeginWithBrace(BlockKind::InputStruct, line);
    else if (IsKernelMethod(line.text))
      BeginWithBrace(BlockKind::Kernel, line);
    else if (IsInputDefine(line.text))
      Begin(BlockKind::InputDefine, line, _closingDepth);
    else if (IsKernelStart(line.text))
      Begin(BlockKind::Kernel, line, _depth - 1);
    else if (line.firstWord == "inline")
      Begin(BlockKind::Function, line, _depth);
    else if (IsDirective(line.text) || line.firstWord == "namespace")
      Put(LinePlace::Dropped), Swallow();
    else
      Put(line.text[0] == '#' || line.text[0] == '}' || line.firstWord == "ADDNOISECALL" ? LinePlace::Dropped
                                                                                         : LinePlace::Outside);
  }

  void Begin(BlockKind block, const SourceLine& line, Int closingDepth) {
    _block = block;
    _closingDepth = closingDepth;
    Put(LinePlace::Start);
    CountBraces(line.text);
  }
  // The line after the first one is taken for the brace.
  void BeginWithBrace(BlockKind block, const SourceLine& line) {
    _block = block;
    Put(LinePlace::Start);
    Swallow();
    _closingDepth = _depth++;
    CountBraces(line.text);
  }

  void ReadInside(const SourceLine& line) {
    if (line.firstWord == "CPU_SCOPE_START") {
      Put(LinePlace::CpuScope);
      while (_index + 1 < _lines.size() && _lines[_index].firstWord != "CPU_SCOPE_END")
        ++_index, Put(LinePlace::CpuScope);
      return;
    }
    if (IsKernelEnd(line.text)) {
      Put(LinePlace::Dropped);
      _block = BlockKind::None;
      return;
    }
    Put(LinePlace::Inside);
    CountBraces(line.text);
  }

  void CountBraces(std::string_view text) {
    for (const char c : text) {
      if (c == '{') ++_depth;
      if (c == '}' && --_depth == _closingDepth) {
        _block = BlockKind::None;
        return;
      }
    }
  }

  std::vector<SourceLine>& _lines;
  std::size_t _index = 0;
  BlockKind _block = BlockKind::None;
  Int _depth = 0, _closingDepth = 0;
};

}  // namespace

void PlaceLines(std::vector<SourceLine>& lines) { LinePlacer(lines).Run(); }

}  // namespace ostra::tool

// Lines outside of blocks, and where blocks begin. What happens inside is in block_machine_inside.cpp.
#include "parallelprogram/shaderparser/block_machine.h"

#include <algorithm>
#include <utility>

#include "parallelprogram/shaderparser/header_declarations.h"
#include "parallelprogram/shaderparser/kernel_words.h"

OSTRA_UNIT("shaderparser");

namespace ostra {
namespace {

constexpr std::string_view kGroupSizeStart = "GROUPSIZE(";

// One number of GROUPSIZE, without its last character.
Result<Int32> ReadGroupCount(std::string_view word) {
  OSTRA_ASSIGN_OR_RETURN(const String digits, String::Create(word.substr(0, word.size() - (word.empty() ? 0 : 1))));
  OSTRA_ASSIGN_OR_RETURN(const Int count, digits.ToInt());
  if (!std::in_range<Int32>(count)) return OSTRA_ILLEGAL_ARGUMENT("\"@\" is not a 32-bit integer.", digits);
  return static_cast<Int32>(count);
}

}  // namespace

Result<void> BlockMachine::Run() {
  OSTRA_RETURN_IF_ERROR(_state.BeginNotes(_lines.GetCount()));
  for (; _index < _lines.GetCount(); ++_index) {
    _state.origin.line = static_cast<Int32>(_index) + 1;
    OSTRA_RETURN_IF_ERROR(ReadLine(TrimLeft(_lines[_index])));
  }
  return OK;
}

Result<void> BlockMachine::ReadLine(std::string_view line) {
  if (line.empty()) {
    if (_block == BlockKind::InputDefine) StoreInputs();
    Note(LineUse::Blank);
    return OK;
  }
  // The parameters of a kernel end where it begins.
  if (_block == BlockKind::InputDefine && IsKernelStart(line) && !IsKernelEnd(line)) StoreInputs();
  return _block == BlockKind::None ? ReadOutside(line) : ReadInside(line);
}

Result<void> BlockMachine::ReadOutside(std::string_view line) {
  OSTRA_ASSIGN_OR_RETURN(const Bool hasBegun, BeginBlock(line));
  if (hasBegun) {
    OSTRA_RETURN_IF_ERROR(FlushOutsideLines());
    return CountBraces(line);
  }
  OSTRA_ASSIGN_OR_RETURN(const Bool isDirective, ReadDirective(line));
  if (isDirective) return OK;
  Note(LineUse::FileScope);
  OSTRA_ASSIGN_OR_RETURN(const std::string_view code, Translate(line));
  return _outsideLines.Append(code, _state.origin);
}

Result<std::string_view> BlockMachine::Translate(std::string_view line) {
  auto code = TranslateLine(_state, _state.codeRules, line);
  if (code) return code;
  OSTRA_RETURN_IF_ERROR(PassOver(code.TakeError()));
  return line;
}

Result<Bool> BlockMachine::BeginBlock(std::string_view line) {
  if (IsInputStruct(line)) {
    BeginInputs(BlockKind::InputStruct);
    TakeBraceOfNextLine();
    return true;
  }
  if (IsInputDefine(line)) {
    BeginInputs(BlockKind::InputDefine);
    return true;
  }
  if (IsKernelStart(line)) {
    // The kernel does not end at its own brace but at the end macro.
    OSTRA_RETURN_IF_ERROR(BeginKernel());
    _closingDepth = _depth - 1;
    return true;
  }
  if (IsKernelMethod(line)) {
    OSTRA_RETURN_IF_ERROR(BeginKernel());
    TakeBraceOfNextLine();
    return true;
  }
  if (!IsFirstWord(line, "inline")) return false;
  OSTRA_RETURN_IF_ERROR(BeginFunction(line));
  return true;
}

Result<void> BlockMachine::BeginKernel() {
  if (_hasKernel)
    OSTRA_RETURN_IF_ERROR(PassOver(
        OSTRA_ILLEGAL_STATE("Illegal state: Parser Error: Second Kernel function at line @ in @", _index, _file)));
  _block = BlockKind::Kernel;
  _blockLines.Clear();
  Note(LineUse::BlockStart);
  return OK;
}

void BlockMachine::BeginInputs(BlockKind kind) {
  _block = kind;
  _inputs.Clear();
  Note(LineUse::BlockStart);
}

Result<void> BlockMachine::BeginFunction(std::string_view line) {
  auto declaration = ReadFunctionDeclaration(_state, line);
  if (!declaration) OSTRA_RETURN_IF_ERROR(PassOver(declaration.GetError()));
  _declaration = declaration ? std::move(*declaration) : String();
  _declarationOrigin = _state.origin;
  _block = BlockKind::Function;
  _closingDepth = _depth;
  Note(LineUse::BlockStart);
  return OK;
}

Result<Bool> BlockMachine::ReadDirective(std::string_view line) {
  if (IsGroupSize(line)) OSTRA_RETURN_IF_ERROR(PassOver(ReadGroupSize(line)));
  if (IsDirective(line) || IsFirstWord(line, "namespace")) {
    Note(IsDirective(line) ? LineUse::Directive : LineUse::Dropped);
    SkipNextLine();
    return true;
  }
  if (IsFirstWord(line, "ADDNOISECALL")) {
    Note(LineUse::NoiseCall);
    ++_state.pieces.noiseCallCount;
    return true;
  }
  if (line[0] != '#' && line[0] != '}') return false;
  Note(LineUse::Dropped);
  return true;
}

void BlockMachine::SkipNextLine() {
  ++_index;
  if (_index < _lines.GetCount()) Note(LineUse::Swallowed);
}

void BlockMachine::Note(LineUse use) {
  LineNote& note = _state.pieces.lineNotes[_state.origin.file][_index];
  note.use = use;
  note.block = _block;
}

Result<void> BlockMachine::PassOver(Result<void> result) const {
  if (result || _mistakes == Mistakes::EndTheParse || result.GetError().GetKind() == kOutOfMemoryError) return result;
  return OK;
}

Result<void> BlockMachine::ReadGroupSize(std::string_view line) {
  const SourceWords words(line);
  if (words.GetCount() != 3)
    return OSTRA_ILLEGAL_ARGUMENT("GROUPSIZE used wrong, please used the format GROUPSIZE(x, y, z) only");
  const std::string_view first = words[0].substr(std::min(kGroupSizeStart.size(), words[0].size()));
  OSTRA_ASSIGN_OR_RETURN(const Int32 x, ReadGroupCount(first));
  OSTRA_ASSIGN_OR_RETURN(const Int32 y, ReadGroupCount(words[1]));
  OSTRA_ASSIGN_OR_RETURN(const Int32 z, ReadGroupCount(words[2]));
  Int32* const size = _state.pieces.workGroupSize;
  size[0] = x, size[1] = y, size[2] = z;
  return OK;
}

// Only a block that begins brings the lines before it to the file-scope code; those after the last block are lost.
Result<void> BlockMachine::FlushOutsideLines() {
  if (_outsideLines.IsEmpty()) return OK;
  OSTRA_ASSIGN_OR_RETURN(CString text, _outsideLines.Join("\n"));
  OSTRA_RETURN_IF_ERROR(_state.pieces.globalCode.Append(std::move(text)));
  OSTRA_RETURN_IF_ERROR(_state.pieces.globalCodeOrigins.Append(_outsideLines.TakeOrigins()));
  _outsideLines.Clear();
  return OK;
}

}  // namespace ostra

// Lines inside of blocks, and where blocks end.
#include "ostra/core/atomic.h"
#include "parallelprogram/shaderparser/block_machine.h"
#include "parallelprogram/shaderparser/kernel_words.h"

namespace ostra {

Result<void> BlockMachine::ReadInside(std::string_view line) {
  if (IsFirstWord(line, "CPU_SCOPE_START")) {
    SkipCpuScope();
    return OK;
  }
  if (IsKernelEnd(line)) {
    Note(LineUse::BlockEnd);
    return StoreKernel();
  }
  OSTRA_ASSIGN_OR_RETURN(const std::string_view translated, ReadBlockLine(line));
  return CountBraces(translated);
}

// Moves on to the end marker, or to the end of the file when there is none.
void BlockMachine::SkipCpuScope() {
  Note(LineUse::CpuScope);
  for (++_index; _index < _lines.GetCount(); ++_index) {
    Note(LineUse::CpuScope);
    if (IsFirstWord(TrimLeft(_lines[_index]), "CPU_SCOPE_END")) return;
  }
}

// Gives the line as the rules have left it.
Result<std::string_view> BlockMachine::ReadBlockLine(std::string_view line) {
  Note(LineUse::Body);
  const Bool isNoiseCall = IsFirstWord(line, "ADDNOISECALL");
  if (isNoiseCall) {
    Note(LineUse::NoiseCall);
    ++_state.pieces.noiseCallCount;
  }
  if (_block == BlockKind::InputDefine || _block == BlockKind::InputStruct) {
    if (!isNoiseCall) Note(LineUse::NoParameter);
    OSTRA_RETURN_IF_ERROR(PassOver(ReadDeclaration(line)));
    return line;
  }
  OSTRA_ASSIGN_OR_RETURN(const std::string_view code, Translate(line));
  OSTRA_RETURN_IF_ERROR(_blockLines.Append(code, _state.origin));
  return code;
}

Result<void> BlockMachine::ReadDeclaration(std::string_view line) {
  const Int inputCount = _inputs.inputs.GetCount(), textureCount = _inputs.textures.GetCount();
  if (_block == BlockKind::InputDefine)
    OSTRA_RETURN_IF_ERROR(ParseInputDefineLine(_state, SourceWords(line), _inputs));
  else
    OSTRA_RETURN_IF_ERROR(ParseInputStructLine(_state, SourceWords(line), _inputs));
  LineNote& note = _state.GetNote();
  if (_inputs.inputs.GetCount() > inputCount) {
    const ShaderInputEntry& input = _inputs.inputs[inputCount];
    note.name = input.name.GetString();
    note.use = !input.dataType.IsPopulated()                   ? LineUse::Buffer
               : input.dataType == GetDataType<AtomicUInt32>() ? LineUse::Counter
                                                               : LineUse::Value;
  } else if (_inputs.textures.GetCount() > textureCount) {
    note.name = _inputs.textures[textureCount].name.GetString();
    note.use = LineUse::Texture;
  }
  return OK;
}

Result<void> BlockMachine::CountBraces(std::string_view line) {
  for (std::size_t i = line.find_first_of("{}"); i != std::string_view::npos; i = line.find_first_of("{}", i + 1)) {
    if (line[i] == '{')
      ++_depth;
    else if (--_depth == _closingDepth)
      return EndBlockAtBrace();
  }
  return OK;
}

Result<void> BlockMachine::EndBlockAtBrace() {
  LineNote& note = _state.GetNote();
  if (note.use == LineUse::Body || note.use == LineUse::NoParameter) note.use = LineUse::BlockEnd;
  if (_block == BlockKind::Function) return StoreFunction();
  _blockLines.RemoveLast();
  if (_block == BlockKind::Kernel) return StoreKernel();
  StoreInputs();
  return OK;
}

Result<void> BlockMachine::StoreKernel() {
  OSTRA_ASSIGN_OR_RETURN(_state.pieces.kernelCode, _blockLines.Join());
  _state.pieces.kernelCodeOrigins = _blockLines.TakeOrigins();
  _blockLines.Clear();
  _hasKernel = true;
  _block = BlockKind::None;
  return OK;
}

Result<void> BlockMachine::StoreFunction() {
  ShaderFunctionDefinition function;
  function.declaration = std::move(_declaration);
  function.declarationOrigin = _declarationOrigin;
  OSTRA_ASSIGN_OR_RETURN(function.body, _blockLines.Join());
  function.bodyOrigins = _blockLines.TakeOrigins();
  OSTRA_RETURN_IF_ERROR(_state.pieces.functions.Append(std::move(function)));
  _blockLines.Clear();
  _block = BlockKind::None;
  return OK;
}

// A later block takes the place of an earlier one.
void BlockMachine::StoreInputs() {
  _state.pieces.inputEntries = std::move(_inputs.inputs);
  _state.pieces.textureEntries = std::move(_inputs.textures);
  _inputs.Clear();
  _blockLines.Clear();
  _block = BlockKind::None;
}

}  // namespace ostra

// Translates the lines of a kernel file or stage file: cuts them into blocks and hands every line to the rules of its
// block.
#pragma once

#include "parallelprogram/shaderparser/collected_lines.h"
#include "parallelprogram/shaderparser/input_declarations.h"

namespace ostra {

// A block begins at a line that names it, or at the end of another one. Where it ends:
//
//   Kernel        at OSTRA_PARALLEL_KERNEL_END or FP_KERNEL_END; a kernel method at its closing brace
//   Function      an inline function, at its closing brace
//   InputStruct   `struct KernelInput`, at its closing brace
//   InputDefine   `#define KERNELINPUTS`, at an empty line or the line of a kernel
//
// An end macro ends any of them, and makes a kernel of what was collected.
class BlockMachine {
 public:
  // What becomes of a mistake in a line: it ends the parse, or the line is noted and reading goes on.
  enum class Mistakes { EndTheParse, ArePassedOver };

  // `file` is for messages; `state.origin.file` is its number.
  BlockMachine(ParseState& state, const Url& file, const SourceLines& lines, Mistakes mistakes = Mistakes::EndTheParse)
      : _state(state), _file(file), _lines(lines), _mistakes(mistakes) {}

  // Translates all lines into `state.pieces`, with a note about each. Errors: what is wrong in the source, unless it is
  // passed over; out of memory.
  Result<void> Run();

 private:
  // Reads the line at _index, and moves on over lines that are dropped with it.
  Result<void> ReadLine(std::string_view line);

  // Outside of blocks.
  Result<void> ReadOutside(std::string_view line);
  // A line of code after its rules.
  Result<std::string_view> Translate(std::string_view line);
  // True when the line begins a block.
  Result<Bool> BeginBlock(std::string_view line);
  Result<void> BeginKernel();
  void BeginInputs(BlockKind kind);
  Result<void> BeginFunction(std::string_view line);
  // True when the line is for the parser alone and is dropped.
  Result<Bool> ReadDirective(std::string_view line);
  Result<void> ReadGroupSize(std::string_view line);
  Result<void> FlushOutsideLines();

  // Inside of blocks.
  Result<void> ReadInside(std::string_view line);
  void SkipCpuScope();
  Result<std::string_view> ReadBlockLine(std::string_view line);
  // Notes what the declarations of a line have added to _inputs.
  Result<void> ReadDeclaration(std::string_view line);
  // Counts the braces of a line until they end the block.
  Result<void> CountBraces(std::string_view line);
  Result<void> EndBlockAtBrace();
  Result<void> StoreKernel();
  Result<void> StoreFunction();
  void StoreInputs();

  // The next line is dropped, whatever it holds.
  void SkipNextLine();
  // The brace that opens the block is on the next line, which is not read.
  void TakeBraceOfNextLine() {
    SkipNextLine();
    _closingDepth = _depth++;
  }

  // Notes what the line at _index is in the open block.
  void Note(LineUse use);
  // OK for a mistake that is passed over.
  Result<void> PassOver(Result<void> result) const;

  ParseState& _state;
  const Url& _file;
  const SourceLines& _lines;
  const Mistakes _mistakes;
  Int _index = 0;

  BlockKind _block = BlockKind::None;
  Int _depth = 0;         // of braces; only those in blocks count
  Int _closingDepth = 0;  // at which the block ends
  Bool _hasKernel = false;

  CollectedLines _outsideLines;
  CollectedLines _blockLines;
  InputLists _inputs;
  String _declaration;  // of the open function
  ShaderTextOrigin _declarationOrigin;
};

}  // namespace ostra

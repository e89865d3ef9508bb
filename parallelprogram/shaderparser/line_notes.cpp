#include "parallelprogram/shaderparser/line_notes.h"

#include "parallelprogram/shaderparser/block_machine.h"

namespace ostra {

Result<LineNotes> NoteLines(std::string_view text) {
  ShaderPieces pieces;
  OSTRA_RETURN_IF_ERROR(pieces.files.Append(Url()));
  OSTRA_RETURN_IF_ERROR(pieces.lineNotes.Append(LineNotes()));
  ParseState state(FindTargetLanguage(kTargetGlsl), EndlessSource::Refuse, LineEnds::Keep, pieces);
  OSTRA_RETURN_IF_ERROR(AddDeclarationRules(state));
  OSTRA_RETURN_IF_ERROR(AddBodyRules(state));
  OSTRA_ASSIGN_OR_RETURN(const SourceLines lines, SplitLines(text));
  OSTRA_RETURN_IF_ERROR(BlockMachine(state, pieces.files[0], lines, BlockMachine::Mistakes::ArePassedOver).Run());
  return std::move(pieces.lineNotes[0]);
}

}  // namespace ostra

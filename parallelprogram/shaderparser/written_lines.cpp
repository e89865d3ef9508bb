#include "parallelprogram/shaderparser/written_lines.h"

#include <algorithm>
#include <utility>

#include "parallelprogram/shaderparser/block_machine.h"
#include "parallelprogram/shaderparser/include_parser.h"

namespace ostra {
namespace {

// During the parse the two texts are files of their own, behind those that they stand for.
class WrittenLines {
 public:
  WrittenLines(ParseState& state, const WrittenSource& written)
      : _state(state), _written(written), _header(static_cast<Int32>(state.pieces.files.GetCount())) {}

  Result<void> Parse() {
    ShaderPieces& pieces = _state.pieces;
    for (Int i = 0; i < 2; ++i) {
      OSTRA_RETURN_IF_ERROR(pieces.files.Append(_written.files[0]));
      OSTRA_RETURN_IF_ERROR(pieces.lineNotes.Append(LineNotes()));
    }
    IncludeFile header;
    header.file = _header;
    header.source.text = _written.header;
    OSTRA_ASSIGN_OR_RETURN(const SourceLines headerLines, SplitLines(_written.header));
    _state.origin = {_header, 0};
    OSTRA_RETURN_IF_ERROR(_state.BeginNotes(headerLines.GetCount()));
    OSTRA_RETURN_IF_ERROR(ParseIncludeFile(_state, header));
    OSTRA_ASSIGN_OR_RETURN(const SourceLines lines, SplitLines(_written.text));
    _state.origin = {_header + 1, 0};
    return BlockMachine(_state, _written.files[0], lines).Run();
  }

  // All origins and notes in terms of the files.
  Result<void> Map() {
    ShaderPieces& pieces = _state.pieces;
    Map(_state.origin);
    for (ShaderFunctionDefinition& function : pieces.functions) {
      Map(function.declarationOrigin);
      Map(function.bodyOrigins);
    }
    for (ShaderStructDefinition& definition : pieces.structs) {
      Map(definition.origin);
      for (ShaderInputEntry& member : definition.members) Map(member.origin);
      for (ShaderStructMember& member : definition.declarations) Map(member.origin);
    }
    for (ShaderInputEntry& entry : pieces.inputEntries) Map(entry.origin);
    for (ShaderTextureEntry& entry : pieces.textureEntries) Map(entry.origin);
    for (ShaderMissingHeader& missing : pieces.missingHeaders) Map(missing.origin);
    for (ShaderTextOrigins& origins : pieces.globalCodeOrigins) Map(origins);
    Map(pieces.kernelCodeOrigins);
    Map(pieces.defineOrigins);
    Map(pieces.groupSharedDeclarationOrigins);
    if (pieces.lineNotes.GetCount() < _header + 2) return OK;
    OSTRA_RETURN_IF_ERROR(MapNotes());
    OSTRA_RETURN_IF_ERROR(pieces.lineNotes.Resize(_header));
    return pieces.files.Resize(_header);
  }

 private:
  const ShaderTextOrigins& GetLines(Int32 file) const {
    return file == _header ? _written.headerLines : _written.textLines;
  }

  void Map(ShaderTextOrigin& origin) const {
    if (origin.file < _header) return;
    const ShaderTextOrigins& lines = GetLines(origin.file);
    const Bool isLine = origin.line > 0 && origin.line <= lines.GetCount();
    origin = isLine ? lines[origin.line - 1] : ShaderTextOrigin();
  }
  void Map(ShaderTextOrigins& origins) const {
    for (ShaderTextOrigin& origin : origins) Map(origin);
  }

  // A line of a file gets the note of the first line that was made of it and is not blank; those of which nothing was
  // made stay unread.
  Result<void> MapNotes() {
    BaseArray<LineNotes>& all = _state.pieces.lineNotes;
    for (Int file = 0; file < _header; ++file) OSTRA_RETURN_IF_ERROR(all[file].Resize(_written.lineCounts[file]));
    for (Int32 written : {_header, _header + 1}) {
      const ShaderTextOrigins& lines = GetLines(written);
      LineNotes& notes = all[written];
      for (Int i = 0; i < std::min(notes.GetCount(), lines.GetCount()); ++i) {
        const ShaderTextOrigin origin = lines[i];
        if (origin.line == 0 || origin.line > all[origin.file].GetCount()) continue;
        LineNote& note = all[origin.file][origin.line - 1];
        if (note.use == LineUse::Unread || note.use == LineUse::Blank) note = std::move(notes[i]);
      }
    }
    return OK;
  }

  ParseState& _state;
  const WrittenSource& _written;
  const Int32 _header;  // number of the header's text; the main text has the next one
};

}  // namespace

Result<void> ParseWrittenSource(ParseState& state, const WrittenSource& written) {
  state.isWritten = true;
  for (const Url& file : written.files) OSTRA_RETURN_IF_ERROR(state.AddFile(file));
  WrittenLines lines(state, written);
  Result<void> result = lines.Parse();
  OSTRA_RETURN_IF_ERROR(lines.Map());
  return result;
}

}  // namespace ostra

#include "parallelprogram/shaderparser/shader_parser.h"

#include "ostra/core/source_message.h"
#include "parallelprogram/base/spin.h"
#include "parallelprogram/shaderparser/block_machine.h"
#include "parallelprogram/shaderparser/include_parser.h"
#include "parallelprogram/shaderparser/written_lines.h"

OSTRA_UNIT("shaderparser");

namespace ostra {
namespace {

enum InitState : Int32 { kNotParsed = 0, kParsing = 1, kParsed = 2 };

Result<void> ParseMainFile(ParseState& state, const Url& file, Int32 number) {
  state.origin = {number, 0};
  OSTRA_ASSIGN_OR_RETURN(const SourceFile source, ReadSourceFile(file, state.lineEnds, state.overlay));
  OSTRA_ASSIGN_OR_RETURN(const SourceLines lines, SplitLines(source.text));
  return BlockMachine(state, file, lines).Run();
}

Result<void> AddRules(ParseState& state, const DataDictionary& options) {
  OSTRA_RETURN_IF_ERROR(ReadOptions(state, options));
  OSTRA_RETURN_IF_ERROR(AddDeclarationRules(state));
  return AddBodyRules(state);
}

Result<void> ParseFile(ParseState& state, const Url& file, const DataDictionary& options) {
  OSTRA_ASSIGN_OR_RETURN(const Int32 number, state.AddFile(file));
  state.origin = {number, 0};
  OSTRA_RETURN_IF_ERROR(AddRules(state, options));
  OSTRA_ASSIGN_OR_RETURN(const BaseArray<IncludeFile> includes, ScanIncludes(state, file));
  for (const IncludeFile& include : includes) OSTRA_RETURN_IF_ERROR(ParseIncludeFile(state, include));
  return ParseMainFile(state, file, number);
}

Result<void> ParseWritten(ParseState& state, const WrittenSource& written, const DataDictionary& options) {
  OSTRA_RETURN_IF_ERROR(AddRules(state, options));
  return ParseWrittenSource(state, written);
}

}  // namespace

Result<StrongRef<ShaderParser>> ShaderParser::Create(const Id& targetLanguage) {
  ShaderParser* parser = NewObj<ShaderParser>(targetLanguage);
  if (!parser) return OSTRA_OUT_OF_MEMORY();
  return StrongRef<ShaderParser>::Adopt(parser);
}

Result<void> ShaderParser::Init(const Url& file, const DataDictionary& options, EndlessSource endless,
                                LineEnds lineEnds, const WrittenSource* written) {
  OSTRA_ASSIGN_OR_RETURN(const Bool isThere, HasSourceFile(file, _overlay ? &_overlay : nullptr));
  if (!isThere)
    return OSTRA_ILLEGAL_ARGUMENT("Illegal argument: Condition file.IoDetect() == IODETECT::FILE not fulfilled.");
  SpinState wait;
  while (true) {
    Int32 state = kNotParsed;
    if (_initState.CompareExchange(state, kParsing)) break;
    if (state == kParsed) return OK;
    while (_initState.Load() == kParsing) SpinWaitStep(wait);
  }
  Result<void> result = Parse(file, options, endless, lineEnds, written);
  _initState.Store(result ? kParsed : kNotParsed);
  return result;
}

Result<void> ShaderParser::Parse(const Url& file, const DataDictionary& options, EndlessSource endless,
                                 LineEnds lineEnds, const WrittenSource* written) {
  ParseState state(FindTargetLanguage(_targetLanguage), endless, lineEnds, _pieces);
  if (_overlay) state.overlay = &_overlay;
  Result<void> result = written ? ParseWritten(state, *written, options) : ParseFile(state, file, options);
  _lastOrigin = state.origin;
  return result;
}

Vec3<Int32> ShaderParser::GetWorkGroupSize() const {
  const Int32* const size = _pieces.workGroupSize;
  return size[0] == -1 ? Vec3<Int32>(256, 1, 1) : Vec3<Int32>(size[0], size[1], size[2]);
}

Error ShaderParser::PlaceError(const Error& error) const {
  const Bool hasPlace = _lastOrigin.file >= 0 && _lastOrigin.file < _pieces.files.GetCount();
  if (!hasPlace || error.GetKind() == kOutOfMemoryError || !GetSourceMessages(error).empty()) return error;
  return MakeSourceError(_pieces.files[_lastOrigin.file].GetView(), _lastOrigin.line, error.GetMessage().GetView(),
                         kOstraUnit, __LINE__, error.GetKind());
}

}  // namespace ostra

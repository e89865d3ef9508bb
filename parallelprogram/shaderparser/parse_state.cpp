#include "parallelprogram/shaderparser/parse_state.h"

#include "ostra/core/source_message.h"
#include "ostra/io/file.h"

OSTRA_UNIT("shaderparser");

namespace ostra {
namespace {

// Null when it is absent; a name that is not interned is in no dictionary.
const Data* FindOption(const DataDictionary& options, const Id& option) {
  const InternedId key = InternedId::Find(option.GetView());
  return key.IsPopulated() ? options.FindData(key) : nullptr;
}

}  // namespace

Result<Int32> ParseState::AddFile(const Url& file) {
  for (Int i = 0; i < pieces.files.GetCount(); ++i)
    if (pieces.files[i] == file) return static_cast<Int32>(i);
  // A parse that ran out of memory may have left more.
  OSTRA_RETURN_IF_ERROR(pieces.fileStamps.Resize(pieces.files.GetCount()));
  OSTRA_RETURN_IF_ERROR(pieces.lineNotes.Resize(pieces.files.GetCount()));
  auto stamp = GetModificationStamp(file);
  if (!stamp && stamp.GetError().GetKind() == kOutOfMemoryError) return stamp.TakeError();
  OSTRA_RETURN_IF_ERROR(pieces.fileStamps.Append(stamp ? *stamp : 0));
  OSTRA_RETURN_IF_ERROR(pieces.lineNotes.Append(LineNotes()));
  OSTRA_RETURN_IF_ERROR(pieces.files.Append(file));
  return static_cast<Int32>(pieces.files.GetCount() - 1);
}

Result<void> ParseState::BeginNotes(Int lineCount) {
  LineNotes& notes = pieces.lineNotes[origin.file];
  notes.Clear();
  return notes.Resize(lineCount);
}

Error ParseState::MakeLocatedError(std::string_view text) const {
  return MakeSourceError(pieces.files[origin.file].GetView(), origin.line, text, kOstraUnit, __LINE__);
}

Result<void> ReadOptions(ParseState& state, const DataDictionary& options) {
  String argument;
  if (const Data* data = FindOption(options, kShaderTemplateArgument)) {
    OSTRA_ASSIGN_OR_RETURN(argument, data->Get<String>());
  }
  if (const Data* data = FindOption(options, kShaderMultisampling)) {
    OSTRA_ASSIGN_OR_RETURN(state.multisampling, data->ConvertTo<Int32>());
  }
  if (argument.IsEmpty()) return OK;
  OSTRA_RETURN_IF_ERROR(state.typeRules.Append({"TYPE"_s, &ReplaceKeyword, argument}));
  return state.codeRules.Append({"TYPE"_s, &ReplaceKeyword, argument});
}

}  // namespace ostra

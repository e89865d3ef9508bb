#include "parallelprogram/shaderparser/input_declarations.h"

#include <algorithm>

#include "ostra/core/diagnostics.h"

OSTRA_UNIT("shaderparser");

namespace ostra {
namespace {

// What a Metal kernel takes at most.
constexpr Int32 kMaxMetalBuffers = 30;
constexpr Int32 kMaxMetalImages = 8;

Error MakeFormError() { return OSTRA_ILLEGAL_ARGUMENT("struct entry is not conforming to '(type) name' structure"); }

std::string_view WithoutLast(std::string_view text, std::size_t count = 1) {
  return text.substr(0, text.size() - std::min(text.size(), count));
}

std::string_view WithoutParentheses(std::string_view text) {
  return text.size() < 2 ? std::string_view() : text.substr(1, text.size() - 2);
}

// The kind that a word in front of the type stands for; 0 for none.
Int32 FindQualifier(std::string_view word) {
  if (word.find("attribute") != std::string_view::npos) return kShaderInputAttribute;
  if (word.find("varying") != std::string_view::npos) return kShaderInputVarying;
  if (word.find("out") != std::string_view::npos) return kShaderInputOut;
  return 0;
}

// T of `BaseArray<T>` and `Block<T>`: what stands between the first two angles, whichever way they point. Null text for
// other types.
std::string_view FindElementType(std::string_view type) {
  const std::size_t open = type.find_first_of("<>");
  if (open == std::string_view::npos) return {};
  const std::string_view container = type.substr(0, open);
  if (container != "BaseArray" && container != "Block") return {};
  type.remove_prefix(open + 1);
  return type.substr(0, type.find_first_of("<>"));
}

void CountMetalBuffer(ShaderPieces& pieces) {
  if (pieces.metalBufferCount++ >= kMaxMetalBuffers)
    DebugStop("Assertion failed: Too many buffers bound to kernel(>30). Metal compile will fail.");
}

void CountMetalImage(ShaderPieces& pieces) {
  if (pieces.metalImageCount++ >= kMaxMetalImages)
    DebugStop("Assertion failed: Too many UAV textures bound to kernel(>8). Metal compile will fail.");
}

// A name in the define form, without the comma and the backslash of a continued line.
std::string_view TakeListedName(std::string_view word) {
  if (word.ends_with('\\')) return WithoutLast(word, 2);
  return word.ends_with(',') ? WithoutLast(word) : word;
}

Result<void> AppendInput(ParseState& state, InputLists& lists, DataType type, std::string_view typeName,
                         std::string_view name, Int32 kind) {
  ShaderInputEntry entry;
  entry.dataType = type;
  entry.kind = kind;
  entry.origin = state.origin;
  OSTRA_ASSIGN_OR_RETURN(entry.typeName, CString::Create(typeName));
  OSTRA_ASSIGN_OR_RETURN(entry.name, CString::Create(name));
  OSTRA_RETURN_IF_ERROR(lists.inputs.Append(std::move(entry)));
  return OK;
}

// The words of a line in the define form, sorted.
struct DefineLine {
  std::string_view type;  // without parentheses, but for that which closes a constant type
  DataType valueType;     // of the type before it is looked for behind "(const"
  std::string_view name;
  Bool hasName = false;
  Int32 kind = 0;
};

// The name comes last: a type that makes no texture needs none.
Result<void> AppendTexture(ParseState& state, InputLists& lists, const DefineLine& line) {
  ShaderTextureEntry entry;
  OSTRA_ASSIGN_OR_RETURN(const Bool isTexture, ReadTextureType(line.type, entry));
  if (!isTexture) return OK;
  if (!line.hasName) return MakeFormError();
  OSTRA_ASSIGN_OR_RETURN(entry.name, CString::Create(line.name));
  entry.readOnly = (line.kind & kShaderInputReadOnly) != 0;
  entry.origin = state.origin;
  if (!entry.readOnly) CountMetalImage(state.pieces);
  OSTRA_RETURN_IF_ERROR(lists.textures.Append(std::move(entry)));
  return OK;
}

// `valueTypeName` holds the type after the type rules.
DefineLine SortDefineLine(const SourceWords& words, Int32 qualifier, std::string_view valueTypeName, Bool isWritten) {
  DefineLine line;
  line.type = valueTypeName;
  line.valueType = isWritten ? DataTypeFromWrittenName(valueTypeName) : DataTypeFromTypeName(valueTypeName);
  line.kind = qualifier;
  Int nameIndex = qualifier != 0 ? 2 : 1;
  if (!line.valueType.IsPopulated() && words[0] == "(const") {
    line.kind = kShaderInputReadOnly;
    line.type = words[1];
    nameIndex = 2;
  }
  line.hasName = words.GetCount() > nameIndex;
  line.name = TakeListedName(words[nameIndex]);
  return line;
}

}  // namespace

Result<void> ParseInputDefineLine(ParseState& state, const SourceWords& words, InputLists& lists) {
  if (words.GetCount() < 2) return MakeFormError();
  const Int32 qualifier = FindQualifier(words[0]);
  if (qualifier == 0 && words[0].find("IGNORE_VARIABLE_GPU") != std::string_view::npos) return OK;
  const std::string_view word = qualifier != 0 ? WithoutLast(words[1]) : WithoutParentheses(words[0]);
  OSTRA_ASSIGN_OR_RETURN(const std::string_view typeName, TranslateLine(state, state.typeRules, word));
  const DefineLine line = SortDefineLine(words, qualifier, typeName, state.isWritten);

  if (line.type.find("TextureSampler") != std::string_view::npos) return AppendTexture(state, lists, line);
  const std::string_view elementType = FindElementType(line.type);
  const Bool isBuffer = elementType.data() != nullptr;
  if (!isBuffer && !line.valueType.IsPopulated()) return OK;
  if (isBuffer) CountMetalBuffer(state.pieces);
  if (!line.hasName) return MakeFormError();
  if (!isBuffer) return AppendInput(state, lists, line.valueType, "", line.name, line.kind);
  OSTRA_ASSIGN_OR_RETURN(String element, String::Create(elementType));
  OSTRA_ASSIGN_OR_RETURN(element, CopyTranslated(state, state.typeRules, element));
  return AppendInput(state, lists, DataType(), element, line.name, line.kind);
}

Result<void> ParseInputStructLine(ParseState& state, const SourceWords& words, InputLists& lists) {
  const DataType valueType = DataTypeFromTypeName(words[0]);
  const Bool isValue = valueType.IsPopulated();
  const Bool isConstant = !isValue && words[0] == "const";
  const std::string_view elementType = isValue ? std::string_view() : FindElementType(words[isConstant ? 1 : 0]);
  if (!isValue && elementType.data() == nullptr) return OK;
  const Int nameIndex = isConstant ? 2 : 1;
  if (words.GetCount() <= nameIndex) return MakeFormError();
  if (!isValue) CountMetalBuffer(state.pieces);
  return AppendInput(state, lists, valueType, elementType, WithoutLast(words[nameIndex]),
                     isConstant ? kShaderInputReadOnly : 0);
}

}  // namespace ostra

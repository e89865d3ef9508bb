#include "parallelprogram/shaderassembly/struct_elements.h"

#include <algorithm>
#include <charconv>
#include <optional>

#include "ostra/core/format.h"
#include "ostra/core/source_message.h"
#include "ostra/core/struct_type.h"
#include "ostra/math/data_types.h"
#include "parallelprogram/kernellanguage/shader_words.h"
#include "parallelprogram/shaderassembly/element_types.h"

OSTRA_UNIT("shader_assembly_records");

namespace ostra {
namespace {

struct ElementWord {
  std::string_view names[2];
  const DataType& (*getType)();
};
constexpr ElementWord kWords[] = {
    {{"Float64", "double"}, &GetDataType<Float64>},   {{"sqmat", "sqmat"}, &GetDataType<SquareMatrix32>},
    {{"int2", "ivec2"}, &GetDataType<Vec2<Int32>>},   {{"int3", "ivec3"}, &GetDataType<Vec3<Int32>>},
    {{"uint2", "uvec2"}, &GetDataType<Vec2<UInt32>>}, {{"uint3", "uvec3"}, &GetDataType<Vec3<UInt32>>},
    {{"Int8", "Int8"}, &GetDataType<Int8>},           {{"UInt8", "UInt8"}, &GetDataType<UInt8>},
    {{"Int16", "Int16"}, &GetDataType<Int16>},        {{"UInt16", "UInt16"}, &GetDataType<UInt16>},
    {{"Int64", "Int64"}, &GetDataType<Int64>},        {{"UInt64", "UInt64"}, &GetDataType<UInt64>},
    {{"ivec4", "ivec4"}, &GetDataType<Vec4<Int32>>},  {{"uvec4", "uvec4"}, &GetDataType<Vec4<UInt32>>},
};

// As hosts know it.
std::string_view GetName(const ShaderStructMember& member) {
  const std::string_view name = member.name.GetView();
  if (!name.starts_with(kernellanguage::kMemberPrefix)) return name;
  const std::string_view own = name.substr(kernellanguage::kMemberPrefix.size());
  return kernellanguage::NeedsAnotherMemberName(own) ? own : name;
}

const ShaderStructDefinition* FindStruct(const ShaderParser& parser, std::string_view name) {
  for (const ShaderStructDefinition& definition : parser.GetStructs())
    if (definition.name == name) return &definition;
  return nullptr;
}

// The length of an array: a number, or a define of one.
std::optional<Int> FindLength(const ShaderParser& parser, std::string_view text) {
  constexpr std::string_view kDefine = "#define ";
  for (const String& define : parser.GetDefines()) {
    std::string_view rest = define.GetView();
    if (!rest.starts_with(kDefine)) continue;
    rest.remove_prefix(kDefine.size());
    const std::size_t blank = rest.find(' ');
    if (rest.substr(0, blank) != text || blank == std::string_view::npos) continue;
    text = rest.substr(rest.find_first_not_of(' ', blank));
    text = text.substr(0, text.find_first_of(" /"));
    break;
  }
  while (text.ends_with(' ')) text.remove_suffix(1);
  while (text.starts_with(' ')) text.remove_prefix(1);
  Int length = 0;
  const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), length);
  const std::string_view suffix(end, static_cast<std::size_t>(text.data() + text.size() - end));
  if (code != std::errc() || (!suffix.empty() && suffix != "u") || length < 1) return std::nullopt;
  return length;
}

class StructMaker {
 public:
  explicit StructMaker(const ShaderParser& parser) : _parser(parser) {}

  // No type where a length is not known.
  Result<DataType> Make(const ShaderStructDefinition& definition) {
    const std::string_view name = definition.name.GetString().GetView();
    if (definition.unclearLine.line != 0)
      return Fail(definition.unclearLine,
                  Format("this line of the struct \"@\" is not read by the translation for the GPU: write \"struct "
                         "Name\", the braces and each member \"type name;\" on lines of their own",
                         name));
    BaseArray<StructMember> members;
    Int size = 0, alignment = 1;
    for (const ShaderStructMember& declaration : definition.declarations) {
      StructMember member;
      OSTRA_ASSIGN_OR_RETURN(member.name, String::Create(GetName(declaration)));
      OSTRA_ASSIGN_OR_RETURN(member.type, FindType(name, declaration));
      if (!member.type.IsPopulated()) return DataType();
      if (declaration.dimension.IsPopulated()) {
        const auto length = FindLength(_parser, declaration.dimension.GetView());
        if (!length) return DataType();
        member.count = *length;
      }
      const Int needed = member.type.GetAlignment();
      if (size % needed != 0) return FailAtPadding(name, declaration, size, needed);
      member.offset = size;
      size += member.type.GetSize() * std::max<Int>(1, member.count);
      alignment = std::max(alignment, needed);
      OSTRA_RETURN_IF_ERROR(members.Append(std::move(member)));
    }
    if (size % alignment != 0) return FailAtPadding(name, definition.declarations.GetLast(), size, alignment);
    if (members.IsEmpty())
      return Fail(definition.origin, Format("the struct \"@\" has no members, and is the element of a buffer", name));
    return MakeStructType({name, size, alignment, {members.GetFirst(), members.GetCount()}});
  }

 private:
  Error Fail(const ShaderTextOrigin& origin, Result<String> text) const {
    if (!text) return text.TakeError();
    return MakeSourceError(_parser.GetFiles()[origin.file].GetView(), origin.line, text->GetView(), kOstraUnit,
                           __LINE__);
  }

  Error FailAtPadding(std::string_view structName, const ShaderStructMember& declaration, Int offset,
                      Int alignment) const {
    return Fail(declaration.origin,
                Format("the struct \"@\" has @ bytes at the member \"@\", where a multiple of @ is needed: languages "
                       "fill such gaps differently, so add members or change their order",
                       structName, offset, GetName(declaration), alignment));
  }

  Result<DataType> FindType(std::string_view structName, const ShaderStructMember& declaration) {
    const std::string_view word = declaration.type.GetView();
    std::string_view obstacle = FindElementTypeObstacle(word, _parser.GetTargetLanguage());
    if (const ShaderStructDefinition* const inner = FindStruct(_parser, word); inner && IsAbove(*inner, declaration))
      return Make(*inner);
    const DataType type = FindElementWord(word);
    if (type == GetDataType<Float64>()) obstacle = "structs in buffers have no 64-bit floats: use float";
    const Bool isNumber = GetNumberSize(type) != 0 || HasOtherSize(type);
    if (isNumber && obstacle.empty()) return type;
    if (obstacle.empty()) obstacle = "neither a type of numbers nor a struct of the headers, declared above";
    return Fail(declaration.origin, Format("the member \"@\" of the struct \"@\" is @: @", GetName(declaration),
                                           structName, word, obstacle));
  }

  // Structs are declared before they are used; this also ends chains of structs that hold each other.
  Bool IsAbove(const ShaderStructDefinition& inner, const ShaderStructMember& declaration) const {
    for (const ShaderStructDefinition& definition : _parser.GetStructs()) {
      if (&definition == &inner) return true;
      for (const ShaderStructMember& other : definition.declarations)
        if (&other == &declaration) return false;
    }
    return false;
  }

  // 0 for types that are not made of numbers.
  static Int GetNumberSize(DataType type) {
    while (type.IsMadeWith(kVectorParametricType) || type.IsMadeWith(kSquareMatrixParametricType))
      type = type.GetInnerType();
    const Bool isNumber = type == GetDataType<Float32>() || type == GetDataType<Int32>() ||
                          type == GetDataType<UInt32>() || type == GetDataType<HalfFloat>();
    return isNumber ? type.GetSize() : 0;
  }

  const ShaderParser& _parser;
};

}  // namespace

DataType FindElementWord(std::string_view word) {
  for (const ElementWord& known : kWords)
    if (word == known.names[0] || word == known.names[1]) return known.getType();
  return DataTypeFromTypeName(word);
}

Bool HasOtherSize(DataType type) {
  return type == GetDataType<Float64>() || type == GetDataType<Int64>() || type == GetDataType<UInt64>() ||
         type == GetDataType<Int8>() || type == GetDataType<UInt8>() || type == GetDataType<Int16>() ||
         type == GetDataType<UInt16>();
}

Result<DataType> MakeStructElementType(const ShaderParser& parser, std::string_view name) {
  const ShaderStructDefinition* const definition = FindStruct(parser, name);
  return definition ? StructMaker(parser).Make(*definition) : DataType();
}

}  // namespace ostra

#include "parallelprogram/shaderassembly/assembly_records.h"

#include <algorithm>
#include <functional>
#include <set>
#include <string>

#include "ostra/core/catch_out_of_memory.h"
#include "ostra/core/find_word.h"
#include "ostra/core/format.h"
#include "ostra/core/source_message.h"
#include "ostra/math/data_types.h"
#include "parallelprogram/kernelfront/tokens.h"
#include "parallelprogram/shaderassembly/element_types.h"
#include "parallelprogram/shaderassembly/resource_uses.h"
#include "parallelprogram/shaderassembly/struct_elements.h"
#include "parallelprogram/shaderparser/function_definition.h"

OSTRA_UNIT("shader_assembly_records");

namespace ostra {

namespace {

using TypeNames = std::set<std::string, std::less<>>;

// The types of elements of buffers and of their members. Structs are declared behind the structs of their members.
TypeNames FindStoredTypes(const ShaderParser& parser) {
  TypeNames stored;
  for (const ShaderInputEntry& input : parser.GetInputEntries())
    if (!input.dataType.IsPopulated()) stored.emplace(input.typeName.GetString().GetView());
  const BaseArray<ShaderStructDefinition>& structs = parser.GetStructs();
  for (Int i = structs.GetCount(); i-- > 0;) {
    if (!stored.contains(structs[i].name.GetString().GetView())) continue;
    for (const ShaderStructMember& member : structs[i].declarations) stored.emplace(member.type.GetView());
  }
  return stored;
}

class RecordMaker {
 public:
  RecordMaker(const ShaderParser& parser, DrawportStage stage) : _parser(parser), _stored(FindStoredTypes(parser)) {
    _records.language = parser.GetTargetLanguage();
    _records.stage = stage;
  }

  Result<ShaderRecords> Make() {
    OSTRA_RETURN_IF_ERROR(SetWorkGroupSize());
    OSTRA_ASSIGN_OR_RETURN(_uses, ResourceUses::Find(_parser));
    OSTRA_RETURN_IF_ERROR(AddTexts(_parser.GetDefines(), _parser.GetDefineOrigins(), _records.defines));
    OSTRA_RETURN_IF_ERROR(AddTexts(_parser.GetGroupSharedDeclarations(), _parser.GetGroupSharedDeclarationOrigins(),
                                   _records.groupShared));
    for (const ShaderFunctionDefinition& function : _parser.GetFunctions())
      OSTRA_RETURN_IF_ERROR(AddFunction(function));
    for (const ShaderInputEntry& input : _parser.GetInputEntries()) OSTRA_RETURN_IF_ERROR(AddInput(input));
    for (const ShaderTextureEntry& texture : _parser.GetTextureEntries()) OSTRA_RETURN_IF_ERROR(AddTexture(texture));
    for (Int i = 0; i < _parser.GetGlobalCode().GetCount(); ++i) {
      OSTRA_ASSIGN_OR_RETURN(ShaderCode code,
                             MakeCode(_parser.GetGlobalCode()[i].GetString(), _parser.GetGlobalCodeOrigins()[i]));
      OSTRA_RETURN_IF_ERROR(_records.fileScope.Append(std::move(code)));
    }
    OSTRA_ASSIGN_OR_RETURN(_records.body,
                           MakeCode(_parser.GetKernelCode().GetString(), _parser.GetKernelCodeOrigins()));
    // Behind the texts that name their members.
    for (const ShaderStructDefinition& definition : _parser.GetStructs()) OSTRA_RETURN_IF_ERROR(AddStruct(definition));
    OSTRA_RETURN_IF_ERROR(CheckNumbers());
    _records.noiseTableCount = _uses.GetNoiseTableCount();
    AssignBindings(_records);
    return std::move(_records);
  }

 private:
  ShaderOrigin MakeOrigin(const ShaderTextOrigin& origin) const {
    if (origin.line == 0 || origin.file < 0 || origin.file >= _parser.GetFiles().GetCount()) return {};
    return {_parser.GetFiles()[origin.file].GetText(), origin.line};
  }

  Result<ShaderCode> MakeCode(const String& text, const ShaderTextOrigins& origins) const {
    ShaderCode code{text, {}};
    OSTRA_RETURN_IF_ERROR(code.origins.Reserve(origins.GetCount()));
    for (const ShaderTextOrigin& origin : origins) OSTRA_RETURN_IF_ERROR(code.origins.Append(MakeOrigin(origin)));
    return code;
  }

  Result<void> SetWorkGroupSize() {
    const Vec3<Int32> size = _parser.GetWorkGroupSize();
    if (std::min({size.x, size.y, size.z}) < 1) {
      const Url file = _parser.GetFiles().IsEmpty() ? Url() : _parser.GetFiles()[0];
      OSTRA_ASSIGN_OR_RETURN(const String text,
                             Format("a work group of @ x @ x @ invocations cannot run", size.x, size.y, size.z));
      return MakeSourceError(file.GetView(), 0, text.GetView(), kOstraUnit, __LINE__);
    }
    _records.workGroupSize =
        Vec3<UInt32>(static_cast<UInt32>(size.x), static_cast<UInt32>(size.y), static_cast<UInt32>(size.z));
    return OK;
  }

  // Texts of which each comes from one line.
  Result<void> AddTexts(const BaseArray<String>& texts, const BaseArray<ShaderTextOrigin>& origins,
                        BaseArray<ShaderCode>& target) const {
    for (Int i = 0; i < texts.GetCount(); ++i) {
      ShaderCode code{texts[i], {}};
      OSTRA_RETURN_IF_ERROR(code.origins.Append(MakeOrigin(origins[i])));
      OSTRA_RETURN_IF_ERROR(target.Append(std::move(code)));
    }
    return OK;
  }

  Result<void> AddStruct(const ShaderStructDefinition& definition) {
    ShaderStruct added{definition.name.GetString(), {}, MakeOrigin(definition.origin)};
    const Bool isStored = _stored.contains(added.name.GetView());
    for (const ShaderStructMember& member : definition.declarations) {
      const Bool isNamed = !isStored && IsNamed(member.name.GetView());
      OSTRA_ASSIGN_OR_RETURN(String type, MakeMemberType(member.type, isStored || isNamed));
      if (type.IsEmpty()) continue;
      if (isNamed) OSTRA_RETURN_IF_ERROR(CheckMember(added, member));
      OSTRA_ASSIGN_OR_RETURN(String name, member.dimension.IsEmpty() ? Result<String>(member.name)
                                                                     : Format("@[@]", member.name, member.dimension));
      OSTRA_RETURN_IF_ERROR(
          added.members.Append(ShaderMember{std::move(type), std::move(name), MakeOrigin(member.origin)}));
    }
    OSTRA_RETURN_IF_ERROR(_records.structs.Append(std::move(added)));
    return OK;
  }

  // Whether a text of the program names the member, or something else of this name.
  Bool IsNamed(std::string_view member) const {
    const auto isIn = [member](const ShaderCode& code) { return HasWord(code.text.GetView(), member); };
    return isIn(_records.body) || std::any_of(_records.functions.begin(), _records.functions.end(), isIn) ||
           std::any_of(_records.fileScope.begin(), _records.fileScope.end(), isIn);
  }

  // Members of elements are checked with their buffers.
  Result<void> CheckMember(const ShaderStruct& owner, const ShaderStructMember& member) const {
    const std::string_view obstacle = FindElementTypeObstacle(member.type.GetView(), _records.language);
    if (obstacle.empty() || !HasOtherSize(FindElementWord(member.type.GetView()))) return OK;
    OSTRA_ASSIGN_OR_RETURN(const String what,
                           Format("the member \"@\" of the struct \"@\" is @", member.name, owner.name, member.type));
    return MakeNumberError(what.GetView(), obstacle, MakeOrigin(member.origin));
  }

  // The type of a member in generated declarations; empty for types that programs on GPUs do without: those of another
  // size, unless they are needed.
  Result<String> MakeMemberType(const String& word, Bool isNeeded) const {
    const DataType type = DataTypeFromTypeName(word.GetView());
    if (type.IsPopulated()) return ShaderTypeName(type, CString(), _parser.GetTargetLanguage()).GetString();
    for (const ShaderStruct& known : _records.structs)
      if (known.name == word) return word;
    const DataType other = FindElementWord(word.GetView());
    return other.IsPopulated() && (isNeeded || !HasOtherSize(other)) ? word : String();
  }

  Result<void> AddFunction(const ShaderFunctionDefinition& function) {
    const ShaderOrigin origin = MakeOrigin(function.declarationOrigin);
    auto definition = MakeFunctionDefinition(_parser, function);
    if (!definition && definition.GetError().GetKind() == kIllegalArgumentError)
      return MakeSourceError(origin.file.GetView(), origin.line, definition.GetError().GetMessage().GetView(),
                             kOstraUnit, __LINE__);
    ShaderCode code;
    OSTRA_ASSIGN_OR_RETURN(code.text, std::move(definition));
    OSTRA_RETURN_IF_ERROR(code.origins.Append(origin));
    for (const ShaderTextOrigin& line : function.bodyOrigins)
      OSTRA_RETURN_IF_ERROR(code.origins.Append(MakeOrigin(line)));
    OSTRA_RETURN_IF_ERROR(_records.functions.Append(std::move(code)));
    return OK;
  }

  Result<void> AddInput(const ShaderInputEntry& input) {
    ShaderParameter parameter;
    parameter.name = input.name.GetString();
    parameter.origin = MakeOrigin(input.origin);
    if ((input.kind & kShaderInputReadOnly) != 0) parameter.access = DrawportBufferAccess::ReadOnly;
    if (!input.dataType.IsPopulated()) {
      parameter.kind = ShaderParameterKind::Buffer;
      parameter.elementType = input.typeName.GetString();
      OSTRA_RETURN_IF_ERROR(CheckElementType(parameter));
      OSTRA_ASSIGN_OR_RETURN(parameter.structType, MakeStructElementType(_parser, parameter.elementType.GetView()));
    } else {
      SetValue(input, parameter);
    }
    OSTRA_RETURN_IF_ERROR(_records.parameters.Append(std::move(parameter)));
    return OK;
  }

  // What the compiler would say of such a type explains nothing.
  Result<void> CheckElementType(const ShaderParameter& parameter) const {
    const std::string_view type = parameter.elementType.GetView();
    const std::string_view obstacle = FindElementTypeObstacle(type, _parser.GetTargetLanguage());
    if (obstacle.empty() || IsDefinedElementType(_parser, type)) return OK;
    OSTRA_ASSIGN_OR_RETURN(const String text, Format("the elements of \"@\" are @: @", parameter.name, type, obstacle));
    return MakeSourceError(parameter.origin.file.GetView(), parameter.origin.line, text.GetView(), kOstraUnit,
                           __LINE__);
  }

  void SetValue(const ShaderInputEntry& input, ShaderParameter& parameter) const {
    const ShaderValueForm form = GetDeclaredValueForm(input.dataType);
    parameter.valueType = form.type;
    parameter.elementType = FindWideWord(input.dataType);
    if ((input.kind & kShaderInputAttribute) != 0) {
      parameter.kind = ShaderParameterKind::Attribute;
    } else if ((input.kind & kShaderInputVarying) != 0) {
      parameter.kind = ShaderParameterKind::Varying;
    } else if ((input.kind & kShaderInputOut) != 0) {
      parameter.kind = ShaderParameterKind::Output;
    } else if (form.kind == ShaderValueForm::Kind::Counter) {
      parameter.kind = ShaderParameterKind::Counter;
    } else if (form.kind == ShaderValueForm::Kind::ValueBuffer) {
      parameter.kind = ShaderParameterKind::Buffer;
      parameter.isValue = true;
      parameter.byteSize = input.dataType.IsPopulated() ? input.dataType.GetSize() : 0;
      parameter.elementType = ShaderTypeName(input.dataType, CString(), _parser.GetTargetLanguage()).GetString();
    }
  }

  Result<void> AddTexture(const ShaderTextureEntry& entry) {
    ShaderTexture texture;
    texture.name = entry.name.GetString();
    texture.textureType = static_cast<DrawportTextureType>(entry.textureType);
    texture.format = entry.format;
    texture.isLinear = entry.linear;
    texture.isImage = !entry.readOnly;
    texture.hasLayers = !texture.isImage && _uses.IsReadWithLayer(texture.name);
    texture.isMultisampled = !texture.isImage && _uses.IsReadBySample(texture.name);
    texture.origin = MakeOrigin(entry.origin);
    OSTRA_RETURN_IF_ERROR(_records.textures.Append(std::move(texture)));
    return OK;
  }

  // Of values of 64 bits; empty for others.
  static String FindWideWord(DataType type) {
    if (type == GetDataType<Int64>()) return "Int64"_s;
    if (type == GetDataType<UInt64>()) return "UInt64"_s;
    return type == GetDataType<Float64>() ? "Float64"_s : String();
  }

  // What not every language has. Elements of buffers are checked where they are declared.
  Result<void> CheckNumbers() const {
    for (const ShaderParameter& parameter : _records.parameters) {
      if (parameter.kind != ShaderParameterKind::Value) continue;
      const std::string_view obstacle = FindElementTypeObstacle(parameter.elementType.GetView(), _records.language);
      if (obstacle.empty()) continue;
      OSTRA_ASSIGN_OR_RETURN(const String what, Format("the value \"@\" is @", parameter.name, parameter.elementType));
      return MakeNumberError(what.GetView(), obstacle, parameter.origin);
    }
    if (_records.language != kShadingLanguageHlsl) return OK;
    for (const BaseArray<ShaderCode>* codes : {&_records.defines, &_records.groupShared, &_records.functions})
      for (const ShaderCode& code : *codes) OSTRA_RETURN_IF_ERROR(CheckLongIntegers(code));
    for (const ShaderCode& code : _records.fileScope) OSTRA_RETURN_IF_ERROR(CheckLongIntegers(code));
    return CheckLongIntegers(_records.body);
  }

  Result<void> CheckLongIntegers(const ShaderCode& code) const {
    const std::string_view text = code.text.GetView();
    if (text.find("Int64") == std::string_view::npos) return OK;
    return CatchOutOfMemory(kOstraUnit, __LINE__, [&]() -> Result<void> {
      for (const kernelfront::Token& token : kernelfront::ReadTokens(text)) {
        const std::string_view word = text.substr(token.begin, token.end - token.begin);
        if (word != "Int64" && word != "UInt64") continue;
        const Int line = token.line - 1;
        return MakeNumberError(word, FindElementTypeObstacle(word, _records.language),
                               line < code.origins.GetCount() ? code.origins[line] : ShaderOrigin());
      }
      return OK;
    });
  }

  static Error MakeNumberError(std::string_view what, std::string_view obstacle, const ShaderOrigin& origin) {
    Result<String> text = Format("@: @", what, obstacle);
    if (!text) return text.TakeError();
    return MakeSourceError(origin.file.GetView(), origin.line, text->GetView(), kOstraUnit, __LINE__);
  }

  const ShaderParser& _parser;
  const TypeNames _stored;
  ResourceUses _uses;
  ShaderRecords _records;
};

}  // namespace

Result<String> MakeFunctionDefinition(const ShaderParser& parser, const ShaderFunctionDefinition& function) {
  OSTRA_ASSIGN_OR_RETURN(const CString text, CString::Create(function.declaration));
  OSTRA_ASSIGN_OR_RETURN(const FunctionDeclaration declaration, ParseFunctionDeclaration(text));
  OSTRA_ASSIGN_OR_RETURN(const InternedId language, InternedId::Create(parser.GetTargetLanguage().GetView()));
  return BuildFunctionDefinition(language, declaration, function.body);
}

DrawportStage GetStageOfFile(const Url& file) {
  const String suffix = file.GetSuffix();
  if (suffix == "vert") return DrawportStage::Vertex;
  if (suffix == "frag") return DrawportStage::Fragment;
  if (suffix == "tsc") return DrawportStage::TessellationControl;
  if (suffix == "tse") return DrawportStage::TessellationEvaluation;
  return DrawportStage::Compute;
}

Result<ShaderRecords> MakeShaderRecords(const ShaderParser& parser, DrawportStage stage) {
  return RecordMaker(parser, stage).Make();
}

}  // namespace ostra

#include "ostra/drawport/shading/shader_item.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>

#include "ostra/core/find_word.h"
#include "ostra/core/format.h"

OSTRA_UNIT("shader_assembly");

namespace ostra::shading {

namespace {

// By type code. Noise tables and gradients are pairs of numbers.
struct ValueType {
  DrawportShaderValueType type;
  std::string_view name;
  Int size;
  // In the uniform buffer: the strictest of the rules of all languages, so that one layout suits them all.
  Int alignment;
  Bool isInteger;
};

constexpr ValueType kValueTypes[] = {
    {DrawportShaderValueType::Float, "Float", 4, 4, false},
    {DrawportShaderValueType::Float2, "Float2", 8, 8, false},
    {DrawportShaderValueType::Float3, "Float3", 12, 16, false},
    {DrawportShaderValueType::Float4, "Float4", 16, 16, false},
    {DrawportShaderValueType::Matrix3, "Matrix3", 48, 16, false},
    {DrawportShaderValueType::Matrix4, "Matrix4", 64, 16, false},
    {DrawportShaderValueType::Int, "Int", 4, 4, true},
    {DrawportShaderValueType::Int2, "Int2", 8, 8, true},
    {DrawportShaderValueType::Int3, "Int3", 12, 16, true},
    {DrawportShaderValueType::Int4, "Int4", 16, 16, true},
    {DrawportShaderValueType::UInt, "UInt", 4, 4, true},
    {DrawportShaderValueType::UInt2, "UInt2", 8, 8, true},
    {DrawportShaderValueType::UInt3, "UInt3", 12, 16, true},
    {DrawportShaderValueType::UInt4, "UInt4", 16, 16, true},
    {DrawportShaderValueType::Gradient, "UInt2", 8, 8, true},
    {DrawportShaderValueType::NoiseTable, "NoiseTable", 8, 8, true},
};

const ValueType* FindValueType(DrawportShaderValueType type) {
  const auto* found = std::find_if(std::begin(kValueTypes), std::end(kValueTypes),
                                   [type](const ValueType& known) { return known.type == type; });
  return found == std::end(kValueTypes) ? nullptr : found;
}

Result<const ValueType*> GetValueType(const String& name, DrawportShaderValueType type) {
  const ValueType* const found = FindValueType(type);
  if (!found)
    return OSTRA_ILLEGAL_ARGUMENT("The parameter \"@\" has the type @, which no value of a shader can have.", name,
                                  static_cast<Int32>(type));
  return found;
}

constexpr Int AlignUp(Int offset, Int alignment) { return (offset + alignment - 1) / alignment * alignment; }

// Whether a member of a struct is of one of the types.
Bool UsesInMember(const ShaderRecords& records, std::initializer_list<std::string_view> types) {
  for (const ShaderStruct& structure : records.structs)
    for (const ShaderMember& member : structure.members)
      if (std::find(types.begin(), types.end(), member.type.GetView()) != types.end()) return true;
  return false;
}

// Whether the source of a kernel or stage has one of the words.
Bool UsesWord(const ShaderRecords& records, std::initializer_list<std::string_view> words) {
  const auto isIn = [words](const String& text) {
    return std::any_of(words.begin(), words.end(),
                       [&text](std::string_view word) { return HasWord(text.GetView(), word); });
  };
  const auto isInOne = [isIn](const BaseArray<ShaderCode>& codes) {
    for (const ShaderCode& code : codes)
      if (isIn(code.text)) return true;
    return false;
  };
  for (const ShaderParameter& parameter : records.parameters)
    if (isIn(parameter.elementType)) return true;
  if (UsesInMember(records, words)) return true;
  return isIn(records.body.text) || isInOne(records.defines) || isInOne(records.groupShared) ||
         isInOne(records.functions) || isInOne(records.fileScope);
}

// The section of a value, by the type of 64 bits that it is read as.
std::string_view GetValueSection(const ShaderParameter& parameter) {
  if (parameter.elementType == "Int64") return "Int64 value";
  if (parameter.elementType == "UInt64") return "UInt64 value";
  return parameter.elementType == "Float64" ? "Float64 value" : "value";
}

Bool IsCounter(const ShaderParameter& parameter) {
  return parameter.kind == ShaderParameterKind::Counter ||
         (parameter.kind == ShaderParameterKind::Value && parameter.valueType == DrawportShaderValueType::AtomicUInt);
}

// Makes the list of items of one shader.
class ItemMaker {
 public:
  ItemMaker(const ShaderRecords& records, const Sections& sections) : _records(records), _sections(sections) {}

  Result<ShaderItems> Make() {
    OSTRA_RETURN_IF_ERROR(AddExtensions());
    OSTRA_RETURN_IF_ERROR(AddUniforms());
    if (_items.uniforms.IsPopulated()) OSTRA_RETURN_IF_ERROR(AddUniformBuffer());
    OSTRA_RETURN_IF_ERROR(AddGradients());
    for (const ShaderParameter& parameter : _records.parameters) OSTRA_RETURN_IF_ERROR(AddParameter(parameter));
    for (const ShaderTexture& texture : _records.textures)
      OSTRA_RETURN_IF_ERROR(AddTextureItem(texture, _sections, _items.items));
    if (_records.stage == DrawportStage::Fragment) OSTRA_RETURN_IF_ERROR(AddSampleNumber());
    return std::move(_items);
  }

 private:
  // What a device need not have is asked for only by programs that use it.
  Result<void> AddExtensions() {
    if (UsesWord(_records, {"Int64", "UInt64"})) OSTRA_RETURN_IF_ERROR(AddItem("long integers", 0));
    if (UsesWord(_records, {"Int8", "UInt8"})) OSTRA_RETURN_IF_ERROR(AddItem("bytes", 0));
    if (UsesWord(_records, {"Int16", "UInt16"})) OSTRA_RETURN_IF_ERROR(AddItem("short integers", 0));
    // Structs are variables, too.
    if (UsesInMember(_records, {"Int8", "UInt8"})) OSTRA_RETURN_IF_ERROR(AddItem("byte members", 0));
    if (UsesInMember(_records, {"Int16", "UInt16"})) OSTRA_RETURN_IF_ERROR(AddItem("short members", 0));
    return OK;
  }

  Result<void> AddUniforms() {
    for (const ShaderParameter& parameter : _records.parameters)
      if (parameter.kind == ShaderParameterKind::Value && !IsCounter(parameter))
        OSTRA_RETURN_IF_ERROR(
            AddUniform(parameter.name, parameter.valueType, parameter.origin, GetValueSection(parameter)));
    for (Int i = 0; i < _records.noiseTableCount; ++i) {
      OSTRA_RETURN_IF_ERROR(AddNoiseUniform("noiseMode_@", i, DrawportShaderValueType::Int));
      OSTRA_RETURN_IF_ERROR(AddNoiseUniform("noiseSeed_@", i, DrawportShaderValueType::Int));
      OSTRA_RETURN_IF_ERROR(AddNoiseUniform("noiseData_@", i, DrawportShaderValueType::NoiseTable));
    }
    for (const ShaderTexture& texture : _records.textures) {
      if (texture.isImage || texture.isMultisampled) continue;
      OSTRA_ASSIGN_OR_RETURN(const String name, MakeWrapUniformName(texture.name));
      OSTRA_RETURN_IF_ERROR(AddUniform(name, DrawportShaderValueType::UInt, texture.origin));
    }
    _items.uniformByteCount = AlignUp(_items.uniformByteCount, 16);
    return OK;
  }

  Result<void> AddNoiseUniform(std::string_view pattern, Int index, DrawportShaderValueType type) {
    OSTRA_ASSIGN_OR_RETURN(const String name, Format(pattern, index));
    for (const UniformItem& known : _items.uniforms)
      if (known.uniform.name == name) return OK;
    return AddUniform(name, type, ShaderOrigin());
  }

  Result<void> AddUniform(const String& name, DrawportShaderValueType type, const ShaderOrigin& origin,
                          std::string_view section = "value") {
    OSTRA_ASSIGN_OR_RETURN(const ValueType* const valueType, GetValueType(name, type));
    const Int offset = AlignUp(_items.uniformByteCount, valueType->alignment);
    // Some languages leave no room for a scalar behind three components.
    _items.uniformByteCount = AlignUp(offset + valueType->size, valueType->alignment);
    UniformItem uniform{{name, type, offset}, {}};
    uniform.item.sections[0] = type == DrawportShaderValueType::Gradient ? "gradient" : section;
    uniform.item.origin = origin;
    OSTRA_RETURN_IF_ERROR(uniform.item.Set("name", name));
    OSTRA_RETURN_IF_ERROR(uniform.item.SetStatic("type", _sections.GetName("type", valueType->name)));
    OSTRA_RETURN_IF_ERROR(uniform.item.Set("offset", offset));
    // A register has four components.
    constexpr std::string_view kComponents[] = {".x", ".y", ".z", ".w"};
    OSTRA_ASSIGN_OR_RETURN(
        const String place,
        Format("@@", offset / 16, valueType->size < 16 ? kComponents[offset % 16 / 4] : std::string_view()));
    OSTRA_RETURN_IF_ERROR(uniform.item.Set("register", place));
    OSTRA_RETURN_IF_ERROR(_items.uniforms.Append(std::move(uniform)));
    return OK;
  }

  Result<ShaderItem&> AddItem(std::string_view section, Int binding) {
    OSTRA_ASSIGN_OR_RETURN(ShaderItem & item, _items.items.Append(ShaderItem()));
    item.sections[0] = section;
    OSTRA_RETURN_IF_ERROR(item.Set("binding", binding));
    return item;
  }

  Result<void> AddUniformBuffer() {
    OSTRA_RETURN_IF_ERROR(AddItem("uniforms", _records.uniformBinding));
    return OK;
  }

  Result<void> AddGradients() {
    for (const UniformItem& uniform : _items.uniforms) {
      if (uniform.uniform.type != DrawportShaderValueType::Gradient) continue;
      OSTRA_RETURN_IF_ERROR(AddItem("gradients", _records.gradientBinding));
      return OK;
    }
    return OK;
  }

  Result<void> AddParameter(const ShaderParameter& parameter) {
    if (parameter.kind == ShaderParameterKind::Value && !IsCounter(parameter)) return OK;
    OSTRA_ASSIGN_OR_RETURN(const std::string_view section, GetSection(parameter));
    const Bool isInput = section == "attribute" || section == "varying in";
    // What stages receive together is declared once.
    if (isInput && !std::exchange(_hasInputs, true)) OSTRA_RETURN_IF_ERROR(AddItem("inputs", 0));
    OSTRA_ASSIGN_OR_RETURN(ShaderItem & item, AddItem(section, parameter.binding));
    item.origin = parameter.origin;
    OSTRA_RETURN_IF_ERROR(item.Set("name", parameter.name));
    if (parameter.kind == ShaderParameterKind::Buffer) {
      const Bool isReadOnly = parameter.isValue || parameter.access == DrawportBufferAccess::ReadOnly;
      OSTRA_RETURN_IF_ERROR(item.Set("type", parameter.elementType));
      OSTRA_RETURN_IF_ERROR(
          item.SetStatic("access", _sections.GetName(isReadOnly ? "read access" : "write access", "")));
      return item.SetStatic("register class", isReadOnly ? "t" : "u");
    }
    if (IsCounter(parameter)) return OK;
    OSTRA_ASSIGN_OR_RETURN(const ValueType* const type, GetValueType(parameter.name, parameter.valueType));
    OSTRA_RETURN_IF_ERROR(item.SetStatic("type", _sections.GetName("type", type->name)));
    if (parameter.kind == ShaderParameterKind::Output) OSTRA_RETURN_IF_ERROR(SetFilling(*type, item));
    return item.SetStatic("flat", type->isInteger ? _sections.GetName("flat", "") : std::string_view());
  }

  // Devices leave components open that a stage does not give: all four are written.
  Result<void> SetFilling(const ValueType& type, ShaderItem& item) {
    const Int channels = std::clamp<Int>(type.size / 4, 1, 4);
    const std::string_view four = !type.isInteger ? "Float4" : type.name.starts_with("UInt") ? "UInt4" : "Int4";
    OSTRA_RETURN_IF_ERROR(item.SetStatic("four", _sections.GetName("type", four)));
    return item.SetStatic("filling", GetFilling(channels, type.isInteger));
  }

  Result<std::string_view> GetSection(const ShaderParameter& parameter) {
    const DrawportStage stage = _records.stage;
    if (parameter.kind == ShaderParameterKind::Buffer)
      return std::string_view(parameter.isValue ? "value buffer" : "buffer");
    if (IsCounter(parameter)) return std::string_view("counter");
    if (parameter.kind == ShaderParameterKind::Attribute && stage == DrawportStage::Vertex)
      return std::string_view("attribute");
    if (parameter.kind == ShaderParameterKind::Varying && stage == DrawportStage::Vertex)
      return std::string_view("varying out");
    if (parameter.kind == ShaderParameterKind::Varying && stage == DrawportStage::Fragment)
      return std::string_view("varying in");
    if (parameter.kind == ShaderParameterKind::Varying && stage == DrawportStage::TessellationControl)
      return std::string_view("control varying");
    if (parameter.kind == ShaderParameterKind::Varying && stage == DrawportStage::TessellationEvaluation)
      return std::string_view("evaluation varying");
    if (parameter.kind == ShaderParameterKind::Output && stage == DrawportStage::Fragment)
      return std::string_view(parameter.name.Contains("depth") && parameter.binding < 0 ? "depth" : "colour");
    return OSTRA_ILLEGAL_ARGUMENT("The parameter \"@\" cannot stand in this stage of a program.", parameter.name);
  }

  // Asking for the number of the sample makes a device run the program for each sample: only when it is used.
  Result<void> AddSampleNumber() {
    constexpr std::string_view kWord = "InSampleID";
    if (UsesWord(_records, {kWord})) OSTRA_RETURN_IF_ERROR(AddItem("sample", 0));
    return OK;
  }

  const ShaderRecords& _records;
  const Sections& _sections;
  ShaderItems _items;
  Bool _hasInputs = false;
};

}  // namespace

Result<void> ShaderItem::Set(std::string_view key, const String& value) {
  OSTRA_RETURN_IF_ERROR(placeholders.Append(Placeholder{key, value}));
  return OK;
}

Result<void> ShaderItem::Set(std::string_view key, Int number) {
  OSTRA_ASSIGN_OR_RETURN(const String text, Format("@", number));
  return Set(key, text);
}

Result<void> ShaderItem::SetStatic(std::string_view key, std::string_view value) {
  return Set(key, value.empty() ? String() : String::FromStatic(value.data(), value.size()));
}

const String* ShaderItem::Find(std::string_view key) const {
  for (const Placeholder& placeholder : placeholders)
    if (placeholder.key == key) return &placeholder.value;
  return nullptr;
}

Result<ShaderItems> MakeShaderItems(const ShaderRecords& records, const Sections& sections) {
  return ItemMaker(records, sections).Make();
}

}  // namespace ostra::shading

namespace ostra {

Int GetUniformSize(DrawportShaderValueType type) {
  const auto* found = shading::FindValueType(type);
  return found ? found->size : 0;
}

Result<String> MakeWrapUniformName(std::string_view textureName) { return Format("wrapModesOf_@", textureName); }

Int GetLocationCount(DrawportShaderValueType type) {
  if (type == DrawportShaderValueType::Matrix4) return 4;
  return type == DrawportShaderValueType::Matrix3 ? 3 : 1;
}

void AssignBindings(ShaderRecords& records) {
  Int next = 0, location = 0, target = 0;
  if (records.uniformBinding < 0) records.uniformBinding = 0;
  // Numbers that are given already stay free of others.
  const auto isTaken = [&records](Int binding) {
    Bool taken = binding == records.uniformBinding || binding == records.gradientBinding;
    for (const ShaderParameter& parameter : records.parameters)
      taken = taken || ((parameter.kind == ShaderParameterKind::Buffer || shading::IsCounter(parameter)) &&
                        parameter.binding == binding);
    for (const ShaderTexture& texture : records.textures) taken = taken || texture.binding == binding;
    return taken;
  };
  const auto takeNext = [&] {
    while (isTaken(next)) ++next;
    return next;
  };
  for (ShaderParameter& parameter : records.parameters) {
    if (parameter.binding >= 0) continue;
    if (parameter.kind == ShaderParameterKind::Buffer || shading::IsCounter(parameter))
      parameter.binding = takeNext();
    else if (parameter.kind == ShaderParameterKind::Output)
      parameter.binding = parameter.name.Contains("depth") ? -1 : target++;
  }
  for (ShaderTexture& texture : records.textures)
    if (texture.binding < 0) texture.binding = takeNext();
  if (records.gradientBinding < 0) records.gradientBinding = takeNext();
  for (const ShaderParameterKind kind : {ShaderParameterKind::Attribute, ShaderParameterKind::Varying}) {
    location = 0;
    for (ShaderParameter& parameter : records.parameters) {
      if (parameter.kind != kind || parameter.binding >= 0) continue;
      parameter.binding = location;
      location += GetLocationCount(parameter.valueType);
    }
  }
}

}  // namespace ostra

// What one language cannot do although its stand-in compilers here accept it.
#include <algorithm>
#include <charconv>

#include "ostra/math/data_types.h"
#include "parallelprogram/kernellanguage/types.h"
#include "plans/lints/lints.h"
#include "plans/values/element_numbers.h"
#include "plans/values/text.h"

namespace ostra::plans {

namespace {

// Limits of the languages themselves; devices may have lower ones.
constexpr UInt64 kMaxGroupSize = 1024;
constexpr UInt64 kMaxGroupDepth = 64;  // z, in HLSL
constexpr UInt64 kMaxGroupBytes = 32768;
constexpr Int kMaxSamplers = 16;

class RecordLinter {
 public:
  RecordLinter(const ShaderRecords& records, const std::string& file, Findings& findings)
      : _records(records), _file(file), _findings(findings) {}

  void Lint() {
    const Bool isHlsl = _records.language == kShadingLanguageHlsl;
    const Bool isMetal = _records.language == kShadingLanguageMetal;
    if ((isHlsl || isMetal) && _records.stage == DrawportStage::Compute) {
      LintGroupSize(isHlsl);
      LintGroupMemory();
    }
    if (isHlsl) LintHalfBuffers();
    if (!isMetal) return;
    LintMatrices();
    LintSamplers();
    LintArrays();
  }

 private:
  void Add(const ShaderOrigin& origin, Severity severity, const std::string& text) {
    const std::string name = origin.line > 0 ? TextOf(origin.file.GetView()) : _file;
    _findings.Add({name, origin.line, severity, text + " [" + TextOf(_records.language.GetView()) + "]"});
  }

  void LintGroupSize(Bool isHlsl) {
    const Vec3<UInt32> size = _records.workGroupSize;
    const UInt64 count = UInt64{size.x} * size.y * size.z;
    if (count > kMaxGroupSize)
      Add({}, Severity::Error,
          "a work group of " + std::to_string(count) + " invocations: at most " + std::to_string(kMaxGroupSize) +
              " are possible");
    else if (isHlsl && size.z > kMaxGroupDepth)
      Add({}, Severity::Error,
          "a work group of " + std::to_string(size.z) + " layers: at most " + std::to_string(kMaxGroupDepth) +
              " are possible");
  }

  void LintGroupMemory() {
    UInt64 bytes = 0;
    for (const ShaderCode& code : _records.groupShared) bytes += GetBytes(code.text.GetView());
    if (bytes <= kMaxGroupBytes) return;
    const ShaderCode& last = _records.groupShared.GetLast();
    Add(last.origins.IsEmpty() ? ShaderOrigin() : last.origins[0], Severity::Error,
        std::to_string(bytes) + " bytes of group-shared memory: at most " + std::to_string(kMaxGroupBytes) +
            " are possible");
  }

  // Of "groupSharedMemory vec4 name[8][16];", 0 when a size is no number and no define of one.
  UInt64 GetBytes(std::string_view declaration) const {
    UInt64 bytes = 0;
    ForEachName(declaration, [&](std::string_view name, std::size_t) {
      if (bytes == 0) bytes = GetSize(kernellanguage::GetWordType(name));
    });
    for (std::size_t at = declaration.find('['); at != std::string_view::npos; at = declaration.find('[', at + 1))
      bytes *= GetNumber(declaration.substr(at + 1, declaration.find(']', at) - at - 1));
    return bytes;
  }

  UInt64 GetNumber(std::string_view text) const {
    while (text.starts_with(' ')) text.remove_prefix(1);
    UInt64 number = 0;
    if (std::from_chars(text.data(), text.data() + text.size(), number).ec == std::errc()) return number;
    for (const ShaderCode& define : _records.defines) {
      std::string_view rest = define.text.GetView();
      const std::string start = "#define " + std::string(text.substr(0, text.find(' '))) + " ";
      if (rest.starts_with(start)) return GetNumber(rest.substr(start.size()));
    }
    return 0;
  }

  static Bool HasHalves(DataType structType) {
    const std::vector<ElementNumber> numbers =
        structType.IsPopulated() ? ListNumbers(structType) : std::vector<ElementNumber>();
    return std::any_of(numbers.begin(), numbers.end(),
                       [](const ElementNumber& number) { return number.type == GetDataType<HalfFloat>(); });
  }

  void LintHalfBuffers() {
    for (const ShaderParameter& parameter : _records.parameters)
      if (parameter.kind == ShaderParameterKind::Buffer &&
          (parameter.elementType.GetView().starts_with("half") || HasHalves(parameter.structType)))
        Add(parameter.origin, Severity::Warning,
            "the half floats of " + Quote(parameter.name.GetView()) +
                " need shader model 6.2 and 16-bit types: without them they are read as 32 bits");
  }

  void LintMatrices() {
    for (const ShaderParameter& parameter : _records.parameters) {
      const Bool isPassed =
          parameter.kind == ShaderParameterKind::Attribute || parameter.kind == ShaderParameterKind::Varying;
      if (isPassed && GetLocationCount(parameter.valueType) > 1)
        Add(parameter.origin, Severity::Error,
            "the matrix " + Quote(parameter.name.GetView()) +
                " cannot be an attribute or a varying: hand on its columns as vectors");
    }
  }

  // Samplers have the numbers of their textures, which are counted with the buffers.
  void LintSamplers() {
    for (const ShaderTexture& texture : _records.textures)
      if (!texture.isImage && !texture.isMultisampled && texture.binding >= kMaxSamplers)
        Add(texture.origin, Severity::Error,
            "the sampler of " + Quote(texture.name.GetView()) + " would have the number " +
                std::to_string(texture.binding) + ": there are " + std::to_string(kMaxSamplers) +
                ", and buffers and textures are counted together");
  }

  // An array that a function takes is a copy in other languages, and a pointer here.
  void LintArrays() {
    for (const ShaderCode& function : _records.functions) {
      const std::string_view text = function.text.GetView();
      const std::string_view declaration = text.substr(0, text.find('\n'));
      if (declaration.find('[') != std::string_view::npos)
        Add(function.origins.IsEmpty() ? ShaderOrigin() : function.origins[0], Severity::Error,
            "a function cannot take an array: hand over its elements, or read the buffer in the function");
    }
  }

  const ShaderRecords& _records;
  const std::string& _file;
  Findings& _findings;
};

}  // namespace

void LintRecords(const ShaderRecords& records, const std::string& file, Findings& findings) {
  RecordLinter(records, file, findings).Lint();
}

}  // namespace ostra::plans

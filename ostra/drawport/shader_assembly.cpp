// A program of a stage is the section "program <stage>" of its language. Its lines are copied; a line that is nothing
// but a directive in "$" is replaced by what the directive stands for.
#include "ostra/drawport/shader_assembly.h"

#include <algorithm>
#include <charconv>

#include "ostra/core/format.h"
#include "ostra/core/text_characters.h"
#include "ostra/drawport/shading/noise_modes.h"
#include "ostra/drawport/shading/sections.h"
#include "ostra/drawport/shading/shader_item.h"
#include "ostra/drawport/shading/support_text.h"
#include "ostra/drawport/shading/text_writer.h"

OSTRA_UNIT("shader_assembly");

namespace ostra {

namespace {

using shading::Sections;
using shading::ShaderItem;
using shading::ShaderItems;

class Assembler {
 public:
  Assembler(const ShaderRecords& records, const Sections& sections, const ShaderItems& items)
      : _records(records), _sections(sections), _items(items) {}

  Result<AssembledShader> Assemble(std::string_view program) {
    const Vec3<UInt32> size = _records.workGroupSize;
    OSTRA_RETURN_IF_ERROR(_program.Set("size.x", Int{size.x}));
    OSTRA_RETURN_IF_ERROR(_program.Set("size.y", Int{size.y}));
    OSTRA_RETURN_IF_ERROR(_program.Set("size.z", Int{size.z}));
    OSTRA_RETURN_IF_ERROR(WriteSection(program, _program));
    OSTRA_RETURN_IF_ERROR(_writer.MoveTo(_shader));
    for (const shading::UniformItem& uniform : _items.uniforms)
      OSTRA_RETURN_IF_ERROR(_shader.uniforms.Append(uniform.uniform));
    _shader.uniformByteCount = _items.uniformByteCount;
    return std::move(_shader);
  }

 private:
  // The part of a line between "$" and "$" when there is nothing else.
  static std::string_view GetDirective(std::string_view line) {
    if (line.size() < 3 || line.front() != '$' || line.find('$', 1) != line.size() - 1) return {};
    return line.substr(1, line.size() - 2);
  }

  Result<void> WriteSection(std::string_view text, const ShaderItem& item) {
    while (!text.empty()) {
      const std::string_view line = shading::TakeLine(text);
      const std::string_view directive = GetDirective(line);
      if (directive.empty())
        OSTRA_RETURN_IF_ERROR(WriteLine(line, item));
      else
        OSTRA_RETURN_IF_ERROR(WriteDirective(directive, item));
    }
    return OK;
  }

  Result<void> WriteNamedSection(std::string_view name, const ShaderItem& item) {
    const std::string_view* const text = _sections.Find(name);
    if (!text) return OSTRA_ILLEGAL_STATE("The support code has no section \"@\".", name);
    return WriteSection(*text, item);
  }

  // A line with its placeholders filled in.
  Result<void> WriteLine(std::string_view line, const ShaderItem& item) {
    if (line.find('$') == std::string_view::npos) return _writer.AddLine(line, item.origin);
    String filled;
    while (!line.empty()) {
      const std::size_t begin = line.find('$');
      OSTRA_RETURN_IF_ERROR(filled.Append(line.substr(0, begin)));
      if (begin == std::string_view::npos) break;
      const std::size_t end = line.find('$', begin + 1);
      const String* const value = item.Find(line.substr(begin + 1, end - begin - 1));
      if (end == std::string_view::npos || !value)
        return OSTRA_ILLEGAL_STATE("The support code has an unknown placeholder in \"@\".", line);
      OSTRA_RETURN_IF_ERROR(filled.Append(*value));
      line.remove_prefix(end + 1);
    }
    return _writer.AddLine(filled, item.origin);
  }

  Result<void> WriteDirective(std::string_view directive, const ShaderItem& item) {
    if (directive.starts_with("use ")) return WriteNamedSection(directive.substr(4), item);
    if (directive.starts_with("each ")) return WriteEach(directive.substr(5));
    if (directive == "noise text") return _records.noiseTableCount > 0 ? WriteNoiseText() : OK;
    if (directive == "noise calls")
      return _records.noiseTableCount > 0 ? WriteNamedSection("noise calls", _program) : OK;
    if (directive == "noise tables") return WriteNoiseTables();
    if (directive == "support end") {
      _shader.supportLineCount = _writer.GetLineCount();
      return OK;
    }
    if (directive == "defines") return WriteCode(_records.defines);
    if (directive == "structs") return WriteStructs();
    if (directive == "functions") return WriteCode(_records.functions);
    if (directive == "file scope") return WriteFileScope();
    if (directive == "group shared") return WriteCode(_records.groupShared);
    if (directive == "body") return _writer.AddCode(_records.body);
    if (directive == "members") return WriteMembers();
    if (directive == "place") return WriteNamedSection(item.place, item);
    if (directive == "extent") return WriteNamedSection(item.extent, item);
    return OSTRA_ILLEGAL_STATE("The support code has the unknown directive \"@\".", directive);
  }

  Result<void> WriteCode(const BaseArray<ShaderCode>& pieces) {
    for (const ShaderCode& piece : pieces) OSTRA_RETURN_IF_ERROR(_writer.AddCode(piece));
    return OK;
  }

  // Constants outside of functions are written as the language needs them: without "static", HLSL takes them for values
  // of its own uniform buffer, and Metal has them in an address space.
  Result<void> WriteFileScope() {
    constexpr std::string_view kConst = "const ";
    const std::string_view words = _sections.GetName("file scope", "const");
    Int depth = 0;
    for (const ShaderCode& piece : _records.fileScope) {
      std::string_view rest = piece.text;
      for (Int i = 0; !rest.empty(); ++i) {
        const ShaderOrigin& origin = i < piece.origins.GetCount() ? piece.origins[i] : _program.origin;
        const std::string_view line = shading::TakeLine(rest);
        std::string_view code = line;
        while (code.starts_with(' ') || code.starts_with('\t')) code.remove_prefix(1);
        if (depth == 0 && !words.empty() && code.starts_with(kConst)) {
          OSTRA_ASSIGN_OR_RETURN(const String constant, Format("@ @", words, code.substr(kConst.size())));
          OSTRA_RETURN_IF_ERROR(_writer.AddLine(constant, origin));
        } else {
          OSTRA_RETURN_IF_ERROR(_writer.AddLine(line, origin));
        }
        const std::string_view own = code.substr(0, code.find("//"));
        depth += std::count(own.begin(), own.end(), '{') - std::count(own.begin(), own.end(), '}');
      }
    }
    return OK;
  }

  // The sections of all items that belong to a place of the program, such as "declare" or "argument".
  Result<void> WriteEach(std::string_view place) {
    for (const ShaderItem& item : _items.items) {
      OSTRA_RETURN_IF_ERROR(WriteItem(item, place));
      if (item.sections[0] != "uniforms") continue;
      for (const shading::UniformItem& uniform : _items.uniforms)
        if (uniform.uniform.type != DrawportShaderValueType::Gradient)
          OSTRA_RETURN_IF_ERROR(WriteItem(uniform.item, place));
    }
    // Gradients name the buffer of their segments, which is one of the items.
    for (const shading::UniformItem& uniform : _items.uniforms)
      if (uniform.uniform.type == DrawportShaderValueType::Gradient)
        OSTRA_RETURN_IF_ERROR(WriteItem(uniform.item, place));
    return OK;
  }

  Result<void> WriteItem(const ShaderItem& item, std::string_view place) {
    for (const std::string_view name : item.sections) {
      if (name.empty()) continue;
      OSTRA_ASSIGN_OR_RETURN(const String section, Format("@ @", name, place));
      const std::string_view* const text = _sections.Find(section);
      if (text) OSTRA_RETURN_IF_ERROR(WriteSection(*text, item));
    }
    return OK;
  }

  Result<void> WriteNoiseText() {
    OSTRA_RETURN_IF_ERROR(_writer.AddLines(shading::kNoise));
    return _writer.AddLines(shading::kNoiseOfMode);
  }

  Result<void> WriteNoiseTables() {
    const Bool isKnown = _records.noiseModes.IsPopulated();
    OSTRA_RETURN_IF_ERROR(WriteNamedSection(isKnown ? "known noise begin" : "noise begin", _program));
    for (Int i = 0; i < _records.noiseTableCount; ++i) {
      ShaderItem table;
      OSTRA_RETURN_IF_ERROR(table.Set("index", i));
      if (isKnown) {
        OSTRA_ASSIGN_OR_RETURN(String function, String::Create(shading::GetNoiseFunction(_records.noiseModes[i])));
        OSTRA_RETURN_IF_ERROR(table.Set("noise", std::move(function)));
      }
      OSTRA_RETURN_IF_ERROR(WriteNamedSection(isKnown ? "known noise table" : "noise table", table));
    }
    return WriteNamedSection(isKnown ? "known noise end" : "noise end", _program);
  }

  Result<void> WriteStructs() {
    for (const ShaderStruct& definition : _records.structs) {
      ShaderItem item;
      item.origin = definition.origin;
      OSTRA_RETURN_IF_ERROR(item.Set("name", definition.name));
      _struct = &definition;
      auto result = WriteNamedSection("struct", item);
      _struct = nullptr;
      if (!result) return result;
    }
    return OK;
  }

  // Of the struct that is being written, else of the uniform buffer.
  Result<void> WriteMembers() {
    if (!_struct) {
      for (const shading::UniformItem& uniform : _items.uniforms) {
        const Bool isGradient = uniform.uniform.type == DrawportShaderValueType::Gradient;
        OSTRA_RETURN_IF_ERROR(WriteNamedSection(isGradient ? "gradient uniform" : "uniform", uniform.item));
      }
      return OK;
    }
    for (const ShaderMember& member : _struct->members) {
      ShaderItem item;
      item.origin = member.origin;
      OSTRA_RETURN_IF_ERROR(item.Set("name", member.name));
      OSTRA_RETURN_IF_ERROR(item.Set("type", member.type));
      OSTRA_RETURN_IF_ERROR(WriteNamedSection("member", item));
    }
    return OK;
  }

  const ShaderRecords& _records;
  const Sections& _sections;
  const ShaderItems& _items;
  ShaderItem _program;
  const ShaderStruct* _struct = nullptr;
  shading::TextWriter _writer;
  AssembledShader _shader;
};

Bool HasOutputs(const ShaderRecords& records) {
  for (const ShaderParameter& parameter : records.parameters)
    if (parameter.kind == ShaderParameterKind::Output) return true;
  return false;
}

std::string_view GetProgramSection(const ShaderRecords& records, const Sections& sections) {
  // Some languages have no empty structs.
  constexpr std::string_view kWithoutOutputs = "program fragment without outputs";
  if (records.stage == DrawportStage::Fragment && !HasOutputs(records) && sections.Find(kWithoutOutputs))
    return kWithoutOutputs;
  switch (records.stage) {
    case DrawportStage::Compute:
      return "program compute";
    case DrawportStage::Vertex:
      return "program vertex";
    case DrawportStage::TessellationControl:
      return "program tessellation control";
    case DrawportStage::TessellationEvaluation:
      return "program tessellation evaluation";
    case DrawportStage::Fragment:
      return "program fragment";
    default:
      return {};
  }
}

// What support code calls a parameter, and the word of kernel files for it.
struct Prefix {
  std::string_view prefix;
  std::string_view word;  // empty when the name alone is the word
};
constexpr Prefix kPrefixes[] = {
    {"ostraOwn_", ""},
    {"ostraUniform_", "UNIFORM"},
    {"ostraBuffer_", "UNIFORM_BUFFER"},
    {"ostraSampleLayer_", "SampleTextureLayer"},
    {"ostraSample_", "SampleTexture"},
    {"ostraFetchLayer_", "FetchTextureLayer"},
    {"ostraFetch_", "FetchTexture"},
    {"ostraSize_", "TextureSize"},
    {"ostraStore_", "StoreImage"},
    {"ostraIn_", "InPatch"},
    {"ostraCounter_", "GetAtomicCounter"},
};

}  // namespace

Result<AssembledShader> AssembleShader(const ShaderRecords& records) {
  if (records.noiseTableCount > kMaxNoiseTables)
    return OSTRA_ILLEGAL_ARGUMENT("A program cannot have @ noises; at most @ are allowed.", records.noiseTableCount,
                                  kMaxNoiseTables);
  if (records.noiseModes.IsPopulated() && records.noiseModes.GetCount() != records.noiseTableCount)
    return OSTRA_ILLEGAL_ARGUMENT("There are @ modes for @ noises.", records.noiseModes.GetCount(),
                                  records.noiseTableCount);
  OSTRA_ASSIGN_OR_RETURN(const Sections sections, Sections::Open(records.language));
  const std::string_view* const program = sections.Find(GetProgramSection(records, sections));
  if (!program)
    return OSTRA_ILLEGAL_ARGUMENT("There is no support code for the stage @ of a program in \"@\".",
                                  static_cast<Int32>(records.stage), records.language);
  OSTRA_ASSIGN_OR_RETURN(const ShaderItems items, shading::MakeShaderItems(records, sections));
  return Assembler(records, sections, items).Assemble(*program);
}

Result<String> RestoreShaderWords(std::string_view message) {
  String restored;
  while (!message.empty()) {
    std::size_t begin = std::string_view::npos;
    const Prefix* found = nullptr;
    for (const Prefix& prefix : kPrefixes) {
      const std::size_t at = message.find(prefix.prefix);
      if (at < begin) {
        begin = at;
        found = &prefix;
      }
    }
    OSTRA_RETURN_IF_ERROR(restored.Append(message.substr(0, begin)));
    if (!found) break;
    message.remove_prefix(begin + found->prefix.size());
    std::size_t size = 0;
    while (size < message.size() && IsWordCharacter(message[size])) ++size;
    const std::string_view name = message.substr(0, size);
    OSTRA_ASSIGN_OR_RETURN(const String word,
                           found->word.empty() ? String::Create(name) : Format("@(@)", found->word, name));
    OSTRA_RETURN_IF_ERROR(restored.Append(word));
    message.remove_prefix(size);
  }
  return restored;
}

}  // namespace ostra

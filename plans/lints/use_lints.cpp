#include <algorithm>
#include <vector>

#include "ostra/math/data_types.h"
#include "plans/lints/lints.h"
#include "plans/values/text.h"

namespace ostra::plans {

namespace {

Bool IsPointTexture(const ShaderParser& parser, std::string_view name) {
  for (const ShaderTextureEntry& texture : parser.GetTextureEntries())
    if (texture.name == name) return !texture.linear;
  return false;
}

Bool IsWritableTexture(const ShaderParser& parser, std::string_view name) {
  for (const ShaderTextureEntry& texture : parser.GetTextureEntries())
    if (texture.name == name) return !texture.readOnly;
  return false;
}

// "*" beside what stands at `begin` up to `end`, which is then multiplied as a matrix.
Bool IsFactor(std::string_view code, std::size_t begin, std::size_t end) {
  while (begin > 0 && code[begin - 1] == ' ') --begin;
  while (end < code.size() && code[end] == ' ') ++end;
  return (begin > 0 && code[begin - 1] == '*') || (end < code.size() && code[end] == '*');
}

class UseLinter {
 public:
  UseLinter(const LintedFile& file, const ShaderParser& parser, Findings& findings)
      : _file(file), _parser(parser), _findings(findings) {}

  void Lint() {
    for (const SourceLine& line : _file.lines) {
      if (line.use == LineUse::CpuScope) continue;
      LintTextures(line);
      CollectMatrices(line);
      if (!_file.isPlainForm) LintMatrices(line);  // the front end knows the types
    }
  }

 private:
  void LintTextures(const SourceLine& line) {
    ForEachName(line.code, [&](std::string_view name, std::size_t at) {
      std::string_view arguments;
      if ((name != "SampleTexture" && name != "SampleTextureLayer") || !GetArguments(line.code, at, arguments)) return;
      const std::string_view texture = GetTextureName(arguments);
      if (IsWritableTexture(_parser, texture))
        _findings.Add({_file.name, line.number, Severity::Error,
                       Quote(texture) + " is declared without const, which makes it an image to write on the GPU; to "
                                        "sample it, declare it (const TextureSampler_...)"});
      if (IsPointTexture(_parser, texture))
        _findings.Add({_file.name, line.number, Severity::Error,
                       Quote(texture) + " is a POINT texture, which has no filtered value: read it with "
                                        "FetchTexture, or declare it with a LINEAR type"});
    });
  }

  const ShaderInputEntry* FindInput(std::string_view name) const {
    for (const ShaderInputEntry& input : _parser.GetInputEntries())
      if (input.name == name) return &input;
    return nullptr;
  }

  // Local variables of a matrix type. Names may be used for something else elsewhere; a warning is all that follows.
  void CollectMatrices(const SourceLine& line) {
    Bool isType = false;
    ForEachName(line.code, [&](std::string_view name, std::size_t at) {
      const std::size_t end = at + name.size();
      if (isType && (end == line.code.size() || line.code[end] != '(')) _matrices.emplace_back(name);
      isType = (name == "mat3" || name == "mat4" || name == "Matrix32" || name == "SquareMatrix32" ||
                name == "SquareMatrix4d32" || name == "sqmat") &&
               end < line.code.size() && line.code[end] == ' ';
    });
  }

  void LintMatrices(const SourceLine& line) {
    const auto warn = [&](std::string_view name) {
      _findings.Add({_file.name, line.number, Severity::Warning,
                     "languages disagree about \"*\" with the matrix \"" + std::string(name) + "\": write mul(m, v)"});
    };
    ForEachName(line.code, [&](std::string_view name, std::size_t at) {
      std::size_t end = at + name.size();
      if (name == "UNIFORM") {
        std::string_view argument;
        if (!GetArguments(line.code, at, argument) || !IsMatrixUniform(argument)) return;
        end = static_cast<std::size_t>(argument.data() - line.code.data()) + argument.size() + 1;
        if (IsFactor(line.code, at, end)) warn(argument);
        return;
      }
      if (name == "UNIFORM_BUFFER") {
        std::string_view argument;
        if (!GetArguments(line.code, at, argument) || !IsMatrixBuffer(argument)) return;
        end = FindEndOfIndex(line.code, static_cast<std::size_t>(argument.data() - line.code.data()) + argument.size());
        if (IsFactor(line.code, at, end)) warn(argument);
        return;
      }
      if (at > 0 && line.code[at - 1] == '.' && IsMatrixMember(name)) {
        if (IsFactor(line.code, FindBeginOfElement(line.code, at - 1), end)) warn(name);
        return;
      }
      const Bool isMatrix = std::find(_matrices.begin(), _matrices.end(), name) != _matrices.end();
      if (isMatrix && IsFactor(line.code, at, end)) warn(name);
    });
  }

  Bool IsMatrixUniform(std::string_view name) const {
    const ShaderInputEntry* const input = FindInput(name);
    return input && IsMatrixType(input->dataType);
  }
  Bool IsMatrixBuffer(std::string_view name) const {
    const ShaderInputEntry* const input = FindInput(name);
    return input && IsMatrixType(DataTypeFromTypeName(input->typeName.GetView()));
  }
  Bool IsMatrixMember(std::string_view name) const {
    for (const ShaderStructDefinition& definition : _parser.GetStructs())
      for (const ShaderInputEntry& member : definition.members)
        if (member.name == name && IsMatrixType(member.dataType)) return true;
    return false;
  }
  // Where "UNIFORM_BUFFER(b)[i].c", of which everything before `dot` is looked at, begins.
  static std::size_t FindBeginOfElement(std::string_view code, std::size_t dot) {
    Int depth = 0;
    std::size_t begin = dot;
    for (; begin > 0; --begin) {
      const char c = code[begin - 1];
      if (c == ')' || c == ']') ++depth;
      if ((c == '(' || c == '[') && --depth < 0) break;
      if (depth == 0 && !IsWordCharacter(c) && c != '.' && c != '(' && c != '[') break;
    }
    return begin;
  }
  static Bool IsMatrixType(DataType type) {
    return type == GetDataType<SquareMatrix32>() || type == GetDataType<SquareMatrix4d32>();
  }

  // Behind the "]" of the index that follows the parenthesis at `close`.
  static std::size_t FindEndOfIndex(std::string_view code, std::size_t close) {
    if (close + 1 >= code.size() || code[close + 1] != '[') return close + 1;
    Int depth = 0;
    for (std::size_t at = close + 1; at < code.size(); ++at) {
      if (code[at] == '[') ++depth;
      if (code[at] == ']' && --depth == 0) return at + 1;
    }
    return code.size();
  }

  const LintedFile& _file;
  const ShaderParser& _parser;
  Findings& _findings;
  std::vector<std::string> _matrices;
};

}  // namespace

std::string_view GetTextureName(std::string_view arguments) {
  std::string_view name = arguments.substr(0, arguments.find(','));
  std::string_view inner;
  if (name.find("UNIFORM") != std::string_view::npos && GetArguments(name, 0, inner)) name = inner;
  while (name.starts_with(' ')) name.remove_prefix(1);
  while (name.ends_with(' ')) name.remove_suffix(1);
  return name;
}

void LintUses(const LintedFile& file, const ShaderParser& parser, Findings& findings) {
  UseLinter(file, parser, findings).Lint();
  LintSplats(file, parser, findings);
  LintTextureCalls(file, parser, findings);
  LintShifts(file, parser, findings);
  LintDoubles(file, parser, findings);
}

}  // namespace ostra::plans

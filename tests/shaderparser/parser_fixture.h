// A folder of source files, and parsers that read them.
#pragma once

#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "parallelprogram/shaderparser/shader_parser.h"
#include "tests/support/result_matchers.h"
#include "tests/support/temporary_folder.h"

namespace ostra::test {

using ParserRef = StrongRef<ShaderParser>;

// What a test asks for besides the files.
struct ParseSettings {
  Id target = kTargetGlsl;
  std::string templateArgument = {};              // absent when empty
  Int32 multisampling = -1;                       // absent when -1
  EndlessSource endless = EndlessSource::Refuse;  // so that a mistake in a test ends it
};

class ParserTest : public testing::Test {
 protected:
  Url MakeUrl(std::string_view name) const { return _temporary.MakeUrl(name); }
  std::string GetPath(std::string_view name) const { return _temporary / name; }
  void Write(std::string_view name, std::string_view text) const;

  static ParserRef MakeParser(const Id& target);
  static DataDictionary MakeOptions(const ParseSettings& settings);
  Result<void> Init(ShaderParser& parser, std::string_view name, const ParseSettings& settings = {}) const;

  // Writes `text` to k.krn and parses it, which must succeed.
  ParserRef Parse(std::string_view text, const ParseSettings& settings = {}) const;
  // Parses the file `name`, which must succeed.
  ParserRef ParseFile(std::string_view name, const ParseSettings& settings = {}) const;
  // Writes `text` to k.krn and parses it.
  Result<void> TryParse(std::string_view text, const ParseSettings& settings = {}) const;
  // The header h of k.krn is `header`; parses an empty k.krn, which must succeed.
  ParserRef ParseHeader(std::string_view header, const ParseSettings& settings = {}) const;
  Result<void> TryParseHeader(std::string_view header, const ParseSettings& settings = {}) const;

  // What the rules make of one line of kernel code.
  std::string TranslateLine(std::string_view line, const ParseSettings& settings = {}) const;
  Result<void> TryTranslateLine(std::string_view line, const ParseSettings& settings = {}) const;
  // What becomes of the declaration of an inline function, given without the word inline.
  std::string TranslateDeclaration(std::string_view line, const ParseSettings& settings = {}) const;

  TemporaryFolder _temporary;
  const std::filesystem::path _folder = _temporary.GetPath();
};

inline std::string ToText(const CString& text) { return std::string(text.GetView()); }
inline std::string ToText(const String& text) { return std::string(text.GetView()); }

// `file:line` of an origin, the file by its name.
std::string GetPlace(const ShaderParser& parser, const ShaderTextOrigin& origin);
std::vector<std::string> GetPlaces(const ShaderParser& parser, const ShaderTextOrigins& origins);

}  // namespace ostra::test

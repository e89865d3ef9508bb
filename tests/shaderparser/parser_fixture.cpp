#include "tests/shaderparser/parser_fixture.h"

#include <fstream>

#include "tests/support/texts.h"

namespace ostra::test {

void ParserTest::Write(std::string_view name, std::string_view text) const {
  std::filesystem::create_directories((_folder / name).parent_path());
  std::ofstream(_folder / name, std::ios::binary).write(text.data(), static_cast<std::streamsize>(text.size()));
}

ParserRef ParserTest::MakeParser(const Id& target) { return ShaderParser::Create(target).GetValue(); }

DataDictionary ParserTest::MakeOptions(const ParseSettings& settings) {
  DataDictionary options;
  if (!settings.templateArgument.empty()) {
    EXPECT_THAT(options.Set(kShaderTemplateArgument, String::Create(settings.templateArgument).GetValue()), IsOk());
  }
  if (settings.multisampling != -1) {
    EXPECT_THAT(options.Set(kShaderMultisampling, Int32(settings.multisampling)), IsOk());
  }
  return options;
}

Result<void> ParserTest::Init(ShaderParser& parser, std::string_view name, const ParseSettings& settings) const {
  return parser.Init(MakeUrl(name), MakeOptions(settings), settings.endless);
}

ParserRef ParserTest::ParseFile(std::string_view name, const ParseSettings& settings) const {
  ParserRef parser = MakeParser(settings.target);
  EXPECT_THAT(Init(*parser, name, settings), IsOk());
  return parser;
}

ParserRef ParserTest::Parse(std::string_view text, const ParseSettings& settings) const {
  Write("k.krn", text);
  return ParseFile("k.krn", settings);
}

Result<void> ParserTest::TryParse(std::string_view text, const ParseSettings& settings) const {
  Write("k.krn", text);
  return Init(*MakeParser(settings.target), "k.krn", settings);
}

ParserRef ParserTest::ParseHeader(std::string_view header, const ParseSettings& settings) const {
  Write("k.h", header);
  return Parse("", settings);
}

Result<void> ParserTest::TryParseHeader(std::string_view header, const ParseSettings& settings) const {
  Write("k.h", header);
  return TryParse("", settings);
}

std::string ParserTest::TranslateLine(std::string_view line, const ParseSettings& settings) const {
  const std::string text = "FP_KERNEL(K)\nstart\n" + std::string(line) + "\nFP_KERNEL_END\n";
  const std::string code = ToText(Parse(text, settings)->GetKernelCode());
  const std::string start = "start\n";
  EXPECT_EQ(code.substr(0, start.size()), start);
  return code.size() < start.size() ? code : code.substr(start.size());
}

Result<void> ParserTest::TryTranslateLine(std::string_view line, const ParseSettings& settings) const {
  return TryParse("FP_KERNEL(K)\n" + std::string(line) + "\nFP_KERNEL_END\n", settings);
}

std::string ParserTest::TranslateDeclaration(std::string_view line, const ParseSettings& settings) const {
  const ParserRef parser = Parse("inline " + std::string(line) + "\n{\n}\n", settings);
  EXPECT_EQ(parser->GetFunctions().GetCount(), 1);
  return parser->GetFunctions().IsEmpty() ? "no function" : ToText(parser->GetFunctions()[0].declaration);
}

std::string GetPlace(const ShaderParser& parser, const ShaderTextOrigin& origin) {
  if (origin.file < 0 || origin.file >= parser.GetFiles().GetCount()) return "no file";
  return ToText(parser.GetFiles()[origin.file].GetName()) + ":" + std::to_string(origin.line);
}

std::vector<std::string> GetPlaces(const ShaderParser& parser, const ShaderTextOrigins& origins) {
  std::vector<std::string> places;
  for (const ShaderTextOrigin& origin : origins) places.push_back(GetPlace(parser, origin));
  return places;
}

}  // namespace ostra::test

// The language server as editors start it: a process that is written to and read from.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>

#include "apps/ostra/languageserver/file_uri.h"
#include "apps/ostra/languageserver/message_stream.h"
#include "ostra/process/command.h"
#include "tests/support/temporary_folder.h"
#include "tests/tool/language_server_fixture.h"
#include "tests/tool/tool_process.h"

namespace ostra::tool {
namespace {

using Json = nlohmann::json;
using testing::HasSubstr;
using testing::Not;

std::string MakeMessage(const std::string& method, const Json& parameters, Int id = 0) {
  Json message = {{"jsonrpc", "2.0"}, {"method", method}, {"params", parameters}};
  if (id > 0) message["id"] = id;
  return FrameMessage(message.dump());
}

std::vector<Json> ReadMessages(const std::string& output) {
  MessageReader reader;
  reader.Append(output);
  std::vector<Json> messages;
  std::string message;
  for (auto taken = reader.Take(message); taken && *taken; taken = reader.Take(message))
    messages.push_back(Json::parse(message));
  EXPECT_TRUE(reader.IsEmpty());
  return messages;
}

TEST(LanguageServerProcessTest, ASessionOverStandardInputAndOutputEndsWellAfterShutdown) {
  const std::string uri = "file:///kernels/net.example.scale.krn";
  const Json file = {{"uri", uri}, {"version", 1}, {"text", InKernel("sum.x = $facto;").text}};
  const ToolResult result =
      RunTool({"language-server", "--stdio"},
              MakeMessage("initialize", Json::object(), 1) + MakeMessage("initialized", Json::object()) +
                  MakeMessage("textDocument/didOpen", {{"textDocument", file}}) +
                  MakeMessage("textDocument/documentSymbol", {{"textDocument", {{"uri", uri}}}}, 2) +
                  MakeMessage("shutdown", nullptr, 3) + MakeMessage("exit", nullptr));
  EXPECT_EQ(result.exitStatus, 0) << result.errors;
  const auto messages = ReadMessages(result.output);
  ASSERT_EQ(messages.size(), 3u) << "no diagnostics: the editor had gone before there was nothing to read";
  EXPECT_EQ(messages[0]["id"], 1);
  EXPECT_EQ(messages[1]["id"], 2);
  EXPECT_EQ(messages[2]["id"], 3);
}

TEST(LanguageServerProcessTest, AnEditorThatGoesWithoutAWordIsAFailure) {
  const ToolResult result = RunTool({"language-server"}, MakeMessage("initialize", Json::object(), 1));
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_THAT(result.errors, HasSubstr("without \"shutdown\""));
  EXPECT_EQ(ReadMessages(result.output).size(), 1u);
}

TEST(LanguageServerProcessTest, BytesThatAreNoMessagesEndItWithAnError) {
  for (const char* bytes : {"GET / HTTP/1.1\r\n\r\n", "Content-Length: -7\r\n\r\n{}"}) {
    const ToolResult result = RunTool({"language-server"}, bytes);
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.errors, HasSubstr("ostra: "));
  }
  EXPECT_EQ(RunTool({"language-server"}, "Content-Length: 40\r\n\r\n{\"cut").exitStatus, 1) << "cut off";
}

std::string ReadText(const std::string& file) {
  std::ifstream stream(file);
  EXPECT_TRUE(stream) << file;
  return {std::istreambuf_iterator<char>(stream), {}};
}

// The lines between ```lua and ``` of a page.
std::string ReadLuaOf(const std::string& page) {
  const std::string text = ReadText(page);
  const std::string mark = "```lua\n";
  const std::size_t begin = text.find(mark) + mark.size();
  return text.substr(begin, text.find("```\n", begin) - begin);
}

// The kernel that neovim works on, with a mistake, and its header.
void WriteKernelFor(const TemporaryFolder& folder) {
  std::ofstream(folder / "shared.h") << "// Shared.\nfloat Header_value(float x)\n{\n\treturn x + 1.0;\n}\n";
  std::ofstream(folder / "net.example.scale.krn")
      << "#include \"shared.h\"\n\n"
      << InKernel("if (i < UNIFORM(cuont)) { sum.x = Twice(1.0) * UNIFORM(factor) + Header_value(2.0); }$").text;
}

// What neovim prints while it runs the script, with the lines of the page before it.
std::string RunNeovim(const TemporaryFolder& folder) {
  const std::string script = folder / "session.lua";
  std::ofstream(script) << ReadLuaOf(OSTRA_TEST_EDITORS_PAGE) << ReadText(OSTRA_TEST_EDITOR_SCRIPT);
  const std::string tool = OSTRA_TEST_TOOL;
  const auto result = RunCommand({"/bin/sh", "-c",
                                  "HOME=\"$1\" OSTRA_TEST_KERNEL=\"$2\" PATH=\"$3:$PATH\" exec timeout 60 nvim "
                                  "--headless -u NONE -n -S \"$4\" 2>&1",
                                  "sh", folder.GetPath().string(), folder / "net.example.scale.krn",
                                  tool.substr(0, tool.rfind('/')), script});
  EXPECT_TRUE(result);
  if (!result) return {};
  EXPECT_EQ(result->exitStatus, 0) << result->output;
  return result->output;
}

TEST(LanguageServerProcessTest, NeovimDoesWhatThePageSaysWithItsLines) {
  if (std::system("nvim --version >/dev/null 2>&1") != 0)
    GTEST_SKIP() << "there is no nvim to test with; Debian's package is neovim";
  const TemporaryFolder folder;
  WriteKernelFor(folder);
  const std::string output = RunNeovim(folder);
  EXPECT_THAT(output, HasSubstr("18:10: "));
  EXPECT_THAT(output, HasSubstr("cuont"));
  EXPECT_THAT(output, HasSubstr("no mistakes\n"));
  EXPECT_THAT(output, HasSubstr("float value"));
  EXPECT_THAT(output, HasSubstr("completed: \tsum.x = UNIFORM(factor);\n"));
  EXPECT_THAT(output, HasSubstr("completed: \tsum.x = Header_value;\n"));
  EXPECT_THAT(output, HasSubstr("definition of Header_value: shared.h:2:7\n"));
  EXPECT_THAT(output, HasSubstr("definition of Twice: net.example.scale.krn:9:7\n"));
  EXPECT_THAT(output, HasSubstr("symbol 4: [Property] count\n"));
  EXPECT_THAT(output, HasSubstr("symbol 9: [Function] Twice\n"));
  const std::size_t begin = output.find("the buffer:\n");
  ASSERT_NE(begin, std::string::npos) << output;
  const std::string buffer = output.substr(begin);
  EXPECT_THAT(buffer, HasSubstr("(UInt32) count, \\\n(Float32) gain, \\\n(const Block<Float32>) source, \\\n"));
  EXPECT_THAT(buffer,
              HasSubstr("\tif (i < UNIFORM(count)) { sum.x = Twice(1.0) * UNIFORM(gain) + Header_value(2.0); }\n"));
  EXPECT_THAT(buffer, Not(HasSubstr("factor")));
}

}  // namespace
}  // namespace ostra::tool

#include "apps/ostra/languageserver/language_server.h"

#include <gmock/gmock.h>

#include <fstream>

#include "apps/ostra/languageserver/file_uri.h"
#include "apps/ostra/languageserver/message_stream.h"
#include "apps/ostra/languageserver/text_positions.h"
#include "tests/support/temporary_folder.h"
#include "tests/tool/language_server_fixture.h"

namespace ostra::tool {
namespace {

using Json = nlohmann::json;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAre;

// An editor: sends requests with numbers that count up and reads the answers.
class Editor {
 public:
  explicit Editor(Bool isStarted = true) {
    if (isStarted) Ask("initialize", Json::object());
  }

  Json Ask(const std::string& method, const Json& parameters) {
    const Json request = {{"jsonrpc", "2.0"}, {"id", ++_count}, {"method", method}, {"params", parameters}};
    const auto answers = server.Handle(request.dump());
    if (answers.size() != 1) return {{"answers", answers.size()}};
    const Json answer = Json::parse(answers[0]);
    EXPECT_EQ(answer["id"], _count);
    return answer.contains("error") ? answer["error"] : answer["result"];
  }

  void Tell(const std::string& method, const Json& parameters) {
    EXPECT_THAT(server.Handle(Json{{"jsonrpc", "2.0"}, {"method", method}, {"params", parameters}}.dump()), IsEmpty());
  }

  void Open(const std::string& uri, const std::string& text) {
    Tell("textDocument/didOpen", {{"textDocument", {{"uri", uri}, {"version", 1}, {"text", text}}}});
  }

  void Change(const std::string& uri, const Json& changes) {
    Tell("textDocument/didChange", {{"textDocument", {{"uri", uri}, {"version", 2}}}, {"contentChanges", changes}});
  }

  // The diagnostics of a file among those that are told now; null when it is not told of.
  Json TakeDiagnostics(const std::string& uri) {
    Json found;
    for (const std::string& message : server.TakeDiagnostics()) {
      const Json json = Json::parse(message);
      EXPECT_EQ(json["method"], "textDocument/publishDiagnostics");
      if (json["params"]["uri"] == uri) found = json["params"]["diagnostics"];
    }
    return found;
  }

  LanguageServer server;

 private:
  int _count = 0;
};

const std::string kUri = "file:///kernels/net.example.scale.krn";

Json MakeRequest(const Marked& place, Json more = Json::object()) {
  const TextPosition position = TextLines(place.text).GetPosition(place.offset);
  more["textDocument"] = {{"uri", kUri}};
  more["position"] = {{"line", position.line}, {"character", position.column}};
  return more;
}

TEST(LanguageServerTest, ASessionGoesFromInitializeToExit) {
  Editor editor(false);
  EXPECT_EQ(editor.Ask("textDocument/hover", Json::object())["code"], -32002);
  const Json capabilities = editor.Ask("initialize", Json::object())["capabilities"];
  EXPECT_EQ(capabilities["hoverProvider"], true);
  EXPECT_EQ(editor.Ask("initialize", Json::object())["code"], -32600);
  EXPECT_EQ(editor.Ask("shutdown", Json::object()), nullptr);
  EXPECT_EQ(editor.Ask("textDocument/hover", Json::object())["code"], -32600);
  EXPECT_FALSE(editor.server.HasEnded());
  editor.Tell("exit", Json::object());
  EXPECT_TRUE(editor.server.HasEnded() && editor.server.WasShutDown());
}

TEST(LanguageServerTest, MistakesAreToldWhenTheyAppearAndWhenTheyHaveGone) {
  Editor editor;
  const Marked wrong = InKernel("sum.x = $facto;");
  editor.Open(kUri, wrong.text);
  const Json diagnostics = editor.TakeDiagnostics(kUri);
  ASSERT_THAT(diagnostics, SizeIs(1));
  EXPECT_EQ(diagnostics[0]["severity"], 1);
  EXPECT_EQ(diagnostics[0]["range"]["start"], MakeRequest(wrong)["position"]);
  EXPECT_EQ(editor.TakeDiagnostics(kUri), nullptr) << "nothing has changed";

  const Json start = MakeRequest(wrong)["position"];
  Json end = start;
  end["character"] = end["character"].get<int>() + 5;
  editor.Change(kUri, {{{"range", {{"start", start}, {"end", end}}}, {"text", "UNIFORM(factor)"}}});
  EXPECT_EQ(editor.TakeDiagnostics(kUri), Json::array());
  editor.Change(kUri, {{{"text", wrong.text}}});
  EXPECT_THAT(editor.TakeDiagnostics(kUri), SizeIs(1));
  editor.Tell("textDocument/didClose", {{"textDocument", {{"uri", kUri}}}});
  EXPECT_EQ(editor.TakeDiagnostics(kUri), Json::array()) << "a file that is closed has none";
}

TEST(LanguageServerTest, AHeaderThatIsOpenCountsAsItIsTyped) {
  Editor editor;
  const std::string header = "file:///kernels/more.h";
  editor.Open(kUri, "#include \"more.h\"\n\n" + kHead + "\tsum.x = Half(1.0);\n" + kTail);
  EXPECT_THAT(editor.TakeDiagnostics(kUri).dump(),
              HasSubstr("the header \\\"more.h\\\" is not one of the kernel's own"));
  editor.Open(header, "float Half(float x)\n{\n\treturn x * 0.5;\n}\n");
  EXPECT_EQ(editor.TakeDiagnostics(kUri), Json::array());
  editor.Change(header, {{{"text", "float Half(vec2 x, float y)\n{\n\treturn x.x;\n}\n"}}});
  EXPECT_THAT(editor.TakeDiagnostics(kUri), SizeIs(1)) << "now the call is wrong";
}

TEST(LanguageServerTest, NotesStandWhereTheTextIsNow) {
  Editor editor;
  editor.Open(kUri, kHead + "\tint a = 1;\n" + kTail);
  EXPECT_EQ(editor.TakeDiagnostics(kUri), Json::array());
  // Two lines more above, and a second declaration.
  editor.Change(kUri, {{{"text", "// one\n// two\n" + kHead + "\tint a = 1;\n\tint a = 2;\n" + kTail}}});
  const Json diagnostics = editor.TakeDiagnostics(kUri);
  ASSERT_THAT(diagnostics, SizeIs(1));
  EXPECT_EQ(diagnostics[0]["range"]["start"]["line"], 18);
  ASSERT_THAT(diagnostics[0]["relatedInformation"], SizeIs(1));
  EXPECT_EQ(diagnostics[0]["relatedInformation"][0]["location"]["range"]["start"],
            Json({{"line", 17}, {"character", 5}}));
}

TEST(LanguageServerTest, HeadersOfOtherFoldersCountAsTheyAreTyped) {
  Editor editor;
  editor.Open("file:///shared/more.h", "float Half(float x)\n{\n\treturn x * 0.5;\n}\n");
  editor.Open(kUri, "#include \"../shared/more.h\"\n\n" + kHead + "\tsum.x = Half(1.0);\n" + kTail);
  EXPECT_EQ(editor.TakeDiagnostics(kUri), Json::array());
  editor.Change("file:///shared/more.h", {{{"text", "float Half(vec2 x, float y)\n{\n\treturn x.x;\n}\n"}}});
  EXPECT_THAT(editor.TakeDiagnostics(kUri), SizeIs(1));
}

std::vector<std::string> TextsOf(const Json& diagnostics) {
  std::vector<std::string> texts;
  for (const Json& diagnostic : diagnostics)
    texts.push_back(std::to_string(diagnostic["range"]["start"]["line"].get<int>()) + ": " +
                    diagnostic["message"].get<std::string>());
  return texts;
}

TEST(LanguageServerTest, LintsOfAllTargetsAreToldWhileAFileIsEdited) {
  Editor editor;
  editor.Open(kUri, "GROUPSIZE(32, 32, 2)\n\n" + kHead + "\tuint s = i << 33u;\n" + kTail);
  const Json diagnostics = editor.TakeDiagnostics(kUri);
  EXPECT_THAT(
      TextsOf(diagnostics),
      UnorderedElementsAre(HasSubstr("17: "), "0: a work group of 2048 invocations: at most 1024 are possible [HLSL]",
                           "0: a work group of 2048 invocations: at most 1024 are possible [METAL]"));
  for (const Json& diagnostic : diagnostics) {
    if (diagnostic["range"]["start"]["line"] != 17) continue;
    EXPECT_EQ(diagnostic["range"]["start"]["character"], 1);
    EXPECT_EQ(diagnostic["range"]["end"]["character"], 19);
    EXPECT_EQ(diagnostic["severity"], 1);
  }
  // What is wrong comes first: lints would be about what follows from it.
  editor.Change(kUri,
                {{{"text", "GROUPSIZE(32, 32, 2)\n\n" + kHead + "\tuint s = i << 33u;\n\tsum.x = facto;\n" + kTail}}});
  EXPECT_THAT(TextsOf(editor.TakeDiagnostics(kUri)), ElementsAre(HasSubstr("unknown name")));
  editor.Change(kUri, {{{"text", kHead + "\tuint s = i << 3u;\n" + kTail}}});
  EXPECT_EQ(editor.TakeDiagnostics(kUri), Json::array());
}

TEST(LanguageServerTest, TheTranslationReadsHeadersAsTheyAreTyped) {
  Editor editor;
  const std::string header = "file:///kernels/net.example.scale.h";
  // Not of the language, so that the translator reads the lines themselves.
  editor.Open(kUri, kHead + "\tauto x = Half(1.0);\n" + kTail);
  EXPECT_THAT(TextsOf(editor.TakeDiagnostics(kUri)), Contains(HasSubstr("not understood: ")));
  editor.Open(header,
              "#ifndef SCALE_H\n#define SCALE_H\n\ninline float Half(float x)\n{\n\treturn vec2(x).x;\n}\n#endif\n");
  editor.Change(kUri, {{{"text", "#include \"net.example.scale.h\"\n\n" + kHead + "\tauto x = Half(1.0);\n" + kTail}}});
  EXPECT_THAT(TextsOf(editor.TakeDiagnostics(kUri)),
              Contains(AllOf(HasSubstr("net.example.scale.h:6: "), HasSubstr("vec2"))));
}

TEST(LanguageServerTest, StageFilesAreChecked) {
  Editor editor;
  const std::string uri = "file:///kernels/scene.frag";
  const std::string head = "#define KERNELINPUTS \\\n(varying vec2) place, \\\n(out vec4) color\n\n";
  const std::string begin = "OSTRA_PARALLEL_KERNEL(Shade, KERNELINPUTS)\n{\n", end = "}\nOSTRA_PARALLEL_KERNEL_END\n";
  editor.Open(uri, head + begin + "\tUNIFORM(color) = vec4(UNIFORM(place).x, 0.0, 0.0, 1.0);\n" + end);
  EXPECT_EQ(editor.TakeDiagnostics(uri), Json::array());
  editor.Change(uri, {{{"text", head + begin + "\tint a = 1 << 40;\n" + end}}});
  EXPECT_THAT(TextsOf(editor.TakeDiagnostics(uri)), Contains(HasSubstr("6: ")));
  editor.Change(uri, {{{"text", head + "inline float Half(float x) { return x; }\n\n" + begin + end}}});
  EXPECT_THAT(TextsOf(editor.TakeDiagnostics(uri)), ElementsAre(HasSubstr("4: a function on one line")));
  editor.Change(uri, {{{"text", head}}});
  EXPECT_THAT(TextsOf(editor.TakeDiagnostics(uri)),
              ElementsAre("0: there is no kernel in this file, or it does not end: write OSTRA_PARALLEL_KERNEL(Name, "
                          "KERNELINPUTS), its body in braces on the lines below, and OSTRA_PARALLEL_KERNEL_END"));
}

TEST(LanguageServerTest, HeadersOnDiskAreFoundBesideTheKernel) {
  const TemporaryFolder folder;
  const std::string path = folder / "more kernels.h";
  std::ofstream(path) << "float Half(float x)\n{\n\treturn x * 0.5;\n}\n";
  Editor editor;
  const std::string uri = MakeUri(folder / "net.example.a b.krn");
  EXPECT_THAT(uri, HasSubstr("a%20b.krn"));
  const Marked place("#include \"more kernels.h\"\n\n" + kHead + "\tsum.x = Ha$lf(1.0);\n" + kTail);
  editor.Open(uri, place.text);
  EXPECT_EQ(editor.TakeDiagnostics(uri), Json::array());
  Json request = MakeRequest(place);
  request["textDocument"]["uri"] = uri;
  const Json location = editor.Ask("textDocument/definition", request);
  EXPECT_EQ(location["uri"], MakeUri(path));
  EXPECT_EQ(location["range"]["start"]["character"], 6);
}

TEST(LanguageServerTest, QuestionsAreAnswered) {
  Editor editor;
  const Marked place = InKernel("sum.x = Twi$ce(1.0);");
  editor.Open(kUri, place.text);
  const Json hover = editor.Ask("textDocument/hover", MakeRequest(place));
  EXPECT_THAT(hover["contents"]["value"].get<std::string>(), HasSubstr("float Twice(float value)"));
  EXPECT_EQ(editor.Ask("textDocument/definition", MakeRequest(place))["range"]["start"]["line"], 6);
  EXPECT_THAT(editor.Ask("textDocument/references", MakeRequest(place, {{"context", {{"includeDeclaration", true}}}})),
              SizeIs(2));
  EXPECT_THAT(editor.Ask("textDocument/rename", MakeRequest(place, {{"newName", "Double"}}))["changes"][kUri],
              SizeIs(2));
  EXPECT_EQ(editor.Ask("textDocument/rename", MakeRequest(place, {{"newName", "sqrt"}}))["code"], -32803);
  EXPECT_THAT(editor.Ask("textDocument/documentSymbol", MakeRequest(place)), SizeIs(6));
  EXPECT_EQ(editor.Ask("textDocument/formatting", MakeRequest(place)), Json::array());
  const Json items = editor.Ask("textDocument/completion", MakeRequest(place));
  ASSERT_THAT(items, SizeIs(1));
  EXPECT_EQ(items[0]["label"], "Twice");
}

TEST(LanguageServerTest, MalformedMessagesAreAnsweredWithErrorsAndLoseNothing) {
  Editor editor;
  editor.Open(kUri, kHead + kTail);
  const auto codeOf = [&](const std::string& message) {
    const auto answers = editor.server.Handle(message);
    return answers.empty() ? 0 : Json::parse(answers[0])["error"]["code"].get<int>();
  };
  EXPECT_EQ(codeOf("{"), -32700);
  EXPECT_EQ(codeOf("\xff\xfe"), -32700);
  EXPECT_EQ(codeOf("[]"), -32600);
  EXPECT_EQ(codeOf("{\"id\":1}"), -32600);
  EXPECT_EQ(codeOf("{\"id\":1,\"method\":7}"), -32600);
  EXPECT_EQ(codeOf("{\"id\":1,\"method\":\"textDocument/teleport\"}"), -32601);
  EXPECT_EQ(codeOf("{\"id\":1,\"method\":\"textDocument/hover\"}"), -32602);
  EXPECT_EQ(codeOf("{\"id\":1,\"method\":\"textDocument/hover\",\"params\":[1]}"), -32602);
  EXPECT_EQ(
      codeOf("{\"id\":1,\"method\":\"textDocument/hover\",\"params\":{\"textDocument\":{\"uri\":\"file:///x\"}}}"),
      -32602);
  EXPECT_EQ(codeOf("{\"method\":\"textDocument/didChange\",\"params\":{\"contentChanges\":7}}"), 0);
  EXPECT_EQ(codeOf("{\"method\":\"unknown/notification\"}"), 0);
  EXPECT_EQ(codeOf("{\"id\":1,\"result\":null}"), 0) << "an answer that was not asked for";
  editor.Change(kUri,
                {{{"range", {{"start", {{"line", 5}, {"character", 0}}}, {"end", {{"line", 1}, {"character", 0}}}}},
                  {"text", "lost"}}});
  EXPECT_THAT(editor.Ask("textDocument/documentSymbol", {{"textDocument", {{"uri", kUri}}}}), SizeIs(6))
      << "the file is as it was";
}

TEST(LanguageServerTest, PositionsFarOutsideAreTheEndOfTheText) {
  Editor editor;
  editor.Open(kUri, kHead + kTail);
  Json request = {{"textDocument", {{"uri", kUri}}}, {"position", {{"line", 1e9}, {"character", -5}}}};
  EXPECT_EQ(editor.Ask("textDocument/hover", request), nullptr);
}

TEST(TextPositionsTest, ColumnsCountUtf16Units) {
  const std::string text = "a\xc3\xa4\xf0\x9f\x98\x80z\r\nnext";
  const TextLines lines(text);
  EXPECT_EQ(lines.GetOffset({0, 2}), 3u);
  EXPECT_EQ(lines.GetOffset({0, 3}), 3u) << "in the middle of a character: before it";
  EXPECT_EQ(lines.GetOffset({0, 4}), 7u);
  EXPECT_EQ(lines.GetOffset({0, 99}), 8u) << "the end of the line";
  EXPECT_EQ(lines.GetOffset({1, 1}), 11u);
  EXPECT_EQ(lines.GetOffset({9, 0}), text.size());
  EXPECT_EQ(lines.GetPosition(7), (TextPosition{0, 4}));
  EXPECT_EQ(lines.GetPosition(11), (TextPosition{1, 1}));
}

TEST(TextPositionsTest, BytesThatAreNoUtf8CountAsOneUnit) {
  const std::string text = "\xff\xe2\x82z";
  EXPECT_EQ(TextLines(text).GetPosition(3), (TextPosition{0, 3}));
  EXPECT_EQ(TextLines(text).GetOffset({0, 3}), 3u);
}

TEST(MessageReaderTest, MessagesAreFoundHoweverTheyArrive) {
  const std::string bytes =
      FrameMessage("{\"a\":1}") + "content-length:2\r\nContent-Type: x\r\n\r\n{}" + FrameMessage("");
  MessageReader reader;
  std::vector<std::string> messages;
  for (const char byte : bytes) {
    reader.Append({&byte, 1});
    std::string message;
    auto taken = reader.Take(message);
    ASSERT_TRUE(taken);
    if (*taken) messages.push_back(message);
  }
  EXPECT_THAT(messages, testing::ElementsAre("{\"a\":1}", "{}", ""));
  EXPECT_TRUE(reader.IsEmpty());
}

TEST(MessageReaderTest, HeadersWithoutALengthAreRefused) {
  for (const std::string& bytes : {std::string("Hello: 1\r\n\r\n"), std::string("Content-Length: x\r\n\r\n"),
                                   std::string("Content-Length: -1\r\n\r\n"), std::string("Content-Length:\r\n\r\n"),
                                   std::string("Content-Length: 99999999999999999999\r\n\r\n"),
                                   std::string("Content-Length: 1000000000\r\n\r\n"), std::string(5000, 'x')}) {
    MessageReader reader;
    reader.Append(bytes);
    std::string message;
    EXPECT_FALSE(reader.Take(message)) << bytes.substr(0, 40);
  }
}

TEST(FileUriTest, PathsAndUrisAreEachOthers) {
  EXPECT_EQ(MakePath("file:///a%20b/c.krn"), "/a b/c.krn");
  EXPECT_EQ(MakePath("file://localhost/c.krn"), "/c.krn");
  EXPECT_EQ(MakePath("untitled:Untitled-1"), "untitled:Untitled-1");
  EXPECT_EQ(MakePath("file:///50%"), "/50%");
  EXPECT_EQ(MakeUri("/a b/\xc3\xa4.krn"), "file:///a%20b/%C3%A4.krn");
}

}  // namespace
}  // namespace ostra::tool

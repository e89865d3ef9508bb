// The language server with a kernel file of a thousand lines: what a key costs, and what a question costs.
#include <cstdlib>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "apps/ostra/languageserver/language_server.h"
#include "bench/measure.h"
#include "bench/workloads/workloads.h"

namespace bench {
namespace {

using Json = nlohmann::json;
using ostra::tool::LanguageServer;

constexpr int kLines = 1000, kLinesOfFunction = 8;
const std::string kUri = "file:///bench/net.ostra.bench.large.krn";

std::string MakeKernel() {
  std::string text = "#define KERNELINPUTS \\\n(UInt32) count, \\\n(Block<Float32>) values\n\n";
  std::string calls;
  for (int line = 4; line < kLines - 200; line += kLinesOfFunction) {
    const std::string name = "Part" + std::to_string(line);
    text += "float " + name + "(float value, float weight)\n{\n" +
            "\tfloat sum = value * weight;\n\tfor (int i = 0; i < 8; i++)\n\t{\n" +
            "\t\tsum = sum + sqrt(abs(sum)) * 0.5;\n\t}\n\treturn sum;\n}\n";
    calls += "\t\tvalue = " + name + "(value, 0.25);\n";
  }
  text +=
      "\nOSTRA_PARALLEL_KERNEL(Large, KERNELINPUTS)\n{\n\tuint i = LinearInvocation();\n\tif (i < "
      "UNIFORM(count))\n\t{\n"
      "\t\tfloat value = UNIFORM_BUFFER(values)[i];\n" +
      calls + "\t\tUNIFORM_BUFFER(values)[i] = value;\n\t}\n}\nOSTRA_PARALLEL_KERNEL_END\n";
  return text;
}

Json MakePlace(int line, int character) { return {{"line", line}, {"character", character}}; }

std::string MakeMessage(const std::string& method, const Json& parameters, int id = 0) {
  Json message = {{"jsonrpc", "2.0"}, {"method", method}, {"params", parameters}};
  if (id != 0) message["id"] = id;
  return message.dump();
}

std::shared_ptr<LanguageServer> StartServer() {
  auto server = std::make_shared<LanguageServer>();
  server->Handle(MakeMessage("initialize", Json::object(), 1));
  const Json file = {{"uri", kUri}, {"version", 1}, {"text", MakeKernel()}};
  server->Handle(MakeMessage("textDocument/didOpen", {{"textDocument", file}}));
  return server;
}

// A digit of the first function changes, and the mistakes of the file are told: there are none.
bool RunKey(const Options& options) {
  auto server = StartServer();
  auto told = std::make_shared<std::vector<std::string>>();
  const Json range = {{"start", MakePlace(9, 33)}, {"end", MakePlace(9, 34)}};
  const std::string change = MakeMessage(
      "textDocument/didChange",
      {{"textDocument", {{"uri", kUri}, {"version", 2}}}, {"contentChanges", {{{"range", range}, {"text", "7"}}}}});
  Contest contest("editor", "1000 lines", "mistakes_after_key", "ms");
  contest.Add(
      "ours",
      [=] {
        server->Handle(change);
        *told = server->TakeDiagnostics();
        return true;
      },
      [=] { return told->size() == 1 && Json::parse(told->front())["params"]["diagnostics"].empty(); });
  return contest.Run(options, [](double seconds) { return seconds * 1e3; });
}

bool RunQuestion(const Options& options, const std::string& name, const std::string& method, const std::string& part) {
  auto server = StartServer();
  auto answer = std::make_shared<std::string>();
  const std::string question =
      MakeMessage(method, {{"textDocument", {{"uri", kUri}}}, {"position", MakePlace(6, 10)}}, 2);
  Contest contest("editor", "1000 lines", name, "ms");
  contest.Add(
      "ours",
      [=] {
        *answer = server->Handle(question).at(0);
        return true;
      },
      [=] { return answer->find(part) != std::string::npos; });
  return contest.Run(options, [](double seconds) { return seconds * 1e3; });
}

}  // namespace

bool RunEditor(const Options& options) {
  return RunKey(options) && RunQuestion(options, "hover", "textDocument/hover", "float sum") &&
         RunQuestion(options, "completion", "textDocument/completion", "\"sum\"") &&
         RunQuestion(options, "references", "textDocument/references", "\"range\"");
}

}  // namespace bench

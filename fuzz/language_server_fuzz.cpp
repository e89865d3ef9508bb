// What an editor sends. The first byte decides: the rest is a stream of messages, or the text of a kernel file about
// which everything is asked at places of it. Every answer is a message; every range lies within its text.
#include <cstdio>
#include <cstdlib>

#include "apps/ostra/languageserver/features.h"
#include "apps/ostra/languageserver/language_server.h"
#include "apps/ostra/languageserver/message_stream.h"

namespace {

using namespace ostra::tool;

void Require(bool isTrue, const char* what) {
  if (isTrue) return;
  std::fprintf(stderr, "%s\n", what);
  std::abort();
}

void CheckRange(const TextRange& range, const std::string& text) {
  Require(range.begin <= range.end && range.end <= text.size(), "a range lies within its text");
}

void ReadStream(std::string_view bytes) {
  LanguageServer server;
  server.Handle("{\"id\":1,\"method\":\"initialize\"}");
  MessageReader reader;
  reader.Append(bytes);
  std::string message;
  for (auto taken = reader.Take(message); taken && *taken; taken = reader.Take(message)) {
    for (const std::string& answer : server.Handle(message))
      Require(nlohmann::json::accept(answer), "an answer is JSON");
    for (const std::string& told : server.TakeDiagnostics())
      Require(nlohmann::json::accept(told), "so is what is told");
  }
}

void AskAll(const std::string& text, std::size_t step) {
  KernelDocument document("/k.krn", {});
  if (!document.SetText(text)) return;
  for (const Problem& problem : document.GetProblems()) CheckRange(problem.range, text);
  for (const Symbol& symbol : ListSymbols(document)) CheckRange(symbol.range, document.GetUnderstood()->text);
  for (const TextEdit& edit : FormatDeclarations(text)) CheckRange(edit.range, text);
  for (std::size_t at = 0; at <= text.size(); at += step) {
    const auto offset = static_cast<ostra::UInt32>(at);
    if (const auto hover = Describe(document, offset)) CheckRange(hover->range, text);
    Complete(document, offset);
    FindDefinition(document, offset);
    const auto uses = FindReferences(document, offset, true);
    const auto places = Rename(document, offset, "aNameThatIsNew");
    Require(!places || places->size() == uses.size(), "what is renamed is what is referred to");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string rest(reinterpret_cast<const char*>(data) + 1, size - 1);
  if (data[0] & 1)
    ReadStream(rest);
  else
    AskAll(rest, 1 + rest.size() / 64);
  return 0;
}

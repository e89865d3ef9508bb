// LanguageServer: answers the messages of an editor about kernel files, one after the other. It reads headers, and
// nothing else of the world: messages come and go as texts.
//
//   LanguageServer server;
//   for (const std::string& answer : server.Handle(message)) Send(answer);
//   if (nothing more has arrived) for (const std::string& message : server.TakeDiagnostics()) Send(message);
//
// The protocol is version 3.16 of the language server protocol, over JSON-RPC 2.0. Not thread-safe.
#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "apps/ostra/languageserver/kernel_document.h"

namespace ostra::tool {

class LanguageServer {
 public:
  // The answers to a message: none for a notification, one for a request, an error for what is no message.
  std::vector<std::string> Handle(std::string_view message);

  // What the files that have changed since the last call look like now. Called when no message waits, so that of
  // several changes the last one is told.
  std::vector<std::string> TakeDiagnostics();

  // Set by "exit".
  Bool HasEnded() const { return _hasEnded; }
  // Whether "shutdown" came before.
  Bool WasShutDown() const { return _state == State::kShutDown; }

 private:
  using Json = nlohmann::json;
  enum class State { kNew, kRunning, kShutDown };
  struct OpenFile {
    std::string uri;
    std::optional<Int> version;
    KernelDocument document;
  };
  // What the protocol calls an error: a code and a text.
  struct RequestError {
    int code;
    std::string text;
  };

  Json Answer(const std::string& method, const Json& parameters);
  void Notify(const std::string& method, const Json& parameters);
  Json Initialize();
  void Open(const Json& parameters);
  void Change(const Json& parameters);
  void Close(const Json& parameters);
  void Analyze(OpenFile& file, std::string text);

  Json DescribeAt(const Json& parameters);
  Json CompleteAt(const Json& parameters);
  Json FindDefinitionAt(const Json& parameters);
  Json FindReferencesAt(const Json& parameters);
  Json RenameAt(const Json& parameters);
  Json ListSymbolsOf(const Json& parameters);
  Json FormatFile(const Json& parameters);

  OpenFile& FindFile(const Json& parameters);
  std::optional<kernellanguage::Header> ReadHeader(const std::string& name, const std::string& includingFile) const;
  Json MakeLocation(const FileRange& place) const;
  // Mistakes, and in a text without any what `ostra check` finds for the languages of GPUs.
  std::vector<Problem> FindProblems(const OpenFile& file) const;
  Json MakeDiagnostics(const OpenFile& file) const;

  State _state = State::kNew;
  Bool _hasEnded = false;
  std::map<std::string, OpenFile> _files;  // by path
  std::set<std::string> _changed;          // paths whose diagnostics are to be told
};

}  // namespace ostra::tool

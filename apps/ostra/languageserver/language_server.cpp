#include "apps/ostra/languageserver/language_server.h"

#include <algorithm>

#include "apps/ostra/languageserver/features.h"
#include "apps/ostra/languageserver/file_uri.h"
#include "apps/ostra/languageserver/lint_document.h"
#include "apps/ostra/languageserver/text_positions.h"
#include "parallelprogram/device/kernel_headers.h"
#include "plans/values/text.h"

namespace ostra::tool {

using namespace plans;

namespace {

using Json = nlohmann::json;

// Codes of JSON-RPC and of the protocol.
constexpr int kParseError = -32700, kInvalidRequest = -32600, kMethodNotFound = -32601, kInvalidParams = -32602,
              kInternalError = -32603, kServerNotInitialized = -32002, kRequestFailed = -32803;

// Texts of files may hold bytes that are no UTF-8: they are replaced.
std::string Print(const Json& json) { return json.dump(-1, ' ', false, Json::error_handler_t::replace); }

Json MakeError(const Json& id, int code, const std::string& text) {
  return {{"jsonrpc", "2.0"}, {"id", id}, {"error", {{"code", code}, {"message", text}}}};
}

Json MakePosition(const TextLines& lines, UInt32 offset) {
  const TextPosition position = lines.GetPosition(offset);
  return {{"line", position.line}, {"character", position.column}};
}

Json MakeRange(const TextLines& lines, TextRange range) {
  return {{"start", MakePosition(lines, range.begin)}, {"end", MakePosition(lines, range.end)}};
}

TextPosition ReadPosition(const Json& json) {
  const auto read = [](const Json& number) {
    return static_cast<UInt32>(std::clamp<Int>(number.get<Int>(), 0, 0x7fffffff));
  };
  return {read(json.at("line")), read(json.at("character"))};
}

Json MakeEdit(const TextLines& lines, const TextEdit& edit) {
  return {{"range", MakeRange(lines, edit.range)}, {"newText", edit.text}};
}

int GetCode(CompletionKind kind) {
  switch (kind) {
    case CompletionKind::kType:
      return 22;  // struct
    case CompletionKind::kFunction:
      return 3;
    case CompletionKind::kVariable:
      return 6;
    case CompletionKind::kParameter:
      return 10;  // property
    case CompletionKind::kMember:
      return 5;  // field
    default:
      return 14;  // keyword
  }
}

int GetCode(SymbolKind kind) {
  switch (kind) {
    case SymbolKind::kParameter:
      return 7;  // property
    case SymbolKind::kStruct:
      return 23;
    default:
      return 12;  // function
  }
}

}  // namespace

std::vector<std::string> LanguageServer::Handle(std::string_view message) {
  const Json request = Json::parse(message, nullptr, false);
  if (request.is_discarded()) return {Print(MakeError(nullptr, kParseError, "the message is no JSON"))};
  const Bool isRequest = request.is_object() && request.contains("id");
  const Json id = isRequest ? request["id"] : Json();
  if (!request.is_object() || !request.contains("method") || !request["method"].is_string()) {
    // An answer to something that was never asked.
    if (request.is_object() && (request.contains("result") || request.contains("error"))) return {};
    return {Print(MakeError(id, kInvalidRequest, "the message has no method"))};
  }
  const std::string method = request["method"];
  const Json parameters = request.value("params", Json::object());
  // A notification has no answer, whatever comes of it.
  const auto fail = [&](int code, const std::string& text) {
    return isRequest ? std::vector{Print(MakeError(id, code, text))} : std::vector<std::string>();
  };
  try {
    if (!isRequest) {
      Notify(method, parameters);
      return {};
    }
    return {Print({{"jsonrpc", "2.0"}, {"id", id}, {"result", Answer(method, parameters)}})};
  } catch (const RequestError& error) {
    return fail(error.code, error.text);
  } catch (const Json::exception& error) {
    return fail(kInvalidParams, error.what());
  } catch (const std::bad_alloc&) {
    return fail(kInternalError, "out of memory");
  }
}

LanguageServer::Json LanguageServer::Answer(const std::string& method, const Json& parameters) {
  if (method == "initialize") return Initialize();
  if (_state == State::kNew) throw RequestError{kServerNotInitialized, "\"initialize\" comes first"};
  if (_state == State::kShutDown) throw RequestError{kInvalidRequest, "the server is shut down"};
  if (method == "shutdown") {
    _state = State::kShutDown;
    return nullptr;
  }
  if (method == "textDocument/hover") return DescribeAt(parameters);
  if (method == "textDocument/completion") return CompleteAt(parameters);
  if (method == "textDocument/definition") return FindDefinitionAt(parameters);
  if (method == "textDocument/references") return FindReferencesAt(parameters);
  if (method == "textDocument/rename") return RenameAt(parameters);
  if (method == "textDocument/documentSymbol") return ListSymbolsOf(parameters);
  if (method == "textDocument/formatting") return FormatFile(parameters);
  throw RequestError{kMethodNotFound, "there is no method \"" + method + "\""};
}

void LanguageServer::Notify(const std::string& method, const Json& parameters) {
  if (method == "exit") _hasEnded = true;
  if (_state != State::kRunning) return;
  if (method == "textDocument/didOpen") Open(parameters);
  if (method == "textDocument/didChange") Change(parameters);
  if (method == "textDocument/didClose") Close(parameters);
}

LanguageServer::Json LanguageServer::Initialize() {
  if (_state != State::kNew) throw RequestError{kInvalidRequest, "\"initialize\" comes once"};
  _state = State::kRunning;
  return {{"serverInfo", {{"name", "ostra"}, {"version", OSTRA_VERSION}}},
          {"capabilities",
           {{"textDocumentSync", {{"openClose", true}, {"change", 2}}},
            {"hoverProvider", true},
            {"completionProvider", {{"triggerCharacters", {".", "("}}}},
            {"definitionProvider", true},
            {"referencesProvider", true},
            {"renameProvider", true},
            {"documentSymbolProvider", true},
            {"documentFormattingProvider", true}}}};
}

void LanguageServer::Open(const Json& parameters) {
  const Json& item = parameters.at("textDocument");
  const std::string uri = item.at("uri");
  const std::string path = MakePath(uri);
  std::string text = item.at("text");
  KernelDocument document(path, [this](const std::string& name, const std::string& includingFile) {
    return ReadHeader(name, includingFile);
  });
  const auto opened = _files.insert_or_assign(path, OpenFile{uri, std::nullopt, std::move(document)}).first;
  if (item.contains("version")) opened->second.version = item["version"].get<Int>();
  Analyze(opened->second, std::move(text));
}

void LanguageServer::Change(const Json& parameters) {
  OpenFile& file = FindFile(parameters);
  std::string text = file.document.GetText();
  for (const Json& change : parameters.at("contentChanges")) {
    const std::string& part = change.at("text").get_ref<const std::string&>();
    if (!change.contains("range")) {
      text = part;
      continue;
    }
    const TextLines lines(text);
    const UInt32 begin = lines.GetOffset(ReadPosition(change["range"].at("start")));
    const UInt32 end = lines.GetOffset(ReadPosition(change["range"].at("end")));
    if (end < begin) throw RequestError{kInvalidParams, "a range ends before it begins"};
    text.replace(begin, end - begin, part);
  }
  if (const Json& item = parameters.at("textDocument"); item.contains("version") && item["version"].is_number())
    file.version = item["version"].get<Int>();
  Analyze(file, std::move(text));
}

void LanguageServer::Close(const Json& parameters) {
  const std::string path = FindFile(parameters).document.GetPath();
  _files.erase(path);
  _changed.insert(path);
}

// The file itself, and kernels that include it.
void LanguageServer::Analyze(OpenFile& file, std::string text) {
  if (!file.document.SetText(std::move(text))) throw std::bad_alloc();
  const std::string& path = file.document.GetPath();
  _changed.insert(path);
  for (auto& [otherPath, other] : _files) {
    if (&other == &file || other.document.GetHeaders().count(path) == 0) continue;
    if (!other.document.SetText(other.document.GetText())) throw std::bad_alloc();
    _changed.insert(otherPath);
  }
}

std::vector<std::string> LanguageServer::TakeDiagnostics() {
  std::vector<std::string> messages;
  for (const std::string& path : _changed) {
    const auto found = _files.find(path);
    Json parameters = {{"uri", MakeUri(path)}, {"diagnostics", Json::array()}};
    if (found != _files.end()) {
      parameters["uri"] = found->second.uri;
      parameters["diagnostics"] = MakeDiagnostics(found->second);
      if (found->second.version) parameters["version"] = *found->second.version;
    }
    messages.push_back(
        Print({{"jsonrpc", "2.0"}, {"method", "textDocument/publishDiagnostics"}, {"params", parameters}}));
  }
  _changed.clear();
  return messages;
}

std::vector<Problem> LanguageServer::FindProblems(const OpenFile& file) const {
  const std::string& path = file.document.GetPath();
  const Bool isStage = IsStageFile(path);
  // Headers are checked with the kernels that include them.
  if (!isStage && !path.ends_with(".krn")) return {};
  std::vector<Problem> problems;
  if (!isStage) problems = file.document.GetProblems();
  // Lints of a text with mistakes would be about what follows from them.
  const Bool hasMistakes = std::any_of(problems.begin(), problems.end(), [](const Problem& problem) {
    return problem.severity == ProblemSeverity::kError;
  });
  if (hasMistakes) return problems;
  const auto readHeader = [this](const std::string& name, const std::string& includingFile) {
    return ReadHeader(name, includingFile);
  };
  const auto openText = [this](std::string_view name) {
    const auto open = _files.find(std::string(name));
    return open == _files.end() ? nullptr : &open->second.document.GetText();
  };
  auto found = LintDocument(path, file.document.GetText(), readHeader, openText);
  if (!found && found.GetError().GetKind() == kOutOfMemoryError) throw std::bad_alloc();
  if (found) problems.insert(problems.end(), found->begin(), found->end());
  return problems;
}

LanguageServer::Json LanguageServer::MakeDiagnostics(const OpenFile& file) const {
  Json list = Json::array();
  const TextLines lines(file.document.GetText());
  for (const Problem& problem : FindProblems(file)) {
    Json item = {{"range", MakeRange(lines, problem.range)},
                 {"severity", static_cast<int>(problem.severity)},
                 {"source", "ostra"},
                 {"message", problem.text}};
    for (const Problem::Note& note : problem.notes)
      item["relatedInformation"].push_back({{"location", MakeLocation(note.place)}, {"message", note.text}});
    list.push_back(std::move(item));
  }
  return list;
}

namespace {

// The byte that a request asks about.
UInt32 ReadOffset(const KernelDocument& document, const Json& parameters) {
  return TextLines(document.GetText()).GetOffset(ReadPosition(parameters.at("position")));
}

}  // namespace

LanguageServer::Json LanguageServer::DescribeAt(const Json& parameters) {
  const KernelDocument& document = FindFile(parameters).document;
  const auto hover = Describe(document, ReadOffset(document, parameters));
  if (!hover) return nullptr;
  return {{"contents", {{"kind", "markdown"}, {"value", hover->markdown}}},
          {"range", MakeRange(TextLines(document.GetText()), hover->range)}};
}

LanguageServer::Json LanguageServer::CompleteAt(const Json& parameters) {
  const KernelDocument& document = FindFile(parameters).document;
  Json list = Json::array();
  for (const Completion& item : Complete(document, ReadOffset(document, parameters)))
    list.push_back({{"label", item.label}, {"kind", GetCode(item.kind)}, {"detail", item.detail}});
  return list;
}

LanguageServer::Json LanguageServer::FindDefinitionAt(const Json& parameters) {
  const KernelDocument& document = FindFile(parameters).document;
  const auto place = FindDefinition(document, ReadOffset(document, parameters));
  return place ? MakeLocation(*place) : Json();
}

LanguageServer::Json LanguageServer::FindReferencesAt(const Json& parameters) {
  const KernelDocument& document = FindFile(parameters).document;
  const Bool isDeclarationIncluded =
      parameters.contains("context") && parameters["context"].value("includeDeclaration", false);
  Json list = Json::array();
  for (const FileRange& place : FindReferences(document, ReadOffset(document, parameters), isDeclarationIncluded))
    list.push_back(MakeLocation(place));
  return list;
}

LanguageServer::Json LanguageServer::RenameAt(const Json& parameters) {
  const KernelDocument& document = FindFile(parameters).document;
  const std::string newName = parameters.at("newName");
  const auto places = Rename(document, ReadOffset(document, parameters), newName);
  if (!places) throw RequestError{kRequestFailed, TextOf(places.GetError().GetMessage())};
  Json changes = Json::object();
  for (const FileRange& place : *places) {
    const Json location = MakeLocation(place);
    changes[location["uri"].get<std::string>()].push_back({{"range", location["range"]}, {"newText", newName}});
  }
  return {{"changes", changes}};
}

LanguageServer::Json LanguageServer::ListSymbolsOf(const Json& parameters) {
  const KernelDocument& document = FindFile(parameters).document;
  Json list = Json::array();
  const KernelDocument::Analysis* analysis = document.GetUnderstood();
  if (!analysis) return list;
  const TextLines lines(analysis->text);
  for (const Symbol& symbol : ListSymbols(document))
    list.push_back({{"name", symbol.name},
                    {"detail", symbol.detail},
                    {"kind", GetCode(symbol.kind)},
                    {"range", MakeRange(lines, symbol.range)},
                    {"selectionRange", MakeRange(lines, symbol.nameRange)}});
  return list;
}

LanguageServer::Json LanguageServer::FormatFile(const Json& parameters) {
  const KernelDocument& document = FindFile(parameters).document;
  const TextLines lines(document.GetText());
  Json list = Json::array();
  for (const TextEdit& edit : FormatDeclarations(document.GetText())) list.push_back(MakeEdit(lines, edit));
  return list;
}

LanguageServer::OpenFile& LanguageServer::FindFile(const Json& parameters) {
  const std::string uri = parameters.at("textDocument").at("uri");
  const auto found = _files.find(MakePath(uri));
  if (found == _files.end()) throw RequestError{kInvalidParams, "\"" + uri + "\" is not open"};
  return found->second;
}

std::optional<kernellanguage::Header> LanguageServer::ReadHeader(const std::string& name,
                                                                 const std::string& includingFile) const {
  const std::string path = GetHeaderPath(name, includingFile);
  if (const auto open = _files.find(path); open != _files.end())
    return kernellanguage::Header{path, open->second.document.GetText()};
  KernelHeaders onDisk([](const Url& file) { return ReadSourceFile(file, LineEnds::LineFeeds); });
  const auto header = onDisk.GetReader()(name, includingFile);
  return header ? std::optional(kernellanguage::Header{path, header->text}) : std::nullopt;
}

LanguageServer::Json LanguageServer::MakeLocation(const FileRange& place) const {
  const auto open = _files.find(std::string(place.file));
  return {{"uri", open == _files.end() ? MakeUri(place.file) : open->second.uri},
          {"range", MakeRange(TextLines(place.text), place.range)}};
}

}  // namespace ostra::tool

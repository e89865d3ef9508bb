#include "apps/ostra/languageserver/kernel_document.h"

#include <algorithm>

#include "parallelprogram/kernelfront/source_rules.h"

namespace ostra::tool {

namespace {

using namespace kernellanguage;

Bool IsWordCharacter(char c) {
  return c == '_' || (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// The file and the byte of it where an offset is used.
std::pair<const SourceMap::File*, UInt32> FindPlace(const SourceMap& sources, SourceOffset offset) {
  const SourceOffset byte = sources.GetUse(offset);
  for (Int i = 0; i < sources.GetFileCount() && offset != kNoOffset; ++i) {
    const SourceMap::File& file = sources.GetFile(i);
    if (byte >= file.begin && byte <= file.begin + file.text.size()) return {&file, byte - file.begin};
  }
  return {nullptr, 0};
}

// The word that begins at a byte, or the one character there.
TextRange GetTokenRange(std::string_view text, UInt32 begin) {
  UInt32 end = begin;
  while (end < text.size() && IsWordCharacter(text[end])) ++end;
  if (end == begin && end < text.size() && text[end] != '\n') ++end;
  return {begin, end};
}

class ProblemList {
 public:
  explicit ProblemList(const KernelDocument::Analysis& analysis) : _analysis(analysis) {}

  void Add(ProblemSeverity severity, SourceOffset offset, std::string text,
           const std::vector<DiagnosticNote>& notes = {}) {
    const SourceMap& sources = _analysis.kernel.sources;
    const auto [file, byte] = FindPlace(sources, offset);
    Problem problem{.severity = severity, .range = {}, .text = std::move(text), .notes = {}};
    if (file && file->begin == 0) {
      problem.range = GetTokenRange(_analysis.text, byte);
    } else if (file) {
      // In a header: said at the top of the kernel file, with the place as a note.
      problem.notes.push_back({{file->name, GetTokenRange(file->text, byte)}, "here"});
      problem.text = file->name.substr(file->name.rfind('/') + 1) + ": " + problem.text;
    }
    for (const DiagnosticNote& note : notes) {
      const auto [noteFile, noteByte] = FindPlace(sources, note.offset);
      if (noteFile) problem.notes.push_back({{noteFile->name, GetTokenRange(noteFile->text, noteByte)}, note.text});
    }
    problems.push_back(std::move(problem));
  }

  std::vector<Problem> problems;

 private:
  const KernelDocument::Analysis& _analysis;
};

}  // namespace

KernelDocument::KernelDocument(std::string path, HeaderLookup readHeader)
    : _path(std::move(path)), _readHeader(std::move(readHeader)), _current(std::make_shared<Analysis>()) {}

Result<void> KernelDocument::SetText(std::string text) {
  auto analysis = std::make_shared<Analysis>();
  analysis->text = std::move(text);
  std::set<std::string> headers;
  Source source{.fileName = _path, .text = analysis->text};
  source.readHeader = [&](const std::string& name, const std::string& includingFile) -> std::optional<Header> {
    headers.insert(includingFile.substr(0, includingFile.rfind('/') + 1) + name);
    return _readHeader ? _readHeader(name, includingFile) : std::nullopt;
  };
  OSTRA_ASSIGN_OR_RETURN(analysis->kernel, AnalyzeKernel(source));
  LexerTrouble trouble;
  analysis->tokens = ReadTokens(analysis->text, 0, trouble);
  if (analysis->kernel.IsUnderstood()) analysis->names = NameIndex(analysis->kernel);
  _headers = std::move(headers);
  _current = analysis;
  if (analysis->kernel.IsUnderstood()) _understood = std::move(analysis);
  return OK;
}

std::vector<Problem> KernelDocument::GetProblems() const {
  ProblemList list(*_current);
  const AnalyzedKernel& kernel = _current->kernel;
  for (const Diagnostic& error : kernel.errors)
    list.Add(ProblemSeverity::kError, error.offset, error.text, error.notes);
  for (const Diagnostic& warning : kernel.warnings)
    list.Add(ProblemSeverity::kWarning, warning.offset, warning.text, warning.notes);
  if (kernel.notUnderstood)
    list.Add(ProblemSeverity::kInformation, kernel.notUnderstood->offset,
             "not understood: " + kernel.notUnderstood->reason + "; the C++ compiler checks this kernel");
  for (const SourceMistake& mistake : FindSourceMistakes(_current->text))
    list.problems.push_back({.severity = ProblemSeverity::kError,
                             .range = GetTokenRange(_current->text, static_cast<UInt32>(mistake.position)),
                             .text = mistake.text,
                             .notes = {}});
  return std::move(list.problems);
}

NodeIndex KernelDocument::FindDeclaration(UInt32 offset) const {
  if (!_understood) return kNoNode;
  if (_current == _understood) {
    const NamePlace* place = _understood->names.Find(0, offset);
    return place ? place->declaration : kNoNode;
  }
  const std::string_view name = GetText(FindWord(offset));
  for (const NamePlace& place : _understood->names.GetPlaces()) {
    if (place.isDeclaration && !name.empty() && _understood->kernel.tree.GetName(place.declaration) == name)
      return place.declaration;
  }
  return kNoNode;
}

TextRange KernelDocument::FindWord(UInt32 offset) const {
  const std::string_view text = _current->text;
  UInt32 begin = std::min(offset, static_cast<UInt32>(text.size())), end = begin;
  while (begin > 0 && IsWordCharacter(text[begin - 1])) --begin;
  while (end < text.size() && IsWordCharacter(text[end])) ++end;
  return {begin, end};
}

std::string_view KernelDocument::GetText(TextRange range) const {
  return std::string_view(_current->text).substr(range.begin, range.end - range.begin);
}

}  // namespace ostra::tool

#include "apps/ostra/languageserver/kernel_document.h"

#include <algorithm>
#include <filesystem>

#include "ostra/core/text_characters.h"
#include "parallelprogram/kernelfront/source_rules.h"
#include "parallelprogram/kernellanguage/join.h"

namespace ostra::tool {

namespace {

using namespace kernellanguage;

// The word that begins at a byte, or the one character there.
TextRange GetTokenRange(std::string_view text, UInt32 begin) {
  UInt32 end = begin;
  while (end < text.size() && IsWordCharacter(text[end])) ++end;
  if (end == begin && end < text.size() && text[end] != '\n') ++end;
  return {begin, end};
}

// The file and the word where an offset is used; no file for kNoOffset.
FileRange FindPlace(const SourceMap& sources, SourceOffset offset) {
  const SourceOffset byte = sources.GetUse(offset);
  const Int index = sources.FindFile(byte);
  if (index < 0) return {};
  const SourceMap::File& file = sources.GetFile(index);
  return {file.name, file.text, GetTokenRange(file.text, byte - file.begin)};
}

Problem MakeProblem(const SourceMap& sources, ProblemSeverity severity, SourceOffset offset, std::string text,
                    const std::vector<DiagnosticNote>& notes = {}) {
  const FileRange place = FindPlace(sources, offset);
  Problem problem{.severity = severity, .range = place.range, .text = std::move(text), .notes = {}};
  if (sources.FindFile(sources.GetUse(offset)) > 0) {
    // In a header: said at the top of the kernel file, with the place as a note.
    problem.range = {};
    problem.text = Join({place.file.substr(place.file.rfind('/') + 1), ": ", problem.text});
    problem.notes.push_back({place, "here"});
  }
  for (const DiagnosticNote& note : notes) {
    const FileRange notePlace = FindPlace(sources, note.offset);
    if (!notePlace.file.empty()) problem.notes.push_back({notePlace, note.text});
  }
  return problem;
}

}  // namespace

std::string GetHeaderPath(std::string_view name, std::string_view includingFile) {
  return (std::filesystem::path(includingFile).parent_path() / name).lexically_normal().string();
}

KernelDocument::KernelDocument(std::string path, HeaderLookup readHeader)
    : _path(std::move(path)), _readHeader(std::move(readHeader)), _current(std::make_shared<Analysis>()) {}

Result<void> KernelDocument::SetText(std::string text) {
  auto analysis = std::make_shared<Analysis>();
  analysis->text = std::move(text);
  std::set<std::string> headers;
  Source source{.fileName = _path, .text = analysis->text};
  source.readHeader = [&](const std::string& name, const std::string& includingFile) -> std::optional<Header> {
    headers.insert(GetHeaderPath(name, includingFile));
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
  const AnalyzedKernel& kernel = _current->kernel;
  std::vector<Problem> problems;
  for (const Diagnostic& error : kernel.errors)
    problems.push_back(MakeProblem(kernel.sources, ProblemSeverity::kError, error.offset, error.text, error.notes));
  for (const Diagnostic& warning : kernel.warnings)
    problems.push_back(
        MakeProblem(kernel.sources, ProblemSeverity::kWarning, warning.offset, warning.text, warning.notes));
  if (kernel.notUnderstood)
    problems.push_back(
        MakeProblem(kernel.sources, ProblemSeverity::kInformation, kernel.notUnderstood->offset,
                    "not understood: " + kernel.notUnderstood->reason + "; the C++ compiler checks this kernel"));
  // What is understood is written anew for the translation, whose rules for lines it need not keep.
  if (kernel.IsUnderstood()) return problems;
  for (const SourceMistake& mistake : FindSourceMistakes(_current->text))
    problems.push_back({.severity = ProblemSeverity::kError,
                        .range = GetTokenRange(_current->text, static_cast<UInt32>(mistake.position)),
                        .text = mistake.text,
                        .notes = {}});
  return problems;
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

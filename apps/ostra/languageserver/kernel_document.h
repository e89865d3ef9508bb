// KernelDocument: a kernel file that is being edited, and what there is to say about its places. It knows neither files
// nor a protocol: texts come from its caller, offsets are bytes.
//
//   KernelDocument document("net.example.blur.krn", readHeader);
//   OSTRA_RETURN_IF_ERROR(document.SetText(text));
//   for (const Problem& problem : document.GetProblems()) ...
//   if (const auto hover = Describe(document, offset)) ...                // features.h
//
// While a text has mistakes, names are those of the last text that had none. Not thread-safe.
#pragma once

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "apps/ostra/languageserver/name_index.h"
#include "parallelprogram/kernellanguage/front_end.h"

namespace ostra::tool {

struct TextRange {
  UInt32 begin = 0, end = 0;
  friend Bool operator==(const TextRange&, const TextRange&) = default;
};

// A range of one of the files of a kernel. The text is that of the analysis that found it: valid until the next
// SetText.
struct FileRange {
  std::string_view file, text;
  TextRange range;
};

enum class ProblemSeverity : UInt8 { kError = 1, kWarning = 2, kInformation = 3 };

struct Problem {
  ProblemSeverity severity = ProblemSeverity::kError;
  TextRange range;  // of the document's text
  std::string text;
  struct Note {
    FileRange place;
    std::string text;
  };
  std::vector<Note> notes;
};

// Where a header is looked for: beside the file that includes it, without "." and "..".
std::string GetHeaderPath(std::string_view name, std::string_view includingFile);

class KernelDocument {
 public:
  using HeaderLookup = decltype(kernellanguage::Source::readHeader);

  // A text with what the front end found in it.
  struct Analysis {
    std::string text;
    kernellanguage::AnalyzedKernel kernel;
    NameIndex names;  // of an understood kernel
    std::vector<kernellanguage::Token> tokens;
  };

  // `path`: the name of the file, which headers are looked for beside.
  KernelDocument(std::string path, HeaderLookup readHeader);

  // Takes another text and analyzes it. Error: out of memory; the document keeps what it has then.
  Result<void> SetText(std::string text);

  const std::string& GetPath() const { return _path; }
  const std::string& GetText() const { return _current->text; }
  // Mistakes, warnings, and what keeps the front end from understanding the kernel.
  std::vector<Problem> GetProblems() const;
  // The paths of the headers that were read, or looked for in vain.
  const std::set<std::string>& GetHeaders() const { return _headers; }

  const Analysis& GetCurrent() const { return *_current; }
  // The last text that was understood; null before there was one.
  const Analysis* GetUnderstood() const { return _understood.get(); }
  // The declaration that the name at a byte stands for, in GetUnderstood(); kNoNode for none. In a text with mistakes
  // the name decides.
  kernellanguage::NodeIndex FindDeclaration(UInt32 offset) const;
  // The word at a byte or right before it; an empty range for none.
  TextRange FindWord(UInt32 offset) const;
  std::string_view GetText(TextRange range) const;

 private:
  std::string _path;
  HeaderLookup _readHeader;
  std::set<std::string> _headers;
  std::shared_ptr<const Analysis> _current, _understood;
};

}  // namespace ostra::tool

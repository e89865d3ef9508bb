// What an editor asks about a kernel file. Pure functions of a document; offsets are bytes. All throw std::bad_alloc.
#pragma once

#include <optional>

#include "apps/ostra/languageserver/kernel_document.h"

namespace ostra::tool {

// What the word at a place means: its type, what it is, whether it differs between invocations. Markdown.
struct Hover {
  TextRange range;
  std::string markdown;
};
std::optional<Hover> Describe(const KernelDocument& document, UInt32 offset);

enum class CompletionKind : UInt8 { kWord, kType, kFunction, kVariable, kParameter, kMember };
struct Completion {
  std::string label;
  CompletionKind kind = CompletionKind::kWord;
  std::string detail;  // its type or meaning, one line
  friend Bool operator==(const Completion&, const Completion&) = default;
};
// What may stand at a place, as far as its beginning is written: members behind a ".", parameters within UNIFORM and
// its relatives, words and names elsewhere.
std::vector<Completion> Complete(const KernelDocument& document, UInt32 offset);

// Where the name at a place is declared, perhaps in a header.
std::optional<FileRange> FindDefinition(const KernelDocument& document, UInt32 offset);
// Everywhere that name stands in the kernel file and its headers; empty without one.
std::vector<FileRange> FindReferences(const KernelDocument& document, UInt32 offset, Bool isDeclarationIncluded);
// The places that a new name must be written to. Errors: illegal argument when there is no name, the text has
// mistakes, or the new name is no identifier, a word of the language or a name that is taken; out of memory.
Result<std::vector<FileRange>> Rename(const KernelDocument& document, UInt32 offset, std::string_view newName);

enum class SymbolKind : UInt8 { kParameter, kStruct, kFunction, kKernel };
struct Symbol {
  SymbolKind kind = SymbolKind::kKernel;
  std::string name, detail;
  TextRange range, nameRange;  // of all of it; of its name
};
// The parameters, structs and functions of the file itself, in its order.
std::vector<Symbol> ListSymbols(const KernelDocument& document);

struct TextEdit {
  TextRange range;
  std::string text;
  friend Bool operator==(const TextEdit&, const TextEdit&) = default;
};
// What puts the lines of #define KERNELINPUTS into the form "(Type) name, \"; lines with anything else stay.
std::vector<TextEdit> FormatDeclarations(std::string_view text);

// "const float radius", "vec3 Mix(vec3 a, vec3 b)": a declaration as one line of code. For an understood kernel.
std::string PrintDeclaration(const kernellanguage::AnalyzedKernel& kernel, kernellanguage::NodeIndex declaration);

}  // namespace ostra::tool

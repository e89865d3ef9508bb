// Lints: what the translator or a compiler would accept, or complain about in a place that explains nothing, although
// it does not do what its author meant on the CPU or on a GPU.
#pragma once

#include "apps/ostra/check/findings.h"
#include "apps/ostra/check/source_lines.h"
#include "parallelprogram/shaderparser/shader_parser.h"

namespace ostra::tool {

// A file that belongs to a program: the kernel or stage file itself or one of its headers.
struct LintedFile {
  std::string name;
  std::vector<SourceLine> lines;
  Bool isHeader = false;
};

// Lints of single lines: words inside longer names, constructors and operators that languages disagree about, macros
// with arguments that the translator cannot take apart.
void LintLines(const LintedFile& file, Findings& findings);

// Lints of declarations, against what the parser made of them.
void LintDeclarations(const LintedFile& file, const ShaderParser& parser, Findings& findings);

// Lints of the order of lines: directives and what follows them, code outside of blocks, barriers.
void LintStructure(const LintedFile& file, Findings& findings);

// Lints of the words that take parameters: POINT textures, matrices, functions.
void LintUses(const LintedFile& file, const ShaderParser& parser, Findings& findings);

// Where in the file the translator failed, for its messages that name no line; 0 when it cannot be told.
Int LocateParseError(const LintedFile& file, std::string_view message);

}  // namespace ostra::tool

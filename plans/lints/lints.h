// Lints: what the translator or a compiler would accept, or complain about in a place that explains nothing, although
// it does not do what its author meant on the CPU or on a GPU.
#pragma once

#include <optional>

#include "ostra/drawport/enumerations.h"
#include "ostra/drawport/shader_assembly.h"
#include "parallelprogram/shaderparser/shader_parser.h"
#include "plans/lints/findings.h"
#include "plans/lints/source_lines.h"

namespace ostra::plans {

// A file that belongs to a program: the kernel or stage file itself or one of its headers.
struct LintedFile {
  std::string name;
  std::vector<SourceLine> lines;
  Bool isHeader = false;
  Bool hasTemplateArgument = false;  // for the word TYPE
  Bool isStage = false;              // of a graphics program, which runs on no CPU
  Bool isPlainForm = false;          // lines that the front end wrote
};

// Lints of single lines: words inside longer names, constructors and operators that languages disagree about, macros
// with arguments that the translator cannot take apart.
void LintLines(const LintedFile& file, Findings& findings);

// Lints of comments, which the translator reads like code.
void LintComments(const LintedFile& file, Findings& findings);

// Lints of declarations, against what the parser made of them.
void LintDeclarations(const LintedFile& file, const ShaderParser& parser, Findings& findings);

// The first thing that keeps a graphics program from drawing with the stage: noises, and parameters that stages of its
// kind do not have or that have another name or type than theirs. Nothing for kernels. Error: out of memory.
Result<std::optional<Finding>> FindStageFinding(const ShaderParser& parser, DrawportStage stage);

// Lints of #define lines that the translator drops although the file uses them.
void LintDefines(const LintedFile& file, const ShaderParser& parser, Findings& findings);

// The first define of a stage file that says how patches are divided, and that the translator drops; of a file whose
// lines have their places.
std::optional<Finding> FindDroppedPatchDefine(const LintedFile& file, const ShaderParser& parser);

// Lints of #include lines that the translator passes over although the header is there.
void LintIncludes(const LintedFile& file, const ShaderParser& parser, Findings& findings);

// The headers that are named between the marks for includes and not found, in all files of the program.
void LintMissingHeaders(const ShaderParser& parser, Findings& findings);

// Lints of the order of lines: directives and what follows them, code outside of blocks, barriers.
void LintStructure(const LintedFile& file, Findings& findings);

// Lints of the words that take parameters: POINT textures, matrices, functions.
void LintUses(const LintedFile& file, const ShaderParser& parser, Findings& findings);

// What the language of the records cannot do although its compiler here accepts it: too large groups, arrays that
// functions take, and the like.
void LintRecords(const ShaderRecords& records, const std::string& file, Findings& findings);

// Texture types that there are not, such as misspelt ones. Part of LintLines.
void LintTextureTypes(const LintedFile& file, Findings& findings);

// Vectors that are made of one number. Part of LintUses.
void LintSplats(const LintedFile& file, const ShaderParser& parser, Findings& findings);

// Calls of functions with a texture that neither the language nor the file or its headers have. Part of LintUses.
void LintTextureCalls(const LintedFile& file, const ShaderParser& parser, Findings& findings);

// Shifts by 32 bits and more. Part of LintUses.
void LintShifts(const LintedFile& file, const ShaderParser& parser, Findings& findings);

// Functions of 64-bit floats, which HLSL lacks. Part of LintUses.
void LintDoubles(const LintedFile& file, const ShaderParser& parser, Findings& findings);

// The texture in the arguments of a word such as SampleTexture(name, ...) or SampleTexture(UNIFORM(name), ...).
std::string_view GetTextureName(std::string_view arguments);

// Whether `name` is a type of numbers of up to 32 bits.
Bool IsNumberType(std::string_view name);

// Whether `name` is the constructor of a vector, and what to say of one with a single number as argument.
Bool IsVectorType(std::string_view name);
std::string MakeSplatText(std::string_view name, std::string_view argument);

}  // namespace ostra::plans

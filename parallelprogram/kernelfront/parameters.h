// The parameter declarations of kernel files, and the struct that they become.
#pragma once

#include "parallelprogram/kernelfront/edited_text.h"

namespace ostra::kernelfront {

struct Parameter {
  std::string type, name;
  bool isUsed = true;  // false: the file does not mention it after its declaration
};

// The name of the struct with the parameters.
inline constexpr std::string_view kParameterStruct = "OstraKernelParameters";

// Changes the block that begins with the token `first` ("#" of #define KERNELINPUTS, or "struct" of struct KernelInput)
// into that struct and adds what it declares to `parameters`. Returns the token after the block. Ends in a Failure for
// what is no declaration.
std::size_t RewriteDefineBlock(EditedText& text, std::size_t first, std::string_view templateArgument,
                               std::vector<Parameter>& parameters);
std::size_t RewriteStructBlock(EditedText& text, std::size_t first, std::string_view templateArgument,
                               std::vector<Parameter>& parameters);

// Ends in a Failure for a value or a buffer that is read by a name which no parameter has and nothing else can stand
// behind: the compiler would report it from the middle of macros.
void CheckParameterUses(const EditedText& text, const std::vector<Parameter>& parameters);

// The end of the struct, after its members: what names the parameters.
std::string MakeParameterRecords(const std::vector<Parameter>& parameters);

}  // namespace ostra::kernelfront

// The structs of a parsed file's headers as elements of buffers: the same bytes as on the CPU.
//
//   OSTRA_ASSIGN_OR_RETURN(const DataType particle, MakeStructElementType(parser, "Particle"));
//   GetStructMembers(particle)[0].name
#pragma once

#include <string_view>

#include "ostra/core/data_type.h"
#include "parallelprogram/shaderparser/shader_parser.h"

namespace ostra {

// The type of a struct by its name; no type when the headers declare no such struct, or one with an array whose length
// is not a number or a define of one. Errors: illegal argument, worded "file:line: error: ...", for a struct that has
// other bytes on the CPU or that not all lines are understood of; out of memory.
Result<DataType> MakeStructElementType(const ShaderParser& parser, std::string_view name);

// The type of a number, vector or matrix by the word that elements of buffers and members are declared with; no type
// for other words. Has words that values cannot have.
DataType FindElementWord(std::string_view word);

// Whether it is a number of 8 or 64 bits, or an integer of 16.
Bool HasOtherSize(DataType type);

}  // namespace ostra

// Function declarations: what a line such as "Float32 Blend(inout Vector32 c, const Float32* weights, Int32 n)" says.
//
//   OSTRA_ASSIGN_OR_RETURN(FunctionDeclaration blend, ParseFunctionDeclaration(line));
//   blend.parameters[1].type;          // "const device Float32*"
//
// function_definition.h writes the definition that a target language needs.
#pragma once

#include "ostra/core/base_array.h"
#include "ostra/core/string.h"

namespace ostra {

struct FunctionParameter {
  // Values of `direction`.
  static constexpr Int32 IN = 0;
  static constexpr Int32 OUT = 1;
  static constexpr Int32 INOUT = 2;
  // Values of `addressSpace`.
  static constexpr Int32 THREAD = 0;
  static constexpr Int32 CONSTANT = 1;
  // Values of `arraySize` besides a count.
  static constexpr Int32 NO_ARRAY = 0;
  static constexpr Int32 OPEN_ARRAY = -1;

  CString type;                 // as written; a pointer "T*" reads "device T*", a buffer has its element in angles
  CString name;                 // as written
  Int32 direction = IN;         // from the words in, out and inout
  Int32 addressSpace = THREAD;  // from the words __THREAD and __CONSTANT
  Int32 arraySize = NO_ARRAY;   // the number in brackets; OPEN_ARRAY for empty ones
};

struct FunctionDeclaration {
  CString returnType;
  CString name;
  BaseArray<FunctionParameter> parameters;  // in order
};

// Takes a declaration apart; what stands after its closing parenthesis is not looked at. The word const is kept of
// pointers only. Errors: illegal argument "Expected identifier, got @.", "Expected ], got @. Function: @" and
// "Expected comma, got @. Function: @", with the name of the symbol and the declaration; those of Lexer; out of memory.
// Thread-safe.
Result<FunctionDeclaration> ParseFunctionDeclaration(const CString& declaration);

}  // namespace ostra

// Kernels with one mistake each, and what is said about it wherever it is met.
#pragma once

#include <string>

#include "tests/support/excerpt.h"

namespace ostra::test {

struct KernelMistake {
  const char* name;
  const char* body;
  int line, column;  // of the file, from 1: where the caret stands
  const char* message;
  const char* before = "";                                  // lines in front of the parameters
  const char* parameter = "(const Block<Float32>) source";  // in the third line of the parameters
};

inline constexpr KernelMistake kKernelMistakes[] = {
    {"UnknownFunction", "\tfloat a = sqr(2.0);\n", 10, 12, "unknown name \"sqr\"; did you mean \"sqrt\"?"},
    {"UnknownVariable", "\tfloat value = 1.0;\n\tvalue = vlaue + 1.0;\n", 11, 10,
     "unknown name \"vlaue\"; did you mean \"value\"?"},
    {"UnknownType", "\tfloatt a = 1.0;\n", 10, 2, "unknown type \"floatt\"; did you mean \"float\"?"},
    {"UnknownTypeOfAParameter", "\tfloat a = UNIFORM_BUFFER(source)[0];\n", 3, 8,
     "unknown type \"Blok\"; did you mean \"Block\"?", "", "(const Blok<Float32>) source"},
    {"WrongType", "\tvec3 a = true;\n", 10, 11, "\"a\" is a vec3, this is a bool; write vec3(...)"},
    {"TooFewComponents", "\tvec3 a = vec3(1.0, 2.0);\n", 10, 11, "a vec3 has 3 components, here are 2"},
    {"TooFewArguments", "\tfloat a = mix(1.0, 2.0);\n", 10, 12, "mix does not take 2 arguments"},
    {"TooManyArguments", "\tfloat a = sqrt(1.0, 2.0);\n", 10, 12, "sqrt does not take 2 arguments"},
    {"ArgumentsOfAFunction", "\tfloat a = Half();\n", 15, 12, "\"Half\" takes 1 argument, not 0",
     "inline Float32 Half(Float32 x)\n{\n\treturn 0.5 * x;\n}\n\n"},
    {"MistakeInAFunction", "\tfloat a = Half(1.0);\n", 3, 15, "unknown name \"sqr\"; did you mean \"sqrt\"?",
     "inline Float32 Half(Float32 x)\n{\n\treturn 0.5 * sqr(x);\n}\n\n"},
    {"MissingSemicolon", "\tfloat a = 1.0\n\tfloat b = 2.0;\n", 10, 14, "\";\" is missing after this"},
    {"MissingParenthesis", "\tfloat a = sqrt((1.0 + 2.0);\n", 10, 27, "\")\" is missing here"},
    {"MissingBrace", "\tif (InGlobalInvocationID.x < 3u) {\n\t\tUNIFORM_BUFFER(target)[0] = 1.0;\n", 9, 1,
     "this brace is not closed before OSTRA_PARALLEL_KERNEL_END"},
    {"BraceTooMuch", "\t\tUNIFORM_BUFFER(target)[0] = 1.0;\n\t}\n", 11, 2,
     "this brace closes the kernel, which ends in line 13: is it one too many, or is an opening brace missing before "
     "it?"},
    {"BraceOnTheLineOfAFunction", "\tauto a = Half(1.0);\n", 1, 32,
     "the brace of a function belongs on a line of its own: here it is left out on the GPU",
     "inline Float32 Half(Float32 x) {\n\treturn 0.5 * x;\n}\n\n"},
    {"UndeclaredUniform", "\tfloat a = UNIFORM(fcator);\n", 10, 20,
     "there is no parameter \"fcator\"; did you mean \"factor\"?"},
    {"UndeclaredBuffer", "\tUNIFORM_BUFFER(taget)[0] = 1.0;\n", 10, 17,
     "there is no parameter \"taget\"; did you mean \"target\"?"},
    {"BareParameter", "\tfloat a = factor;\n", 10, 12, "the parameter \"factor\" is reached with UNIFORM(factor)"},
    {"AssignmentToAConstant", "\tconst int a = 1;\n\ta = 2;\n", 11, 2, "\"a\" is const"},
    {"AssignmentToAUniform", "\tUNIFORM(factor) = 1.0;\n", 10, 2, "UNIFORM(factor) cannot be changed in a kernel"},
    {"AssignmentToAConstBuffer", "\tUNIFORM_BUFFER(source)[0] = 1.0;\n", 10, 24,
     "the buffer \"source\" is declared const"},
    {"AssignmentToAnInput", "\tInGlobalInvocationID.x = 3u;\n", 10, 23, "InGlobalInvocationID cannot be changed"},
    {"SecondDeclaration", "\tint a = 1;\n\tint a = 2;\n", 11, 6, "\"a\" is declared a second time"},
    {"BreakWithoutALoop", "\tbreak;\n", 10, 2, "\"break\" outside of loops and switches"},
};

inline std::string MakeMistakenKernel(const KernelMistake& mistake) {
  return std::string(mistake.before) + "#define KERNELINPUTS \\\n(Float32) factor, \\\n" + mistake.parameter +
         ", \\\n(Block<Float32>) target\n\nGROUPSIZE(64, 1, 1)\n\nOSTRA_PARALLEL_KERNEL(Tested, KERNELINPUTS)\n{\n" +
         mistake.body + "}\nOSTRA_PARALLEL_KERNEL_END\n";
}

// How the message about the kernel in the file `path` begins: place, text, the line and a caret below. Notes may
// follow.
inline std::string MakeMistakeMessage(const KernelMistake& mistake, const std::string& path) {
  return path + ":" + std::to_string(mistake.line) + ":" + std::to_string(mistake.column) +
         ": error: " + mistake.message + MakeExcerpt(MakeMistakenKernel(mistake), mistake.line, mistake.column);
}

}  // namespace ostra::test

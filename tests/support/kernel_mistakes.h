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
    {"PrintWithoutAText", "\tPRINT(1.0);\n", 10, 8, "PRINT begins with a text in quotes: PRINT(\"x = %v\", x)"},
    {"PrintWithTooFewValues", "\tPRINT(\"%v %v\", 1.0);\n", 10, 2,
     "the text of PRINT shows 2 values (%v), and there is 1 value"},
    {"AssertOfAVector", "\tASSERT(vec2(1.0, 2.0));\n", 10, 9, "a condition must be a bool or a number, not a vec2"},
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
    {"UnknownComponent", "\tvec2 v = vec2(1.0, 2.0);\n\tfloat a = v.z;\n", 11, 14, "a vec2 has no component \"z\""},
    {"UnknownSwizzle", "\tvec3 v = vec3(1.0, 2.0, 3.0);\n\tvec2 a = v.xw;\n", 11, 13, "a vec3 has no component \"xw\""},
    {"MixedSwizzle", "\tvec4 v = vec4(1.0, 2.0, 3.0, 4.0);\n\tvec2 a = v.xg;\n", 11, 13,
     "a vec4 has no component \"xg\""},
    {"SwizzleWrittenTwice", "\tvec3 v = vec3(1.0, 2.0, 3.0);\n\tv.xx = vec2(1.0, 2.0);\n", 11, 4,
     "\".xx\" names a component twice: it cannot be changed"},
    {"SwizzleChangedInNoOrder", "\tvec2 v = vec2(1.0, 2.0);\n\tfloat a = (v.yx = vec2(3.0, 4.0)).x + v.x;\n", 11, 38,
     "\"v\" is changed in one part of this expression and named in another, in no certain order; write the change as a "
     "statement of its own"},
    {"ComponentOfANumber", "\tfloat f = 1.0;\n\tfloat a = f.xy.x;\n", 11, 14, "a float has no components"},
    {"TooManyComponents", "\tvec2 a = vec2(1.0, 2.0, 3.0);\n", 10, 11, "a vec2 has 2 components, here are 3"},
    {"VectorsOfTwoLengths", "\tvec3 a = vec3(1.0, 2.0, 3.0) + vec2(1.0, 2.0);\n", 10, 31,
     "there is no \"+\" for vec3 and vec2"},
    {"DotOfTwoLengths", "\tfloat a = dot(vec2(1.0, 2.0), vec3(1.0, 2.0, 3.0));\n", 10, 12,
     "there is no dot of vec2, vec3; it takes (vec2, vec2), (vec3, vec3), (vec4, vec4)"},
    {"CrossOfTwo", "\tvec3 a = cross(vec2(1.0, 2.0), vec2(1.0, 2.0));\n", 10, 11,
     "there is no cross of vec2, vec2; it takes (vec3, vec3)"},
    {"VectorAsCondition", "\tif (vec2(1.0, 2.0)) return;\n", 10, 6,
     "a condition must be a bool or a number, not a vec2"},
    {"VectorCompared", "\tif (vec2(1.0, 2.0) < vec2(2.0, 1.0)) return;\n", 10, 21,
     "there is no \"<\" for vec2 and vec2: vectors are compared component by component, with lessThan(a, b) and its "
     "relatives"},
    {"MatrixTimesTooShort", "\tmat3 m = mat3(1.0);\n\tvec2 a = m * vec2(1.0, 2.0);\n", 11, 13,
     "there is no \"*\" for mat3 and vec2"},
    {"MatrixPlusVector", "\tmat3 m = mat3(1.0);\n\tmat3 n = m + vec3(1.0, 2.0, 3.0);\n", 11, 13,
     "there is no \"+\" for mat3 and vec3"},
    {"MatrixOfTooFew", "\tmat3 m = mat3(1.0, 2.0, 3.0);\n", 10, 11,
     "a mat3 is made of 3 columns or 9 components, here are 3"},
    {"NumberFromAVector", "\tfloat a = vec2(1.0, 2.0);\n", 10, 12, "\"a\" is a float, this is a vec2"},
    {"NumberFromAMatrix", "\tfloat a = mat3(1.0);\n", 10, 12, "\"a\" is a float, this is a mat3"},
    {"RemainderOfFloats", "\tfloat a = 3.5 % 2.0;\n", 10, 16,
     "\"%\" needs whole numbers, not float and float; mod(x, y) is that of floats"},
    {"ShiftOfAFloat", "\tfloat a = 1.5 << 2;\n", 10, 16, "\"<<\" needs whole numbers, not float and int"},
    {"AndOfFloats", "\tint a = 1.5 & 2;\n", 10, 14, "\"&\" needs whole numbers, not float and int"},
    {"ComplementOfAFloat", "\tfloat a = ~1.5;\n", 10, 12, "\"~\" needs a whole number, not a float"},
    {"NotOfAVector", "\tbool a = !vec2(1.0, 2.0);\n", 10, 12, "\"!\" needs a bool or a number, not a vec2"},
    {"IndexOfANumber", "\tfloat f = 1.0;\n\tfloat a = f[0];\n", 11, 13, "a float has no elements"},
    {"IndexIsAVector", "\tfloat a = UNIFORM_BUFFER(source)[vec2(1.0, 2.0)];\n", 10, 35,
     "an index must be a whole number, not a vec2"},
    {"TooManyInitialValues", "\tfloat a[2] = {1.0, 2.0, 3.0};\n", 10, 26,
     "more values than the 2 elements of the array"},
    {"CallOfAVariable", "\tfloat f = 1.0;\n\tfloat a = f(2.0);\n", 11, 12,
     "\"f\" is a variable here and cannot be called"},
    {"ArgumentOfAnotherType", "\tfloat a = Half(vec2(1.0, 2.0));\n", 15, 17,
     "the argument \"x\" is a float, this is a vec2", "inline Float32 Half(Float32 x)\n{\n\treturn 0.5 * x;\n}\n\n"},
    {"InoutOfAValue", "\tSet(1.0);\n", 15, 6, "the argument \"x\" needs a variable, not a value",
     "inline void Set(INOUT Float32 x)\n{\n\tx = 1.0;\n}\n\n"},
    {"InoutOfAConstant", "\tconst float a = 1.0;\n\tSet(a);\n", 16, 6, "\"a\" is const",
     "inline void Set(INOUT Float32 x)\n{\n\tx = 1.0;\n}\n\n"},
    {"ResultOfVoid", "\tfloat a = Set(1.0);\n", 15, 12, "\"a\" is a float, this is a void",
     "inline void Set(Float32 x)\n{\n\treturn;\n}\n\n"},
    {"ValueReturnedFromVoid", "\tSet(1.0);\n", 3, 9, "a void function returns no value",
     "inline void Set(Float32 x)\n{\n\treturn x;\n}\n\n"},
    {"NothingReturned", "\tfloat a = Half(1.0);\n", 3, 2, "this function must return a float",
     "inline Float32 Half(Float32 x)\n{\n\treturn;\n}\n\n"},
    {"ValueReturnedFromAKernel", "\treturn 1.0;\n", 10, 9, "a kernel returns no value"},
    {"SecondParameterOfAFunction", "\tfloat a = Half(1.0, 2.0);\n", 1, 40, "\"x\" is declared a second time",
     "inline Float32 Half(Float32 x, Float32 x)\n{\n\treturn 0.5 * x;\n}\n\n"},
    {"ContinueWithoutALoop", "\tcontinue;\n", 10, 2, "\"continue\" outside of loops"},
    {"ContinueInASwitch", "\tswitch (1)\n\t{\n\t\tcase 1:\n\t\t\tcontinue;\n\t}\n", 13, 4,
     "\"continue\" outside of loops"},
    {"CaseOutsideOfASwitch", "\tcase 1:\n\treturn;\n", 10, 2, "a label outside of a switch"},
    {"SecondCase", "\tint k = 1;\n\tswitch (k)\n\t{\n\t\tcase 1:\n\t\t\tbreak;\n\t\tcase 1:\n\t\t\tbreak;\n\t}\n", 15,
     3, "a second \"case 1\" in one switch"},
    {"SecondDefault", "\tint k = 1;\n\tswitch (k)\n\t{\n\t\tdefault:\n\t\t\tbreak;\n\t\tdefault:\n\t\t\tbreak;\n\t}\n",
     15, 3, "a second \"default\" in one switch"},
    {"CaseOfAVariable", "\tint k = 1;\n\tint n = 2;\n\tswitch (k)\n\t{\n\t\tcase n:\n\t\t\tbreak;\n\t}\n", 14, 8,
     "a case needs a number that is known, and \"n\" may change"},
    {"SwitchOfAFloat", "\tswitch (1.5)\n\t{\n\t\tdefault:\n\t\t\tbreak;\n\t}\n", 10, 10,
     "a switch needs a whole number, not a float"},
    {"MissingBracket", "\tfloat a = UNIFORM_BUFFER(source)[0;\n", 10, 35, "\"]\" is missing here"},
    {"MissingOperand", "\tfloat a = 1.0 + ;\n", 10, 18, "an expression is missing before this \";\""},
    {"MissingCondition", "\tif () return;\n", 10, 6, "an expression is missing before this \")\""},
    {"ElseWithoutIf", "\telse return;\n", 10, 2, "this \"else\" follows no \"if\""},
    {"BufferWithoutAnIndex", "\tfloat a = UNIFORM_BUFFER(source);\n", 10, 12,
     "\"a\" is a float, this is a const Block<float>"},
    {"UniformAsABuffer", "\tfloat a = UNIFORM_BUFFER(factor)[0];\n", 10, 12, "\"factor\" is no buffer but a float"},
    {"AtomicOfAFloat", "\tfloat old = 0.0;\n\tAtomicAdd(UNIFORM_BUFFER(target)[0], 1.0, old);\n", 11, 34,
     "atomic operations are of uint and int, this is a float"},
    {"TextureThatIsNone", "\tfloat a = SampleTexture(source, vec2(0.5, 0.5));\n", 10, 26,
     "\"source\" is no texture but a const Block<float>"},
    {"AssignmentToANumber", "\t1.0 = 2.0;\n", 10, 2, "an assignment needs a variable, not a value"},
    {"AssignmentToASum", "\tfloat a = 1.0;\n\ta + 1.0 = 2.0;\n", 11, 4, "an assignment needs a variable, not a value"},
    {"IncrementOfAConstant", "\tconst int a = 1;\n\ta++;\n", 11, 2, "\"a\" is const"},
    {"SecondVariableOfALoop", "\tfor (int i = 0; i < 3; ++i)\n\t{\n\t\tfloat i;\n\t\tint i;\n\t}\n", 13, 7,
     "\"i\" is declared a second time"},
    {"ParenthesisTooMuch", "\tfloat a = 1.0);\n", 10, 15, "there is no \"(\" to which this \")\" belongs"},
    {"LoopWithoutACondition", "\twhile () return;\n", 10, 9, "an expression is missing before this \")\""},
    {"UnknownVectorFunction", "\tvec3 v = normalise(vec3(1.0, 2.0, 3.0));\n", 10, 11,
     "unknown name \"normalise\"; did you mean \"normalize\"?"},
    {"AssignmentToACall", "\tLinearInvocation() = 1u;\n", 10, 2, "an assignment needs a variable, not a value"},
    {"ConditionAlternativesOfTwoTypes",
     "\tmat3 m = mat3(1.0);\n\tvec3 a = UNIFORM(factor) > 1.0 ? m : vec3(1.0, 2.0, 3.0);\n", 11, 33,
     "the values of \"?\" have different types: mat3 and vec3"},
    {"IncrementOfAVector", "\tconst vec2 a = vec2(1.0, 2.0);\n\ta.x += 1.0;\n", 11, 4, "\"a\" is const"},
    {"ForWithoutParenthesis", "\tfor int i = 0; i < 3; ++i) return;\n", 10, 6,
     "\"for\" needs its three parts in parentheses"},
    {"TransposeOfAVector", "\tvec3 a = transpose(vec3(1.0, 2.0, 3.0));\n", 10, 11,
     "there is no transpose of vec3; it takes (mat3), (mat4), (mat2)"},
    {"ReflectOfNumbers", "\tvec3 a = reflect(1.0, 2.0);\n", 10, 11,
     "there is no reflect of float, float; it takes (vec2, vec2), (vec3, vec3), (vec4, vec4)"},
    {"CutVector", "\tvec4 v = vec4(1.0, 2.0, 3.0, 4.0);\n\tvec2 a = v.xyz;\n", 11, 13,
     "\"a\" is a vec2, this is a vec3; write .xy"},
    {"LengthOfAnArray", "\tint n = int(UNIFORM(factor));\n\tfloat a[n];\n\ta[0] = 1.0;\n", 11, 10,
     "the length of an array is a constant: this is known only when the kernel runs"},
    {"UnknownStruct", "\tMaterial m;\n", 10, 2, "unknown type \"Material\""},
    {"UnknownName", "\tfloat a = somethingElse;\n", 10, 12, "unknown name \"somethingElse\""},
    {"UseBeforeDeclaration", "\tgreen = 1.0;\n\tfloat green;\n", 10, 2, "\"green\" is used before it is declared"},
    {"SecondFunction", "\tfloat a = Half(1.0);\n", 6, 16, "there is a function \"Half\" of these arguments already",
     "inline Float32 Half(Float32 x)\n{\n\treturn 0.5 * x;\n}\n\ninline Float32 Half(Float32 y)\n{\n\treturn "
     "y;\n}\n\n"},
    {"UniformOfABuffer", "\tfloat a = UNIFORM(source)[0];\n", 10, 12,
     "\"source\" is a buffer, reached with UNIFORM_BUFFER(source)"},
    {"StepOfABool", "\tbool b = true;\n\tb++;\n", 11, 3, "there is no \"++\" for a bool"},
    {"WordOfAGroupBelowACondition",
     "\tfloat a = 0.0;\n\tif (InLocalInvocationID.x > 3u)\n\t{\n\t\ta = groupReduceAdd(1.0);\n\t}\n", 11, 28,
     "all invocations of a group must come to a groupSharedBarrier together, but this condition differs between them"},
    {"WordOfAGroupInACondition", "\tif (groupAny(UNIFORM(factor) > 1.0)) return;\n", 10, 6,
     "groupAny needs a statement of its own here: assign its value to a variable before"},
    {"ArgumentThatIsSet", "\tfloat a = modf(1.5, 2.0);\n", 10, 22,
     "an argument that modf sets needs a variable, not a value"},
    {"LessThanOfTwoLengths", "\tbvec2 a = lessThan(vec2(1.0, 2.0), vec3(1.0, 2.0, 3.0));\n", 10, 12,
     "there is no lessThan of vec2, vec3; it takes (vec2, vec2), (vec3, vec3), (vec4, vec4), (int2, int2), (int3, "
     "int3), (int4, int4), ..."},
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

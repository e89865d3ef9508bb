// Declarations of inline functions, taken apart.
#include "parallelprogram/shaderparser/function_declaration.h"

#include <string>

#include "tests/support/fault_injection.h"

namespace ostra {
namespace {

Result<FunctionDeclaration> Parse(std::string_view declaration) {
  const auto text = CString::Create(declaration);
  return ParseFunctionDeclaration(*text);
}

// "direction addressSpace arraySize type name" of the only parameter.
std::string ParseParameter(std::string_view parameter) {
  const auto function = Parse("void f(" + std::string(parameter) + ")");
  if (!function) return std::string("<").append(function.GetError().GetMessage().GetView()).append(">");
  if (function->parameters.GetCount() != 1) return "<not one parameter>";
  const FunctionParameter& p = function->parameters[0];
  return std::to_string(p.direction) + " " + std::to_string(p.addressSpace) + " " + std::to_string(p.arraySize) + " " +
         p.type.GetCString() + " " + p.name.GetCString();
}

TEST(FunctionDeclarationTest, NameAndReturnTypeStandInFront) {
  const auto function = Parse("Float32 Blend(Float32 a)");
  ASSERT_THAT(function, IsOk());
  EXPECT_EQ(function->returnType, CString("Float32"));
  EXPECT_EQ(function->name, CString("Blend"));
}

TEST(FunctionDeclarationTest, AFunctionMayHaveNoParameters) {
  for (const char* declaration : {"void Touch()", "void Touch ( ) ", "void\tTouch(\n)"}) {
    const auto function = Parse(declaration);
    ASSERT_THAT(function, IsOk()) << declaration;
    EXPECT_EQ(function->returnType, CString("void"));
    EXPECT_EQ(function->name, CString("Touch"));
    EXPECT_TRUE(function->parameters.IsEmpty());
  }
}

TEST(FunctionDeclarationTest, ParametersComeInTheirOrder) {
  const auto function = Parse("Float32 Blend(inout Vector32 c, const Float32* weights, Int32 n)");
  ASSERT_THAT(function, IsOk());
  ASSERT_EQ(function->parameters.GetCount(), 3);
  EXPECT_EQ(function->parameters[0].name, CString("c"));
  EXPECT_EQ(function->parameters[0].type, CString("Vector32"));
  EXPECT_EQ(function->parameters[0].direction, FunctionParameter::INOUT);
  EXPECT_EQ(function->parameters[1].name, CString("weights"));
  EXPECT_EQ(function->parameters[1].type, CString("const device Float32*"));
  EXPECT_EQ(function->parameters[1].direction, FunctionParameter::IN);
  EXPECT_EQ(function->parameters[2].name, CString("n"));
  EXPECT_EQ(function->parameters[2].type, CString("Int32"));
}

TEST(FunctionDeclarationTest, APlainParameterHasTheDefaults) { EXPECT_EQ(ParseParameter("Int32 n"), "0 0 0 Int32 n"); }

TEST(FunctionDeclarationTest, WordsBeforeTheTypeSetDirectionAndAddressSpace) {
  EXPECT_EQ(ParseParameter("in T x"), "0 0 0 T x");
  EXPECT_EQ(ParseParameter("out T x"), "1 0 0 T x");
  EXPECT_EQ(ParseParameter("inout T x"), "2 0 0 T x");
  EXPECT_EQ(ParseParameter("__THREAD T x"), "0 0 0 T x");
  EXPECT_EQ(ParseParameter("__CONSTANT T x"), "0 1 0 T x");
  EXPECT_EQ(ParseParameter("const T x"), "0 0 0 T x");
}

TEST(FunctionDeclarationTest, SuchWordsComeInAnyOrderAndTheLastOneCounts) {
  EXPECT_EQ(ParseParameter("__CONSTANT const inout T x"), "2 1 0 T x");
  EXPECT_EQ(ParseParameter("inout const __CONSTANT T x"), "2 1 0 T x");
  EXPECT_EQ(ParseParameter("inout out in T x"), "0 0 0 T x");
  EXPECT_EQ(ParseParameter("__CONSTANT __THREAD T x"), "0 0 0 T x");
}

TEST(FunctionDeclarationTest, SuchWordsHoldForTheirParameterOnly) {
  const auto function = Parse("void f(__CONSTANT const inout A a, B* b)");
  ASSERT_THAT(function, IsOk());
  EXPECT_EQ(function->parameters[1].type, CString("device B*"));
  EXPECT_EQ(function->parameters[1].direction, FunctionParameter::IN);
  EXPECT_EQ(function->parameters[1].addressSpace, FunctionParameter::THREAD);
}

TEST(FunctionDeclarationTest, PointersPointToDeviceMemory) {
  EXPECT_EQ(ParseParameter("Float32* w"), "0 0 0 device Float32* w");
  EXPECT_EQ(ParseParameter("Float32 *w"), "0 0 0 device Float32* w");
  EXPECT_EQ(ParseParameter("const Float32* w"), "0 0 0 const device Float32* w");
  EXPECT_EQ(ParseParameter("const inout Float32* w[3]"), "2 0 3 const device Float32* w");
  EXPECT_EQ(ParseParameter("Float32** w"), "<Expected identifier, got CHARACTER.>");
  // What the rule for blocks makes of "const Block<Float32>& v" for Metal.
  EXPECT_EQ(ParseParameter("const Float32*& v"), "<Expected identifier, got CHARACTER.>");
}

TEST(FunctionDeclarationTest, BuffersKeepTheirElementType) {
  EXPECT_EQ(ParseParameter("RWStructuredBuffer<Float32> v"), "0 0 0 RWStructuredBuffer<Float32> v");
  EXPECT_EQ(ParseParameter("StructuredBuffer < Float32 > v"), "0 0 0 StructuredBuffer<Float32> v");
  EXPECT_EQ(ParseParameter("const inout StructuredBuffer<Int32> v[]"), "2 0 -1 StructuredBuffer<Int32> v");
  // The angles are skipped whatever they are.
  EXPECT_EQ(ParseParameter("StructuredBuffer(Int32) v"), "0 0 0 StructuredBuffer<Int32> v");
}

TEST(FunctionDeclarationTest, ABufferWithMoreThanAWordInAnglesIsRefused) {
  EXPECT_EQ(ParseParameter("StructuredBuffer<const Int32> v"), "<Expected identifier, got CHARACTER.>");
  EXPECT_EQ(ParseParameter("StructuredBuffer<4> v"), "<Expected identifier, got NUMBER.>");
  EXPECT_EQ(ParseParameter("StructuredBuffer<Int32>& v"), "<Expected identifier, got CHARACTER.>");
}

TEST(FunctionDeclarationTest, BracketsGiveTheArraySize) {
  EXPECT_EQ(ParseParameter("T x[]"), "0 0 -1 T x");
  EXPECT_EQ(ParseParameter("T x[4]"), "0 0 4 T x");
  EXPECT_EQ(ParseParameter("T x [ 2147483647 ]"), "0 0 2147483647 T x");
  EXPECT_EQ(ParseParameter("T x[0]"), "0 0 0 T x");
}

TEST(FunctionDeclarationTest, AConstantOpenArrayKeepsBoth) {
  const auto function = Parse("Float32 Sum(__CONSTANT Float32 values[], Int32 n)");
  ASSERT_THAT(function, IsOk());
  ASSERT_EQ(function->parameters.GetCount(), 2);
  EXPECT_EQ(function->parameters[0].addressSpace, FunctionParameter::CONSTANT);
  EXPECT_EQ(function->parameters[0].arraySize, FunctionParameter::OPEN_ARRAY);
  EXPECT_EQ(function->parameters[1].addressSpace, FunctionParameter::THREAD);
  EXPECT_EQ(function->parameters[1].arraySize, FunctionParameter::NO_ARRAY);
}

struct ErrorCase {
  const char* declaration;
  const char* message;
};

TEST(FunctionDeclarationTest, AMissingCommaIsNamedWithTheDeclaration) {
  constexpr ErrorCase kCases[] = {
      {"Float32 Pick(Float32 a Float32 b)",
       "Expected comma, got IDENTIFIER. Function: Float32 Pick(Float32 a Float32 b)"},
      {"void f(T x = 3)", "Expected comma, got CHARACTER. Function: void f(T x = 3)"},
      {"void f(T x[1][2])", "Expected comma, got SQUAREBRACKET_OPEN. Function: void f(T x[1][2])"},
      {"void f(T x(", "Expected comma, got PARENTHESE_OPEN. Function: void f(T x("},
      {"void f(T x 5", "Expected comma, got NUMBER. Function: void f(T x 5"},
  };
  for (const ErrorCase& entry : kCases)
    EXPECT_THAT(Parse(entry.declaration), IsErrorWith(kIllegalArgumentError, entry.message)) << entry.declaration;
}

TEST(FunctionDeclarationTest, AnythingButANumberInBracketsIsNamedWithTheDeclaration) {
  constexpr ErrorCase kCases[] = {
      {"Float32 At(Float32 v[4)", "Expected ], got PARENTHESE_CLOSE. Function: Float32 At(Float32 v[4)"},
      {"Float32 At(Float32 v[N])", "Expected ], got IDENTIFIER. Function: Float32 At(Float32 v[N])"},
      {"Float32 At(Float32 v[-1])", "Expected ], got CHARACTER. Function: Float32 At(Float32 v[-1])"},
      {"Float32 At(Float32 v[4u])", "Expected ], got IDENTIFIER. Function: Float32 At(Float32 v[4u])"},
      {"Float32 At(Float32 v[2.5])", "Expected ], got CHARACTER. Function: Float32 At(Float32 v[2.5])"},
      {"Float32 At(Float32 v[2 3])", "Expected ], got NUMBER. Function: Float32 At(Float32 v[2 3])"},
      {"Float32 At(Float32 v[,])", "Expected ], got COMMA. Function: Float32 At(Float32 v[,])"},
  };
  for (const ErrorCase& entry : kCases)
    EXPECT_THAT(Parse(entry.declaration), IsErrorWith(kIllegalArgumentError, entry.message)) << entry.declaration;
}

TEST(FunctionDeclarationTest, AWordThatIsMissingIsNamed) {
  constexpr ErrorCase kCases[] = {
      {"4 f()", "Expected identifier, got NUMBER."},
      {"const* f()", "Expected identifier, got CHARACTER."},
      {"void (", "Expected identifier, got PARENTHESE_OPEN."},
      {"void f(void)", "Expected identifier, got PARENTHESE_CLOSE."},
      {"void f(,)", "Expected identifier, got COMMA."},
      {"void f(T x,)", "Expected identifier, got PARENTHESE_CLOSE."},
      {"void f(const)", "Expected identifier, got PARENTHESE_CLOSE."},
      {"void f(inout 3 x)", "Expected identifier, got NUMBER."},
      {"void f(T)", "Expected identifier, got PARENTHESE_CLOSE."},
      {"void f(T& x)", "Expected identifier, got CHARACTER."},
      {"void f(T[3] x)", "Expected identifier, got SQUAREBRACKET_OPEN."},
      {"void f([3] x)", "Expected identifier, got SQUAREBRACKET_OPEN."},
      {"void f(T ]x)", "Expected identifier, got SQUAREBRACKET_CLOSE."},
  };
  for (const ErrorCase& entry : kCases)
    EXPECT_THAT(Parse(entry.declaration), IsErrorWith(kIllegalArgumentError, entry.message)) << entry.declaration;
}

TEST(FunctionDeclarationTest, TheLexersErrorsPassThrough) {
  EXPECT_THAT(Parse("void f[3]"),
              IsErrorWith(kIllegalArgumentError,
                          "Expected PARENTHESE_OPEN, got SQUAREBRACKET_OPEN at position 6 of \"void f[3]\"."));
  EXPECT_THAT(Parse("void f(T x[99999999999])"),
              IsErrorWith(kIllegalArgumentError, "The number 99999999999 is larger than 2147483647."));
}

TEST(FunctionDeclarationTest, ADeclarationThatEndsAnywhereIsAnError) {
  const std::string declaration = "Float32 f(const StructuredBuffer<T> a, inout T* b[3], __CONSTANT U c[])";
  ASSERT_THAT(Parse(declaration), IsOk());
  for (std::size_t size = 0; size < declaration.size(); ++size) {
    const std::string start = declaration.substr(0, size);
    EXPECT_THAT(Parse(start),
                IsErrorWith(kIllegalArgumentError, "The text ends where a symbol is expected: \"" + start + "\"."));
  }
}

TEST(FunctionDeclarationTest, WhatComesAfterTheParameterListIsNotLookedAt) {
  const auto function = Parse("void f(T x) const = 0; [[ ((");
  ASSERT_THAT(function, IsOk());
  EXPECT_EQ(function->parameters.GetCount(), 1);
}

TEST(FunctionDeclarationTest, GenericParametersPassAsWritten) {
  EXPECT_EQ(ParseParameter("genType x"), "0 0 0 genType x");
}

TEST(FunctionDeclarationTest, LongListsAreRead) {
  std::string declaration = "void f(";
  for (int i = 0; i < 500; ++i) declaration += (i ? ", T x" : "T x") + std::to_string(i);
  const auto function = Parse(declaration + ")");
  ASSERT_THAT(function, IsOk());
  ASSERT_EQ(function->parameters.GetCount(), 500);
  EXPECT_EQ(function->parameters[499].name, CString("x499"));
}

TEST(FunctionDeclarationTest, EveryAllocationMayFail) {
  const CString declaration("Float32 f(const StructuredBuffer<T> a, inout T* b[3], __CONSTANT U c[])");
  EXPECT_GE(ExpectEveryAllocationFailureIsReported([&declaration]() -> Result<void> {
              OSTRA_ASSIGN_OR_RETURN(const FunctionDeclaration function, ParseFunctionDeclaration(declaration));
              EXPECT_EQ(function.parameters.GetCount(), 3);
              return OK;
            }),
            10);
}

}  // namespace
}  // namespace ostra

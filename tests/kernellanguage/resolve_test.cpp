// Names, types and conversions.
#include "parallelprogram/kernellanguage/resolve.h"

#include <gtest/gtest.h>

#include "kernel_text.h"
#include "parallelprogram/kernellanguage/join.h"

namespace ostra::kernellanguage {
namespace {

TEST(ResolveTest, LiteralsHaveTheTypesOfTheLanguage) {
  EXPECT_EQ(PrintResult("float r = 0.5;"), "0.5:float");
  EXPECT_EQ(PrintResult("float r = 1e3f;"), "1e3f:float");
  EXPECT_EQ(PrintResult("int r = 0x10;"), "0x10:int");
  EXPECT_EQ(PrintResult("uint r = 0xffffffff;"), "0xffffffff:uint");
  EXPECT_EQ(PrintResult("uint r = 3u;"), "3u:uint");
  EXPECT_EQ(PrintResult("Int64 r = 5000000000;"), "5000000000^:Int64");
  EXPECT_EQ(PrintResult("bool r = true;"), "true:bool");
  EXPECT_EQ(PrintResult("double r = 0.1;"), "0.1:float>double");
}

TEST(ResolveTest, ScalarsAreConvertedAsInCpp) {
  EXPECT_EQ(PrintResult("float r = 1 + 2.0;"), "(+ 1:int>float 2.0:float):float");
  EXPECT_EQ(PrintResult("uint r = 1 + 2u;"), "(+ 1:int>uint 2u:uint):uint");
  EXPECT_EQ(PrintResult("int r = 2.7;"), "2.7^:float>int");
  EXPECT_EQ(PrintResult("int r = true + true;"), "(+ true^:bool>int true^:bool>int):int");
  EXPECT_EQ(PrintResult("Int16 a = Int16(3); int r = a << 2u;"), "(<< a:Int16>int 2u:uint):int");
  EXPECT_EQ(PrintResult("bool r = 3 && 0.5;"), "(&& 3^:int>bool 0.5^:float>bool):bool");
  EXPECT_EQ(PrintResult("bool r = 1 < 2u;"), "(< 1:int>uint 2u:uint):bool");
  EXPECT_EQ(PrintResult("Int64 r = Int64(1) * 3u;"), "(* (make Int64 1:int>Int64):Int64 3u^:uint>Int64):Int64");
  EXPECT_EQ(PrintResult("double d = 1.0; double r = d * 3;"), "(* d:double 3:int>double):double");
  EXPECT_EQ(PrintResult("half h = half(0.5); float r = h * 2;"), "(* h^:half>float 2:int>float):float");
  EXPECT_EQ(PrintResult("float r = true ? 1 : 2.0;"), "(? true:bool 1:int>float 2.0:float):float");
}

TEST(ResolveTest, VectorsComputeWithVectorsAndTheirOwnScalar) {
  EXPECT_EQ(PrintResult("vec3 r = UNIFORM(v) * 2.0;"), "(* uniform.v:vec3 2.0:float):vec3");
  EXPECT_EQ(PrintResult("int2 a = int2(1, 2); vec2 r = a;"), "a:int2>vec2");
  EXPECT_EQ(PrintResult("vec3 r = vec3(1, 2u, 3.0);"), "(make vec3 1:int>float 2u:uint>float 3.0:float):vec3");
  EXPECT_EQ(PrintResult("vec4 r = vec4(vec2(1.0), int2(1, 2));"),
            "(make vec4 (make vec2 1.0:float)^:vec2 (make int2 1:int 2:int):int2>vec2):vec4");
  EXPECT_EQ(PrintResult("float r = UNIFORM(v).z;"), "uniform.v:vec3.z:float");
  EXPECT_EQ(PrintResult("vec3 r = UNIFORM(m).v1;"), "uniform.m:mat3.v1:vec3");
  EXPECT_EQ(PrintResult("float r = UNIFORM(v)[1u];"), "(at uniform.v:vec3 1u:uint>int):float");
}

TEST(ResolveTest, FunctionsOfTheVocabularyAreChosenByTheirArguments) {
  EXPECT_EQ(PrintResult("float r = max(1.0, 2.0);"), "(call max 1.0:float 2.0:float):float");
  EXPECT_EQ(PrintResult("vec3 r = max(UNIFORM(v), 2.0);"), "(call max uniform.v:vec3 2.0:float):vec3");
  EXPECT_EQ(PrintResult("float r = sqrt(4);"), "(call sqrt 4:int>float):float");
  EXPECT_EQ(PrintResult("float r = pow(2, 3);"), "(call pow 2:int>float 3:int>float):float");
  EXPECT_EQ(PrintResult("vec3 r = mul(UNIFORM(m), UNIFORM(v));"), "(call mul uniform.m:mat3 uniform.v:vec3):vec3");
  EXPECT_EQ(PrintResult("vec4 r = SampleTexture(image, vec2(0.5, 0.5));"),
            "(call SampleTexture image:TextureSampler_2D_RGBA_F32_LINEAR (make vec2 0.5:float 0.5:float):vec2):vec4");
  EXPECT_EQ(PrintResult("int2 r = TextureSize(image);"),
            "(call TextureSize image:TextureSampler_2D_RGBA_F32_LINEAR):int2");
}

TEST(ResolveTest, FunctionsOfTheFileHideThoseOfTheVocabulary) {
  const std::string before = "inline int min(int a)\n{\nreturn a;\n}\n";
  EXPECT_EQ(PrintResult("int r = min(3);", before), "(call min 3:int):int");
  EXPECT_EQ(PrintResult("float r = min(1.0, 2.0);", before), "error: \"min\" takes 1 argument, not 2");
}

TEST(ResolveTest, OverloadsOfTheFileAreChosenByTheirArguments) {
  const std::string before = "inline float F(float a)\n{\nreturn a;\n}\ninline vec3 F(vec3 a)\n{\nreturn a;\n}\n";
  EXPECT_EQ(PrintResult("vec3 r = F(UNIFORM(v));", before), "(call F uniform.v:vec3):vec3");
  EXPECT_EQ(PrintResult("float r = F(1);", before), "(call F 1:int>float):float");
}

TEST(ResolveTest, IntegersOf64BitsHaveFunctionsOfTheirOwn) {
  EXPECT_EQ(PrintResult("Int64 d = 1; Int64 r = min(d, 3);"), "(call min d:Int64 3^:int>Int64)^:Int64");
  EXPECT_EQ(PrintResult("UInt64 d = 1; UInt64 r = clamp(d, d, 7u);"),
            "(call clamp d:UInt64 d:UInt64 7u^:uint>UInt64)^:UInt64");
  EXPECT_EQ(PrintResult("Int64 d = 1; float r = max(d, 0.5);"), "(call max d^:Int64>float 0.5:float):float");
  EXPECT_EQ(FindErrors("UInt64 d = 1; UInt64 a = abs(d);"), "1:26: there is no abs of UInt64; it takes (Int64)");
  EXPECT_EQ(FindErrors("Vec2<Int64> d; Vec2<Int64> a = min(d, d);"),
            "1:32: there is no min of Vec2<Int64>, Vec2<Int64>; it takes (Int64, Int64), (UInt64, UInt64)");
}

TEST(ResolveTest, OneDoubleAmongTheArgumentsMakesAllOfThemDoubles) {
  EXPECT_EQ(PrintResult("double d = 1.0; double r = sqrt(d);"), "(call sqrt d:double):double");
  EXPECT_EQ(PrintResult("double d = 1.0; double r = clamp(d, 1, 2.5f);"),
            "(call clamp d:double 1:int>double 2.5f:float>double):double");
  EXPECT_EQ(PrintResult("double d = 1.0; bool r = isnan(d);"), "(call isnan d:double):bool");
}

TEST(ResolveTest, StructsAndArraysHaveMembersAndElements) {
  const std::string before = "struct P\n{\nvec3 at; float w[2];\n};\n";
  EXPECT_EQ(PrintResult("P p = {vec3(0.0), {1.0, 2}}; float r = p.w[1];", before), "(at p:P.w:float[2] 1:int):float");
  EXPECT_EQ(PrintResult("int a[2][3]; int r = a[1][2];"), "(at (at a:int[2][3] 1:int):int[3] 2:int):int");
  EXPECT_EQ(PrintResult("const int k = 2; float a[k + 1]; float r = a[0];"), "(at a:float[3] 0:int):float");
}

TEST(ResolveTest, CompoundAssignmentsSayInWhichTypeTheyCompute) {
  const AnalyzedKernel kernel = AnalyzeBody("int a = 1; a *= 2.5; a <<= 1u;");
  const NodeIndex assign = FindNode(kernel, NodeKind::kAssign);
  EXPECT_EQ(kernel.resolved.computed[assign], kFloatType);
  EXPECT_EQ(kernel.resolved.type[assign], kIntType);
}

TEST(ResolveTest, DirectivesAndMarksAreNoted) {
  const AnalyzedKernel kernel = AnalyzeBody(
      "ADDNOISECALL\nfloat a = RenderNoise(0, UNIFORM(v), 1);\nuint i = LinearInvocation();\ngroupSharedBarrier;",
      "GROUPSIZE(8, 4, 2)\n\nCPU_GRANULARITY(100)\n\n");
  ASSERT_TRUE(kernel.IsUnderstood()) << ListErrors(kernel);
  EXPECT_EQ(kernel.resolved.groupSize[1], 4u);
  EXPECT_EQ(kernel.resolved.granularity, 100);
  EXPECT_TRUE(kernel.resolved.usesNoise && kernel.resolved.usesLinearInvocation && kernel.resolved.usesBarrier);
}

TEST(ResolveErrorTest, UnknownNamesHaveTheirNearestName) {
  EXPECT_EQ(FindErrors("float value = 1.0;\nfloat a = vlaue;"),
            "2:11: unknown name \"vlaue\"; did you mean \"value\"?");
  EXPECT_EQ(FindErrors("uint a = cuonts[0];"), "1:10: unknown name \"cuonts\"; did you mean UNIFORM_BUFFER(counts)?");
  EXPECT_EQ(FindErrors("float a = sqr(2.0);"), "1:11: unknown name \"sqr\"; did you mean \"sqrt\"?");
  EXPECT_EQ(FindErrors("UNIFORM_BUFFER(outt)[0] = 1.0;"), "1:1: there is no parameter \"outt\"; did you mean \"out\"?");
  EXPECT_EQ(FindErrors("uint a = InGlobalInvocationId.x;"),
            "1:10: unknown name \"InGlobalInvocationId\"; did you mean \"InGlobalInvocationID\"?");
}

TEST(ResolveErrorTest, NamesThatCppMayKnowAreLeftToIt) {
  EXPECT_EQ(FindReason("float a = fdim(1.0);"), "1: \"fdim\" is not declared in the kernel's files");
  EXPECT_EQ(FindReason("float a = FLT_MAX;"), "1: \"FLT_MAX\" is not declared in the kernel's files");
  EXPECT_EQ(FindErrors("float a = entirelyDifferent;"), "1:11: unknown name \"entirelyDifferent\"");
  EXPECT_EQ(FindErrors("entirelyDifferent = 1.0; float entirelyDifferent;"),
            "1:1: \"entirelyDifferent\" is used before it is declared");
}

TEST(ResolveErrorTest, ParametersAreReachedWithTheirWords) {
  EXPECT_EQ(FindErrors("float a = f;"), "1:11: the parameter \"f\" is reached with UNIFORM(f)");
  EXPECT_EQ(FindErrors("counts[0] = 1u;"), "1:1: the parameter \"counts\" is reached with UNIFORM_BUFFER(counts)");
  EXPECT_EQ(FindErrors("UNIFORM_BUFFER(out) = 1.0;"),
            "1:1: an element of the buffer is missing: UNIFORM_BUFFER(out)[index]");
}

TEST(ResolveErrorTest, NamesEndWithTheirBlockAndAreDeclaredOnce) {
  EXPECT_EQ(FindErrors("int a = 1;\n{\nint a = 2;\n}\nint a = 3;"), "5:5: \"a\" is declared a second time");
  EXPECT_EQ(FindErrors("for (int index1 = 0; index1 < 2; index1++) { }\nint index2 = 1;\nint a = index1;"),
            "3:9: unknown name \"index1\"; did you mean \"index2\"?");
  EXPECT_EQ(FindErrors("float distance = distance(UNIFORM(v), UNIFORM(v));"),
            "1:18: \"distance\" is a variable here and cannot be called");
}

TEST(ResolveErrorTest, ConstantThingsAreNotAssignedTo) {
  EXPECT_EQ(FindErrors("const int a = 1;\na = 2;"), "2:1: \"a\" is const");
  EXPECT_EQ(FindErrors("UNIFORM(f) = 1.0;"), "1:1: UNIFORM(f) cannot be changed in a kernel");
  EXPECT_EQ(FindErrors("UNIFORM_BUFFER(in)[0] += 1.0;"), "1:19: the buffer \"in\" is declared const");
  EXPECT_EQ(FindErrors("1 = 2;"), "1:1: an assignment needs a variable, not a value");
  EXPECT_EQ(FindErrors("InWorkGroupID.x++;"), "1:15: InWorkGroupID cannot be changed");
}

TEST(ResolveErrorTest, TypesThatDoNotFitAreNamed) {
  EXPECT_EQ(FindErrors("vec3 a = true;"), "1:10: \"a\" is a vec3, this is a bool; write vec3(...)");
  EXPECT_EQ(FindErrors("float a = UNIFORM(v);"), "1:11: \"a\" is a float, this is a vec3");
  EXPECT_EQ(FindErrors("double d; vec3 a = UNIFORM(v) * d;"),
            "1:31: there is no \"*\" for vec3 and double; write float( )");
  EXPECT_EQ(FindErrors("vec3 a = UNIFORM(m) * vec2(1.0, 2.0);"), "1:21: there is no \"*\" for mat3 and vec2");
  EXPECT_EQ(FindErrors("float a = 3.0 % 2.0;"),
            "1:15: \"%\" needs whole numbers, not float and float; mod(x, y) is that of floats");
  EXPECT_EQ(FindErrors("if (UNIFORM(v)) { }"), "1:5: a condition must be a bool or a number, not a vec3");
  EXPECT_EQ(FindErrors("vec2 a = UNIFORM(v).xw;"), "1:21: a vec3 has no component \"xw\"");
  EXPECT_EQ(FindErrors("vec3 a = vec3(1.0, 2.0);"), "1:10: a vec3 has 3 components, here are 2");
  EXPECT_EQ(FindErrors("int a[3]; a[1.5] = 1;"), "1:13: an index must be a whole number, not a float");
  EXPECT_EQ(FindErrors("switch (1.5) { }"), "1:9: a switch needs a whole number, not a float");
}

TEST(ResolveErrorTest, ArgumentsThatDoNotFitAreNamed) {
  EXPECT_EQ(FindErrors("uint a = abs(2u);"),
            "1:10: there is no abs of uint; it takes (float), (int), (vec2), (vec3), (vec4), (int2), ...");
  EXPECT_EQ(FindErrors("float a = sqrt(1.0, 2.0);"), "1:11: sqrt does not take 2 arguments");
  EXPECT_EQ(FindErrors("float a = dot(1.0, 2.0);"),
            "1:11: there is no dot of float, float; it takes (vec2, vec2), (vec3, vec3), (vec4, vec4)");
  EXPECT_EQ(FindErrors("float a = dot(vec2(1.0, 2.0), UNIFORM(v));"),
            "1:11: there is no dot of vec2, vec3; it takes (vec2, vec2), (vec3, vec3), (vec4, vec4)");
  EXPECT_EQ(FindErrors("vec3 a = max(vec2(1.0, 2.0), UNIFORM(v));").substr(0, 36),
            "1:10: there is no max of vec2, vec3;");
  EXPECT_EQ(FindErrors("uint old; AtomicAdd(UNIFORM_BUFFER(out)[0], 1u, old);"),
            "1:40: atomic operations are of uint and int, this is a float");
  EXPECT_EQ(FindErrors("uint old; int i; AtomicAdd(UNIFORM_BUFFER(counts)[0], i, old);"),
            "1:55: the value is a int and the value before a uint: both must have one type");
  const std::string before = "inline void F(INOUT float a)\n{\na = 1.0;\n}\n";
  EXPECT_EQ(FindErrors("F(1.0);", before), "5:3: the argument \"a\" needs a variable, not a value");
  EXPECT_EQ(FindErrors("int i; F(i);", before),
            "5:10: the argument \"a\" is changed by the function: it needs a variable of type float, this is a int");
}

TEST(ResolveErrorTest, AFunctionMayStandBelowItsUse) {
  constexpr std::string_view kBelow =
      "inline float A()\n{\nreturn B() + C();\n}\ninline float C()\n{\nreturn B();\n}\n"
      "inline float B()\n{\nreturn 1.0;\n}\n";
  EXPECT_EQ(FindErrors("float a = A();", kBelow), "");
  EXPECT_EQ(FindReason("float a = A();", kBelow), "");
  EXPECT_EQ(FindReason("", "inline float A()\n{\nreturn B();\n}\ninline float B()\n{\nreturn A();\n}\n"),
            "5: functions that call each other");
}

TEST(ResolveErrorTest, FunctionsByOneNameDifferInWhatTheyTake) {
  constexpr std::string_view kFirst = "inline float A(float x)\n{\nreturn x;\n}\n";
  EXPECT_EQ(FindErrors("", Join({kFirst, "inline int A(int x)\n{\nreturn x;\n}\n"})), "");
  EXPECT_EQ(FindErrors("", Join({kFirst, "inline int A(float y)\n{\nreturn 1;\n}\n"})).substr(0, 5), "3:12:");
}

TEST(ResolveErrorTest, LengthsOfArraysAreConstants) {
  EXPECT_EQ(FindErrors("const int n = 3; float a[n * 2];"), "");
  EXPECT_EQ(FindErrors("int n = 3; float a[n * 2];"),
            "1:22: the length of an array is a constant: this is known only when the kernel runs");
  EXPECT_EQ(FindErrors("float a[UNIFORM(n)];"),
            "1:9: the length of an array is a constant: this is known only when the kernel runs");
}

TEST(ResolveErrorTest, WhatNoWordDoesIsSaid) {
  EXPECT_EQ(FindErrors("float a = UNIFORM(in)[0];"), "1:11: \"in\" is a buffer, reached with UNIFORM_BUFFER(in)");
  EXPECT_EQ(FindErrors("bool b = true; b++;"), "1:17: there is no \"++\" for a bool");
  EXPECT_EQ(FindErrors("", "struct Test\n{\nfloat x;\n};\n"),
            "3:23: there is a struct \"Test\" already: the kernel needs a name of its own");
}

// A number becomes what the value before is.
TEST(ResolveErrorTest, NumbersOfAtomicOperationsHaveTheTypeOfTheirPlace) {
  const AnalyzedKernel kernel = AnalyzeBody("uint old; AtomicAdd(UNIFORM_BUFFER(counts)[0], 1, old);");
  ASSERT_TRUE(kernel.IsUnderstood());
  EXPECT_FALSE(kernel.resolved.extensions.empty());
}

TEST(ResolveErrorTest, ResultsFitTheirFunction) {
  EXPECT_EQ(FindErrors("return 1;"), "1:8: a kernel returns no value");
  EXPECT_EQ(FindErrors("", "inline float A()\n{\nreturn;\n}\n").substr(5), "this function must return a float");
  EXPECT_EQ(FindErrors("", "inline void A()\n{\nreturn 1;\n}\n").substr(5), "a void function returns no value");
}

TEST(ResolveReasonTest, WhatCppReadsInAnotherWayIsNotUnderstood) {
  EXPECT_EQ(FindReason("vec4 t = FetchTexture(image, vec2(1.5, 2.5));"), "1: FetchTexture at vec2");
  EXPECT_EQ(FindReason("Int64 d = 1; float a = sqrt(d);"), "1: sqrt of numbers of 64 bits");
  EXPECT_EQ(FindReason("double d = 1.0; uint a = floatBitsToUint(d);"), "1: floatBitsToUint of numbers of 64 bits");
  EXPECT_EQ(FindReason("double d = 1.0; vec2 a = max(vec2(1.0, 2.0), d);"), "1: max of numbers of 64 bits");
  EXPECT_EQ(FindReason("StoreImage(image, int2(0, 0), vec4(1.0));"), "1: StoreImage, which the CPU does not have");
  EXPECT_EQ(FindReason("bool2 a; bool2 b = a + a;"), "1: arithmetic of these vectors");
}

TEST(ResolveReasonTest, TheNumberOfTypesHasALimit) {
  std::string body;
  for (int i = 1; i < 5000; ++i) body += "int a" + std::to_string(i) + "[" + std::to_string(i) + "]; ";
  EXPECT_EQ(FindReason(body), "1: more than 4096 types");
}

}  // namespace
}  // namespace ostra::kernellanguage

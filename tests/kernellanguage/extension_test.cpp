// What the language takes beyond its plain form. PrintResult marks it with ^.
#include <gtest/gtest.h>

#include "kernel_text.h"

namespace ostra::kernellanguage {
namespace {

// The number of a kSwizzle of a body; 0: there is none.
UInt32 FindSwizzle(std::string_view body) {
  const AnalyzedKernel kernel = AnalyzeBody(body);
  EXPECT_EQ(ListErrors(kernel), "");
  for (const Meaning& meaning : kernel.resolved.meaning) {
    if (meaning.kind == MeaningKind::kSwizzle) return meaning.number;
  }
  return 0;
}

Bool IsPlain(std::string_view body, std::string_view before = {}) {
  const AnalyzedKernel kernel = AnalyzeBody(body, before);
  EXPECT_TRUE(kernel.IsUnderstood()) << body << ListErrors(kernel);
  return kernel.resolved.extensions.empty();
}

// Whether the C++ forms know what a body says.
Bool IsPrintable(std::string_view body, std::string_view before = {}) {
  const AnalyzedKernel kernel = AnalyzeBody(body, before);
  EXPECT_TRUE(kernel.IsUnderstood()) << body << ListErrors(kernel);
  return kernel.resolved.firstUnprintable == kNoNode;
}

TEST(ExtensionTest, PlainKernelsHaveNone) {
  EXPECT_TRUE(IsPlain("vec3 a = vec3(1.0, UNIFORM(f), 2); float b = a.x + UNIFORM(m).v1.y; a.z = max(b, 1.0);"));
  EXPECT_TRUE(IsPlain("half h = half(1.0); int a[] = {1, 2}; bool b = vec2(1.0, 2.0) == vec2(2.0, 1.0);"));
}

TEST(ExtensionTest, SwizzlesAreVectors) {
  EXPECT_EQ(PrintResult("vec2 r = UNIFORM(v).zx;"), "uniform.v:vec3.zx^:vec2");
  EXPECT_EQ(PrintResult("vec4 r = UNIFORM(v).rrgb;"), "uniform.v:vec3.rrgb^:vec4");
  EXPECT_EQ(PrintResult("vec2 r = UNIFORM(v).xyz.zy;"), "uniform.v:vec3.xyz^:vec3.zy^:vec2");
  EXPECT_EQ(PrintResult("uint2 r = InGlobalInvocationID.xy;"), "InGlobalInvocationID:uint3.xy^:uint2");
  EXPECT_EQ(PrintResult("vec2 r = UNIFORM(v).s20;"), "uniform.v:vec3.s20^:vec2");
  EXPECT_EQ(PrintResult("vec4 a; vec2 r = a.hi;"), "a:vec4.hi^:vec2");
  EXPECT_EQ(PrintResult("vec2 a; float r = a.even;"), "a:vec2.even^:float");
  const UInt32 number = FindSwizzle("vec3 a = UNIFORM(v).zzy;");
  EXPECT_EQ(GetSwizzleCount(number), 3u);
  EXPECT_EQ(GetSwizzleComponent(number, 0), 2u);
  EXPECT_EQ(GetSwizzleComponent(number, 1), 2u);
  EXPECT_EQ(GetSwizzleComponent(number, 2), 1u);
}

TEST(ExtensionTest, SingleComponentsHaveOtherNames) {
  EXPECT_EQ(PrintResult("float r = UNIFORM(v).g;"), "uniform.v:vec3.g:float");
  EXPECT_EQ(PrintResult("float r = UNIFORM(v).p;"), "uniform.v:vec3.p^:float");
  EXPECT_EQ(PrintResult("float r = UNIFORM(v).s1;"), "uniform.v:vec3.s1^:float");
  EXPECT_TRUE(IsPrintable("float r = UNIFORM(v).p;"));
  EXPECT_FALSE(IsPrintable("float r = UNIFORM(v).s1;"));
}

TEST(ExtensionTest, SwizzlesAreNoMixtureAndStayInTheVector) {
  EXPECT_EQ(FindErrors("vec2 a = UNIFORM(v).xg;"), "1:21: a vec3 has no component \"xg\"");
  EXPECT_EQ(FindErrors("vec2 a = UNIFORM(v).xw;"), "1:21: a vec3 has no component \"xw\"");
  EXPECT_EQ(FindErrors("vec2 a = UNIFORM(v).xyzxy;"), "1:21: a vec3 has no component \"xyzxy\"");
  EXPECT_EQ(FindErrors("vec2 a = UNIFORM(v).s03;"), "1:21: a vec3 has no component \"s03\"");
}

TEST(ExtensionTest, SwizzlesAreAssignedTo) {
  EXPECT_EQ(FindErrors("vec3 a = UNIFORM(v); a.xy = a.yx; a.zx += vec2(1.0, 2.0); a.xz *= 2.0; a.xy++;"), "");
  EXPECT_EQ(FindErrors("vec3 a = UNIFORM(v); a.xx = a.yx;"),
            "1:24: \".xx\" names a component twice: it cannot be changed");
  EXPECT_EQ(FindErrors("UNIFORM(v).xy = vec2(1.0, 2.0);"), "1:12: UNIFORM(v) cannot be changed in a kernel");
  EXPECT_EQ(FindErrors("vec3 a; a.xyz = a.xy;"), "1:19: what is assigned to is a vec3, this is a vec2");
}

TEST(ExtensionTest, VectorsAreMadeOfEverythingWithComponents) {
  EXPECT_EQ(PrintResult("vec3 r = vec3(UNIFORM(f));"), "(make vec3 uniform.f:float)^:vec3");
  EXPECT_TRUE(IsPrintable("vec3 r = vec3(UNIFORM(f));"));
  EXPECT_EQ(PrintResult("vec4 r = vec4(UNIFORM(v).xy, 1, 2u);"),
            "(make vec4 uniform.v:vec3.xy^:vec2 1:int>float 2u:uint>float):vec4");
  EXPECT_EQ(PrintResult("int3 r = int3(UNIFORM(v));"), "(make int3 uniform.v:vec3>int3):int3");
  EXPECT_EQ(PrintResult("vec2 r = vec2(UNIFORM(v));"), "(make vec2 uniform.v:vec3):vec2");
  EXPECT_EQ(PrintResult("int2 r = int2(UNIFORM(v));"), "(make int2 uniform.v:vec3>int3)^:int2");
  EXPECT_EQ(PrintResult("ivec2 r = ivec2(1.5, 2);"), "(make ivec2 1.5:float>int 2:int):int2");
  EXPECT_EQ(PrintResult("bvec2 r = bvec2(1, 0);"), "(make bvec2 1:int>bool 0:int>bool):bvec2");
  EXPECT_EQ(PrintResult("half2 r = half2(1.0);"), "(make half2 1.0:float>half)^:half2");
  EXPECT_EQ(PrintResult("vec2 r = vec2(half2(1.0, 2.0));"),
            "(make vec2 (make half2 1.0:float>half 2.0:float>half):half2>vec2)^:vec2");
  EXPECT_FALSE(IsPlain("ivec2 a = int2(1, 2);"));
  EXPECT_EQ(FindErrors("vec4 a = vec4(UNIFORM(v));"), "1:10: a vec4 has 4 components, here are 3");
}

TEST(ExtensionTest, MatricesAreMadeOfNumbersColumnsAndMatrices) {
  EXPECT_EQ(PrintResult("mat3 r = mat3(1);"), "(make mat3 1:int>float)^:mat3");
  EXPECT_EQ(PrintResult("mat2 r = mat2(1, 0, vec2(2.0, 3.0));"),
            "(make mat2 1:int>float 0:int>float (make vec2 2.0:float 3.0:float):vec2)^:mat2");
  EXPECT_EQ(PrintResult("mat4 r = mat4(UNIFORM(m));"), "(make mat4 uniform.m:mat3)^:mat4");
  EXPECT_EQ(PrintResult("mat2 r = mat2(UNIFORM(m));"), "(make mat2 uniform.m:mat3)^:mat2");
  EXPECT_EQ(PrintResult("mat3 r = mat3(UNIFORM(v), UNIFORM(v), UNIFORM(v));"),
            "(make mat3 uniform.v:vec3 uniform.v:vec3 uniform.v:vec3):mat3");
  EXPECT_EQ(FindErrors("mat3 a = mat3(1.0, 2.0);"), "1:10: a mat3 is made of 3 columns or 9 components, here are 2");
}

TEST(ExtensionTest, StructsAreMadeOfTheirMembers) {
  const std::string before = "struct P\n{\nvec3 p;\nfloat m;\n};\n";
  EXPECT_EQ(PrintResult("P r = P(UNIFORM(v), 2);", before), "(make P uniform.v:vec3 2:int>float)^:P");
  EXPECT_EQ(FindErrors("P r = P(UNIFORM(v), 1.0, 2.0);", before), "6:7: a P has 2 members, here are 3");
  EXPECT_EQ(PrintResult("P r = P(UNIFORM(v));", before), "reason: a P without all its members");
  EXPECT_EQ(FindErrors("P r = P(1.0, UNIFORM(v));", before), "6:14: the member \"m\" is a float, this is a vec3");
}

TEST(ExtensionTest, StructsMayHaveTheNamesOfLaterTypes) {
  const std::string before = "struct mat2\n{\nvec2 a;\nvec2 b;\n};\n";
  EXPECT_TRUE(IsPrintable("mat2 m; m.a = vec2(1.0, 2.0);", before));
  EXPECT_EQ(PrintResult("mat2 m; vec2 r = m.b;", before), "m:mat2.b:vec2");
}

TEST(ExtensionTest, ParametersAreOfTypesThatHostsHave) {
  const auto find = [](const std::string& type) {
    return ListErrors(AnalyzeText("#define KERNELINPUTS \\\n(" + type + ") a, \\\n(Block<Float32>) b\n\n" +
                                  "OSTRA_PARALLEL_KERNEL(Test, KERNELINPUTS)\n{\n}\nOSTRA_PARALLEL_KERNEL_END\n"));
  };
  EXPECT_EQ(find("ivec2"), "");
  EXPECT_EQ(find("mat2"), "2:2: a mat2 is no type of a parameter: it is for values inside of a kernel");
  EXPECT_EQ(find("Block<bvec3>"), "2:8: a bvec3 is no type of a parameter: it is for values inside of a kernel");
}

TEST(ExtensionTest, NumbersBecomeVectorsAndHalves) {
  EXPECT_EQ(PrintResult("vec3 r = 1;"), "1^:int>vec3");
  EXPECT_EQ(PrintResult("half r = 0.5;"), "0.5^:float>half");
  EXPECT_EQ(PrintResult("half2 r = vec2(1.0, 2.0);"), "(make vec2 1.0:float 2.0:float)^:vec2>half2");
  EXPECT_EQ(PrintResult("vec3 r = (vec3)(UNIFORM(f));"), "(cast vec3 uniform.f:float)^:vec3");
  EXPECT_EQ(PrintResult("int3 r = (int3)UNIFORM(v);"), "(cast int3 uniform.v:vec3>int3)^:int3");
  EXPECT_EQ(FindErrors("vec4 a = SampleTexture(image, 0.5);"),
            "1:31: the place in a texture of 2 dimensions is a vec2, this is a float; write vec2(...)");
}

TEST(ExtensionTest, NumbersAreConvertedWhereShadingLanguagesDoNot) {
  EXPECT_TRUE(IsPlain("uint a = 1; float b = UNIFORM(n); b += a; bool c = a < 2; float d = int(b); bool e = c == c;"));
  for (const std::string_view body :
       {"int a = UNIFORM(n);", "uint a = UNIFORM(f);", "if (UNIFORM(n) & 1u) return;", "bool a = !UNIFORM(n);",
        "float a = true;", "int a = 1; a += UNIFORM(n);", "int a = 1; a *= 1.5;"}) {
    EXPECT_FALSE(IsPlain(body)) << body;
    EXPECT_TRUE(IsPrintable(body)) << body;
  }
}

TEST(ExtensionTest, ArgumentsOfSeveralTypesBecomeOne) {
  EXPECT_EQ(PrintResult("float r = max(UNIFORM(f), 0);"), "(call max uniform.f:float 0:int>float)^:float");
  EXPECT_EQ(PrintResult("uint r = clamp(UNIFORM(n), 0, 5);"),
            "(call clamp uniform.n:uint 0:int>uint 5:int>uint)^:uint");
  EXPECT_EQ(PrintResult("float r = mix(UNIFORM(f), 1, 0.5);"),
            "(call mix uniform.f:float 1:int>float 0.5:float):float");
  EXPECT_EQ(PrintResult("vec3 r = max(int3(1, 2, 3), UNIFORM(v));"),
            "(call max (make int3 1:int 2:int 3:int):int3>vec3 uniform.v:vec3)^:vec3");
  EXPECT_EQ(PrintResult("int3 r = clamp(int3(1, 2, 3), 0, 2u);"),
            "(call clamp (make int3 1:int 2:int 3:int):int3>uint3 0:int>uint 2u:uint)^:uint3>int3");
  EXPECT_EQ(PrintResult("vec3 r = pow(UNIFORM(v), 2.0);"), "(call pow uniform.v:vec3 2.0^:float>vec3)^:vec3");
  EXPECT_EQ(PrintResult("vec3 r = mix(0, UNIFORM(v), 0.5);"), "(call mix 0^:int>vec3 uniform.v:vec3 0.5:float)^:vec3");
  EXPECT_EQ(PrintResult("half h = half(1.0); float r = min(h, 2);"), "(call min h^:half>float 2:int>float)^:float");
  EXPECT_EQ(PrintResult("float r = sqrt(2);"), "(call sqrt 2:int>float):float");
}

TEST(ExtensionTest, VectorsAreComparedComponentByComponent) {
  EXPECT_EQ(PrintResult("bvec3 r = lessThan(UNIFORM(v), vec3(1.0, 2.0, 3.0));"),
            "(call lessThan uniform.v:vec3 (make vec3 1.0:float 2.0:float 3.0:float):vec3)^:bvec3");
  EXPECT_EQ(PrintResult("bool r = any(greaterThan(UNIFORM(v), 1));"),
            "(call any (call greaterThan uniform.v:vec3 1^:int>vec3)^:bvec3)^:bool");
  EXPECT_EQ(PrintResult("bool r = all(not(equal(uint2(1u, 2u), 1)));"),
            "(call all (call not (call equal (make uint2 1u:uint 2u:uint):uint2 1^:int>uint2)^:bvec2)^:bvec2)^:bool");
  EXPECT_EQ(PrintResult("bvec2 a = bvec2(true, false); bool r = (!a).x;"), "(! a:bvec2)^:bvec2.x:bool");
  EXPECT_EQ(PrintResult("bool r = int2(1, 2) == vec2(1.0, 2.0);"),
            "(== (make int2 1:int 2:int):int2>vec2 (make vec2 1.0:float 2.0:float):vec2)^:bool");
  EXPECT_EQ(FindErrors("bool a = UNIFORM(v) < UNIFORM(v);"),
            "1:21: there is no \"<\" for vec3 and vec3: vectors are compared component by component, with "
            "lessThan(a, b) and its relatives");
  // In C++ it is an operator, too.
  EXPECT_EQ(FindReason("bool a = true; bool b = not a;"), "1: this use of \"not\"");
}

TEST(ExtensionTest, VectorsComputeWithOtherNumbers) {
  EXPECT_EQ(PrintResult("vec3 r = UNIFORM(v) * 2;"), "(* uniform.v:vec3 2:int>float)^:vec3");
  EXPECT_EQ(PrintResult("vec3 r = UNIFORM(n) + UNIFORM(v);"), "(+ uniform.n:uint>float uniform.v:vec3)^:vec3");
  EXPECT_EQ(PrintResult("vec2 r = int2(1, 2) * 0.5;"), "(* (make int2 1:int 2:int):int2>vec2 0.5:float)^:vec2");
  EXPECT_EQ(PrintResult("vec2 r = int2(1, 2) / vec2(1.0, 2.0);"),
            "(/ (make int2 1:int 2:int):int2>vec2 (make vec2 1.0:float 2.0:float):vec2)^:vec2");
  EXPECT_EQ(PrintResult("uint2 r = uint2(1u, 2u) << 3;"), "(<< (make uint2 1u:uint 2u:uint):uint2 3:int>uint)^:uint2");
  EXPECT_EQ(PrintResult("vec3 r = true ? UNIFORM(v) : 0;"), "(? true:bool uniform.v:vec3 0:int>vec3)^:vec3");
  EXPECT_EQ(FindErrors("vec3 a = UNIFORM(v) & 2;"), "1:21: there is no \"&\" for vec3 and int");
  EXPECT_EQ(FindErrors("half h = 1.0; h *= 2.0;"), "");
}

TEST(ExtensionTest, HalvesComputeAsFloats) {
  EXPECT_EQ(PrintResult("half2 h; half2 r = h * h;"), "(* h:half2>vec2 h:half2>vec2)^:vec2>half2");
  EXPECT_EQ(PrintResult("half3 h; vec3 r = h + 1;"), "(+ h:half3>vec3 1:int>float)^:vec3");
  EXPECT_EQ(PrintResult("half2 h; half k; half2 r = -h / k;"), "(/ (- h:half2>vec2)^:vec2 k^:half>float)^:vec2>half2");
  EXPECT_EQ(PrintResult("half2 h; bool r = h == h;"), "(== h:half2>vec2 h:half2>vec2)^:bool");
  EXPECT_EQ(PrintResult("half4 h; float r = dot(h, h);"), "(call dot h^:half4>vec4 h^:half4>vec4)^:float");
  EXPECT_EQ(PrintResult("half r = half(UNIFORM(n));"), "(make half uniform.n^:uint>half):half");
  EXPECT_EQ(FindErrors("half2 a; half b; a += b; a *= vec2(1, 2); a.x++; a++; --b; vec2 c = UNIFORM(v).xy; c -= a;"),
            "");
  EXPECT_EQ(FindErrors("half2 a; half2 b = a % a;"), "1:22: there is no \"%\" for half2 and half2");
  EXPECT_EQ(FindErrors("half2 a; half3 b; half2 c = a + b;"), "1:31: there is no \"+\" for half2 and half3");
  EXPECT_EQ(FindErrors("half2 a; double b = 1.0; a += b;"), "1:28: there is no \"+=\" for half2 and double");
}

TEST(ExtensionTest, MatricesComputeAsInLinearAlgebra) {
  EXPECT_EQ(PrintResult("vec3 r = UNIFORM(m) * UNIFORM(v);"), "(* uniform.m:mat3 uniform.v:vec3)^:vec3");
  EXPECT_EQ(PrintResult("vec3 r = int3(1, 2, 3) * UNIFORM(m);"),
            "(* (make int3 1:int 2:int 3:int):int3>vec3 uniform.m:mat3)^:vec3");
  EXPECT_EQ(PrintResult("mat3 r = UNIFORM(m) * UNIFORM(m);"), "(* uniform.m:mat3 uniform.m:mat3)^:mat3");
  EXPECT_EQ(PrintResult("mat3 r = 2 * UNIFORM(m);"), "(* 2:int>float uniform.m:mat3)^:mat3");
  EXPECT_EQ(PrintResult("mat3 r = UNIFORM(m) / 2.0;"), "(/ uniform.m:mat3 2.0:float)^:mat3");
  EXPECT_EQ(PrintResult("mat3 r = -UNIFORM(m) + UNIFORM(m);"), "(+ (- uniform.m:mat3)^:mat3 uniform.m:mat3)^:mat3");
  EXPECT_EQ(FindErrors("mat3 a = UNIFORM(m); vec3 b = UNIFORM(v); a *= a; a *= 2; a += a; a /= 2.0; b *= a;"), "");
  EXPECT_EQ(FindErrors("mat3 a = UNIFORM(m) + 1.0;"), "1:21: there is no \"+\" for mat3 and float");
  EXPECT_EQ(FindErrors("float a; a *= UNIFORM(m);"), "1:12: there is no \"*=\" for float and mat3");
}

TEST(ExtensionTest, ProductsOfMatricesMeanMul) {
  const AnalyzedKernel kernel = AnalyzeBody("vec3 a = UNIFORM(v) * UNIFORM(m);");
  const Meaning& meaning = kernel.resolved.meaning[FindNode(kernel, NodeKind::kBinary)];
  EXPECT_EQ(meaning.kind, MeaningKind::kWord);
  EXPECT_EQ(meaning.word, WordId::kMul);
  const Overload& overload = GetOverloads(WordId::kMul)[meaning.overload];
  EXPECT_EQ(overload.parameters[0], GetVectorType(Scalar::kFloat32, 3));
  EXPECT_EQ(overload.parameters[1], kMatrix3Type);
}

TEST(ExtensionTest, MatricesHaveColumnsByNumber) {
  EXPECT_EQ(PrintResult("vec3 r = UNIFORM(m)[1u];"), "(at uniform.m:mat3 1u:uint>int)^:vec3");
  EXPECT_EQ(PrintResult("float r = UNIFORM(m)[1][2];"), "(at (at uniform.m:mat3 1:int)^:vec3 2:int):float");
  EXPECT_EQ(FindErrors("mat3 a; a[1] = UNIFORM(v); a[0][2] = 1.0; a[1].xy = vec2(1.0, 2.0);"), "");
  EXPECT_EQ(FindErrors("UNIFORM(m)[1] = UNIFORM(v);"), "1:11: UNIFORM(m) cannot be changed in a kernel");
  EXPECT_EQ(FindErrors("vec3 a = UNIFORM(m)[1.5];"), "1:21: an index must be a whole number, not a float");
}

TEST(ExtensionTest, ConstantsStandOutsideOfFunctions) {
  const std::string before = "const float kPi = 3.14;\nstatic const vec2 kPlaces[2] = {vec2(0.0, 1.0), {1, 0}};\n";
  EXPECT_EQ(PrintResult("float r = kPi;", before), "kPi:float");
  EXPECT_EQ(PrintResult("float r = kPlaces[1].x;", before), "(at kPlaces:vec2[2] 1:int):vec2.x:float");
  EXPECT_TRUE(IsPrintable("float a = kPi;", "const float kPi = 3.14;\n"));
  EXPECT_FALSE(IsPlain("float a = kPi;", "const float kPi = 3.14;\n"));
  EXPECT_FALSE(IsPrintable("float a = kPi;", "constant float kPi = 3.14;\n"));
  EXPECT_EQ(FindErrors("kPi = 1.0;", before).substr(5), "\"kPi\" is const");
  EXPECT_TRUE(IsPlain("const float a = 1.0; const int b[2] = {1, 2};"));
}

TEST(ExtensionTest, ListsMakeVectorsMatricesAndArrays) {
  EXPECT_EQ(PrintResult("vec3 r = {1, UNIFORM(v).xy};"), "(list 1:int>float uniform.v:vec3.xy^:vec2)^:vec3");
  EXPECT_EQ(PrintResult("mat2 r = {{1, 2}, {3, 4}};"),
            "(list (list 1:int>float 2:int>float)^:vec2 (list 3:int>float 4:int>float)^:vec2)^:mat2");
  EXPECT_EQ(PrintResult("float r[] = {UNIFORM(n), 2};"), "(list uniform.n^:uint>float 2:int>float):float[2]");
  EXPECT_EQ(PrintResult("float r{2};"), "(list 2:int>float)^:float");
  EXPECT_FALSE(IsPrintable("float a{2.0}; vec2 b{1.0, 2.0};"));
  EXPECT_EQ(PrintResult("float r[2] = float[2](1.0, 2);"), "(list 1.0:float 2:int>float)^:float[2]");
  EXPECT_EQ(PrintResult("float[3] a, r = float[](1.0, 2.0, 3.0);"), "(list 1.0:float 2.0:float 3.0:float)^:float[3]");
  EXPECT_EQ(PrintResult("vec3 r = (vec3)(1, UNIFORM(f), 2.0).zyx;"),
            "(make vec3 1:int>float uniform.f:float 2.0:float)^:vec3.zyx^:vec3");
  EXPECT_EQ(FindReason("vec3 a = {1.0};"), "1: values in braces for this type");
  EXPECT_EQ(FindReason("int a[2][2] = {1, 2, 3, 4};"), "1: values in braces for this type");
  EXPECT_EQ(FindErrors("float a[2] = {UNIFORM(v), 1.0};"), "1:15: an element is a float, this is a vec3");
}

TEST(ExtensionTest, ArgumentsHaveDefaultValues) {
  const std::string before = "inline float F(float a, float b = 2, vec3 c = 1.0)\n{\nreturn a + b + c.x;\n}\n";
  EXPECT_EQ(PrintResult("float r = F(1);", before), "(call F 1:int>float)^:float");
  EXPECT_EQ(PrintResult("float r = F(1.0, 2.0);", before), "(call F 1.0:float 2.0:float)^:float");
  EXPECT_EQ(FindErrors("float a = F();", before), "5:11: \"F\" takes 1 to 3 arguments, not 0");
  EXPECT_EQ(FindErrors("", "inline float F(float a = 1.0, float b)\n{\nreturn a + b;\n}\n").substr(7),
            "\"b\" follows an argument with a default value and has none");
  const AnalyzedKernel kernel = AnalyzeBody("", before);
  const NodeIndex value = kernel.tree.GetChild(FindVariable(kernel, "b"), 2);
  EXPECT_EQ(kernel.resolved.type[value], kIntType);
  EXPECT_EQ(kernel.resolved.converted[value], kFloatType);
}

TEST(ExtensionTest, OverloadsWithDefaultValuesAreChosenByWhatIsGiven) {
  const std::string before =
      "inline float F(float a, float b = 2.0)\n{\nreturn a + b;\n}\ninline vec3 F(vec3 a)\n{\nreturn a;\n}\n";
  EXPECT_EQ(PrintResult("vec3 r = F(UNIFORM(v));", before), "(call F uniform.v:vec3):vec3");
  EXPECT_EQ(PrintResult("float r = F(UNIFORM(f));", before), "(call F uniform.f:float)^:float");
}

TEST(ExtensionTest, NamesMayBeThoseOfTypesAndOfOtherLanguages) {
  EXPECT_EQ(PrintResult("float half = 0.5; float r = half * 2.0;"), "(* half:float 2.0:float):float");
  EXPECT_EQ(PrintResult("{ float half = 0.5; } half r = half(1.0);"), "(make half 1.0:float>half):half");
  EXPECT_EQ(PrintResult("for (int half = 0; half < 2; half++) { } half r = half(1.0);"),
            "(make half 1.0:float>half):half");
  EXPECT_FALSE(IsPrintable("float half = 0.5;"));
  EXPECT_FALSE(IsPlain("float sample = 0.5;"));
  EXPECT_TRUE(IsPrintable("float sample = 0.5; float input = sample; vec3 output; float buffer; int texture = 1;"));
  EXPECT_FALSE(IsPlain("", "inline float filter(float a)\n{\nreturn a;\n}\n"));
}

TEST(ExtensionTest, FunctionsNeedNotBeInlineNorHaveTheirBraceApart) {
  EXPECT_TRUE(IsPlain("", "inline float F(float a)\n{\nreturn a;\n}\n"));
  for (const char* before : {"float F(float a)\n{\nreturn a;\n}\n", "inline float F(float a) {\nreturn a;\n}\n"}) {
    EXPECT_FALSE(IsPlain("", before)) << before;
    EXPECT_TRUE(IsPrintable("", before)) << before;
  }
}

TEST(ExtensionTest, FunctionsMayBeDeclaredBeforeTheirBodies) {
  const std::string before = "float F(float a);\n", body = "inline float F(float a)\n{\nreturn a;\n}\n";
  EXPECT_EQ(PrintResult("float r = F(1.0);", before + body), "(call F 1.0:float):float");
  EXPECT_TRUE(IsPrintable("float r = F(1.0);", before + body));
  EXPECT_FALSE(IsPlain("float r = F(1.0);", before + body));
  EXPECT_EQ(PrintResult("float r = F(1.0);", before), "reason: a function before its body");
  EXPECT_EQ(PrintResult("float r = F();", "float F(float a = 1.0);\n" + body), "reason: a function without its body");
}

TEST(ExtensionTest, StructsAndArgumentsMayBeWrittenAsInC) {
  const std::string before = "typedef struct {\nvec2 a;\nfloat b;\n} S;\nstatic float One(void) { return 1.0; }\n";
  EXPECT_EQ(PrintResult("S s; struct S t = s; float r = t.b + One();", before),
            "(+ t:S.b:float (call One):float):float");
  EXPECT_TRUE(IsPrintable("struct S s; s.b = One();", before));
  EXPECT_FALSE(IsPlain("S s;", "typedef struct { vec2 a; } S;\n"));
  EXPECT_FALSE(IsPlain("struct S s;", "struct S\n{\nvec2 a;\n};\n"));
}

TEST(ExtensionTest, LessThanAConversionIsNoTemplate) {
  EXPECT_EQ(PrintResult("int i = 1; bool r = i < int(UNIFORM(f));"),
            "(< i:int (make int uniform.f:float>int):int):bool");
  EXPECT_EQ(PrintResult("int i = 1; float r = i<int>(UNIFORM(f));"), "reason: a template");
}

TEST(ExtensionTest, TypesMayHaveOtherNames) {
  const std::string before = "typedef vec3 Colour;\ntypedef unsigned int uint;\nusing Real = float;\n";
  EXPECT_EQ(PrintResult("Colour r = Colour(Real(1));", before), "(make vec3 (make float 1:int>float):float)^:vec3");
  EXPECT_FALSE(IsPlain("", before));
  EXPECT_TRUE(IsPrintable("Colour c = UNIFORM(v);", before));
  EXPECT_EQ(PrintResult("int r = 1;", "typedef const vec3 Colour;\n"), "reason: another name for such a type");
}

TEST(ExtensionTest, HintsForCompilersArePassedOver) {
  EXPECT_EQ(
      FindErrors("[unroll] for (int i = 0; i < 3; i++) { } [loop] while (false) { } [unroll(2)] do { } while (false);"),
      "");
  EXPECT_FALSE(IsPrintable("[branch] if (UNIFORM(f) > 1.0) { }"));
  EXPECT_TRUE(IsPrintable("\n#pragma unroll 4\nfor (int i = 0; i < 3; i++) { }"));
  EXPECT_FALSE(IsPlain("\n#pragma unroll\nfor (int i = 0; i < 3; i++) { }"));
}

TEST(ExtensionTest, MacrosOfTheKernelFileAreForTheCpuOnly) {
  EXPECT_TRUE(IsPlain("", "#define UNUSED 1\n"));
  EXPECT_FALSE(IsPlain("int a = ONE;", "#define ONE 1\n"));
  EXPECT_TRUE(IsPrintable("int a = ONE;", "#define ONE 1\n"));
  EXPECT_FALSE(IsPlain("int a = 1;", "#define ONE 1\n#if ONE\n#endif\n"));
}

TEST(ExtensionTest, HeadersOfOtherNamesAreForTheCpuOnly) {
  const std::string text = MakeKernel("int a = K;", "#include \"k.h\"\n#include \"other.h\"\n");
  const auto analyze = [&](std::string_view kHeader, std::string_view other) {
    const auto readHeader = [&](const std::string& name, const std::string&) {
      return std::optional(Header{name, std::string(name == "k.h" ? kHeader : other)});
    };
    auto kernel = AnalyzeKernel({.fileName = "folder/k.krn", .text = text, .readHeader = readHeader});
    EXPECT_TRUE(kernel->IsUnderstood());
    return kernel->resolved.extensions.size();
  };
  EXPECT_EQ(analyze("#pragma once\n#define K 1\n", ""), 1u);
  EXPECT_EQ(analyze("", "const int K = 1;\n"), 2u);
}

}  // namespace
}  // namespace ostra::kernellanguage

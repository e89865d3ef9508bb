// Metal text: what its compiler would refuse or read differently is refused here, on the line of the kernel file.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/drawport/assembly_fixture.h"
#include "tests/support/result_matchers.h"

namespace ostra::test {
namespace {

using testing::HasSubstr;

class MetalTextTest : public testing::Test {
 protected:
  void SetUp() override {
    if (const std::string missing = FindMissingCompiler(kShadingLanguageMetal); !missing.empty())
      GTEST_SKIP() << missing;
  }

  // A program with a struct of a number, a matrix and a vector, and a function that changes its argument.
  static std::string CompileCode(std::string_view code) {
    ShaderRecords records = MakeRecords(kShadingLanguageMetal, code);
    ShaderStruct body{"Body"_s, {}, {}};
    EXPECT_THAT(body.members.Append(ShaderMember{"float"_s, "mass"_s, {}}), IsOk());
    EXPECT_THAT(body.members.Append(ShaderMember{"mat4"_s, "turn"_s, {}}), IsOk());
    EXPECT_THAT(body.members.Append(ShaderMember{"vec3"_s, "place"_s, {}}), IsOk());
    EXPECT_THAT(records.structs.Append(std::move(body)), IsOk());
    AddFunction(records, "void Raise(thread float& x)\n{\nx = x + 1.0;\n}\n");
    EXPECT_THAT(records.groupShared.Append(ShaderCode{"groupSharedMemory float tile[4];"_s, {}}), IsOk());
    AddBuffer(records, "bodies", "Body");
    AddBuffer(records, "numbers", "float");
    AddBuffer(records, "vectors", "vec4");
    return Compile(records);
  }
};

TEST_F(MetalTextTest, StructsHaveTheLayoutOfTheProcessor) {
  // A vector without size is an error, so these hold when the text compiles.
  EXPECT_EQ(CompileCode("static_assert(sizeof(Body) == 80, \"stride\");\n"
                        "static_assert(__builtin_offsetof(Body, turn) == 4, \"offset\");\n"
                        "static_assert(__builtin_offsetof(Body, place) == 68, \"offset\");\n"
                        "static_assert(alignof(Body) == 4, \"alignment\");\n"
                        "static_assert(sizeof(ostraStored<mat2>::Type) == 16, \"stride\");\n"
                        "static_assert(sizeof(ostraStored<mat3>::Type) == 36, \"stride\");\n"
                        "static_assert(sizeof(ostraStored<vec3>::Type) == 12, \"stride\");"),
            "");
  EXPECT_THAT(CompileCode("static_assert(sizeof(Body) == 96, \"stride\");"), HasSubstr("stride"));
}

TEST_F(MetalTextTest, MembersOfStructsAreReadAndWrittenWhereverTheStructLies) {
  EXPECT_EQ(
      CompileCode("uint i = 0u;\nBody b = UNIFORM_BUFFER(bodies)[i];\nmat4 m = b.turn;\nb.turn = m;\n"
                  "b.place = vec3(1.0, 2.0, 3.0);\nb.turn[0] = m[1];\nUNIFORM_BUFFER(bodies)[i] = b;\n"
                  "UNIFORM_BUFFER(bodies)[i].turn = m;\nUNIFORM_BUFFER(bodies)[i].place = b.place * 2.0;\n"
                  "UNIFORM_BUFFER(vectors)[0] = mul(UNIFORM_BUFFER(bodies)[i].turn, UNIFORM_BUFFER(vectors)[1]);\n"
                  "m = transpose(UNIFORM_BUFFER(bodies)[i].turn);\n"
                  "UNIFORM_BUFFER(numbers)[0] = determinant(b.turn) + dot(b.place, UNIFORM_BUFFER(bodies)[i].place);"),
      "");
}

TEST_F(MetalTextTest, WhatAFunctionChangesIsAVariableOfItsOwn) {
  EXPECT_EQ(CompileCode("float x = UNIFORM_BUFFER(numbers)[0];\nRaise(x);\nUNIFORM_BUFFER(numbers)[0] = x;"), "");
  EXPECT_THAT(CompileCode("Raise(UNIFORM_BUFFER(numbers)[0]);"), HasSubstr("no matching function"));
  EXPECT_THAT(CompileCode("Raise(tile[0]);"), HasSubstr("no matching function"));
  EXPECT_THAT(CompileCode("vec4 v = UNIFORM_BUFFER(vectors)[0];\nRaise(v.x);"), HasSubstr("vector element"));
}

TEST_F(MetalTextTest, HelpersMayHaveNamesOfTheStandardLibrary) {
  ShaderRecords records = MakeRecords(kShadingLanguageMetal,
                                      "UNIFORM_BUFFER(a)[0] = log10(UNIFORM_BUFFER(a)[1]) + popcount(2.0) + "
                                      "select(1.0, 2.0) + UNIFORM(select);");
  AddFunction(records, "float log10(float x)\n{\nreturn log(x) / 2.302585;\n}\n");
  AddFunction(records, "float popcount(float x)\n{\nreturn x;\n}\n");
  AddFunction(records, "float select(float x, float y)\n{\nreturn x < y ? x : y;\n}\n");
  AddValue(records, "select", DrawportShaderValueType::Float);
  AddBuffer(records, "a", "float");
  EXPECT_EQ(Compile(records), "");
}

TEST_F(MetalTextTest, MessagesNameAddressSpacesAndFunctionsAsKernelFilesDo) {
  EXPECT_THAT(CompileCode("mat4 m = UNIFORM_BUFFER(vectors)[0];"), testing::Not(HasSubstr("__")));
  ShaderRecords records = MakeRecords(kShadingLanguageMetal, "float x = tanh(1.0);");
  EXPECT_THAT(std::string(RestoreShaderWords(Compile(records))->GetView()), HasSubstr("'tanh'"));
}

// HLSL takes a constant without "static" for a value of its own uniform buffer, which stays unset.
TEST(FileScopeTest, ConstantsAreConstantsInEveryLanguage) {
  for (const Id* language : kLanguages) {
    ShaderRecords records = MakeRecords(*language, "const float inner = 1.0;\nUNIFORM_BUFFER(a)[0] = kScale + inner;");
    AddBuffer(records, "a", "float");
    ASSERT_THAT(records.fileScope.Append(ShaderCode{"const float kScale = 2.0;\n"_s, {}}), IsOk());
    ASSERT_THAT(records.fileScope.Append(
                    ShaderCode{"float Twice(float x)\n{\n\tconst float two = 2.0;\n\treturn x * two;\n}\n"_s, {}}),
                IsOk());
    EXPECT_EQ(Compile(records), "") << language->GetView();
    const std::string text(Assemble(records).text.GetView());
    const std::string_view expected = *language == kShadingLanguageHlsl    ? "\nstatic const float kScale = 2.0;\n"
                                      : *language == kShadingLanguageMetal ? "\nconstant float kScale = 2.0;\n"
                                                                           : "\nconst float kScale = 2.0;\n";
    EXPECT_THAT(text, HasSubstr(std::string(expected)));
    EXPECT_THAT(text, HasSubstr("\n\tconst float two = 2.0;\n"));
    EXPECT_THAT(text, HasSubstr("\nconst float inner = 1.0;\n"));
  }
}

}  // namespace
}  // namespace ostra::test

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
    if (!IsCompiled(kShadingLanguageMetal)) GTEST_SKIP() << "there is no clang";
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

}  // namespace
}  // namespace ostra::test

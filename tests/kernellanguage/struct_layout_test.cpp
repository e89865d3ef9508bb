#include "parallelprogram/kernellanguage/struct_layout.h"

#include <gtest/gtest.h>

#include "kernel_text.h"

namespace ostra::kernellanguage {
namespace {

// A kernel whose buffer holds the struct Particle of its header.
AnalyzedKernel Analyze(const std::string& header) {
  const std::string text =
      "#include \"k.h\"\n#define KERNELINPUTS \\\n(Block<Particle>) particles\n\n"
      "OSTRA_PARALLEL_KERNEL(K, KERNELINPUTS)\n{\n}\nOSTRA_PARALLEL_KERNEL_END\n";
  Source source{.fileName = "k.krn", .text = text};
  source.readHeader = [&header](const std::string& name, const std::string&) {
    return std::optional(Header{name, header});
  };
  auto kernel = AnalyzeKernel(source);
  EXPECT_TRUE(kernel.IsOk());
  return std::move(*kernel);
}

std::string FindLayoutErrors(const std::string& members) {
  return ListErrors(Analyze("struct Particle\n{\n" + members + "\n};\n"));
}

TEST(StructLayoutTest, MembersFollowEachOtherWithoutGaps) {
  const AnalyzedKernel kernel = Analyze(
      "struct Body\n{\nvec3 axis;\nfloat mass;\n};\n"
      "struct Unused\n{\nbool isUnused;\n};\n"
      "struct Particle\n{\nvec3 position;\nuint cells[3];\nBody bodies[2];\nmat3 frame;\nmat4 turn;\nvec2 size;\n};\n");
  ASSERT_EQ(ListErrors(kernel), "");
  ASSERT_EQ(kernel.structs.size(), 2u);
  EXPECT_EQ(kernel.structs[0].name, "Body");
  EXPECT_EQ(kernel.structs[0].size, 16u);
  const StructLayout& particle = kernel.structs[1];
  EXPECT_EQ(particle.size, 164u);
  EXPECT_EQ(particle.alignment, 4u);
  ASSERT_EQ(particle.members.size(), 6u);
  const UInt32 offsets[] = {0, 12, 24, 56, 92, 156};
  for (std::size_t i = 0; i < 6; ++i) EXPECT_EQ(particle.members[i].offset, offsets[i]) << i;
  EXPECT_EQ(particle.members[1].count, 3u);
  EXPECT_EQ(particle.members[2].structure, 0u);
}

TEST(StructLayoutTest, IntegersOfAllSizesFitWithoutGaps) {
  const AnalyzedKernel kernel =
      Analyze("struct Particle\n{\nInt64 a;\nuint64_t b;\nUInt8 c[2];\nInt16 d;\nint e;\n};\n");
  ASSERT_EQ(ListErrors(kernel), "");
  const StructLayout& particle = kernel.structs.at(0);
  EXPECT_EQ(particle.size, 24u);
  EXPECT_EQ(particle.alignment, 8u);
  EXPECT_EQ(particle.members.at(3).offset, 18u);
  EXPECT_EQ(FindLayoutErrors("Int64 a;\nint b;"),
            "4:5: the struct \"Particle\" has 12 bytes at the member \"b\", where a multiple of 8 is needed: languages "
            "fill such gaps differently, so add members or change their order");
  EXPECT_EQ(FindLayoutErrors("UInt8 a;\nInt16 b;"),
            "4:7: the struct \"Particle\" has 1 bytes at the member \"b\", where a multiple of 2 is needed: languages "
            "fill such gaps differently, so add members or change their order");
}

TEST(StructLayoutTest, HalfFloatsFitWithoutGaps) {
  EXPECT_EQ(Analyze("struct Particle\n{\nhalf a;\nhalf3 b;\n};\n").structs.at(0).size, 8u);
  EXPECT_EQ(FindLayoutErrors("half a;\nfloat b;"),
            "4:7: the struct \"Particle\" has 2 bytes at the member \"b\", where a multiple of 4 is needed: languages "
            "fill such gaps differently, so add members or change their order");
  EXPECT_EQ(FindLayoutErrors("float a;\nhalf b;"),
            "4:6: the struct \"Particle\" has 6 bytes at the member \"b\", where a multiple of 4 is needed: languages "
            "fill such gaps differently, so add members or change their order");
}

TEST(StructLayoutTest, WhatOtherLanguagesKeepDifferentlyIsRefused) {
  EXPECT_EQ(FindLayoutErrors("float a;\nbool isOn;"),
            "4:6: the member \"isOn\" of the struct \"Particle\" is bool: a bool has 1 byte on the CPU and 4 on a GPU: "
            "use uint");
  EXPECT_EQ(FindLayoutErrors("Vec2<UInt8> a;\nVec4<Int64> b;\nFloat64 c;"),
            "3:13: the member \"a\" of the struct \"Particle\" is Vec2<UInt8>: structs in buffers have no vectors of "
            "integers "
            "of 8, 16 and 64 bits: give each component a member of its own, or use an array\n"
            "4:13: the member \"b\" of the struct \"Particle\" is Vec4<Int64>: structs in buffers have no vectors of "
            "integers "
            "of 8, 16 and 64 bits: give each component a member of its own, or use an array\n"
            "5:9: the member \"c\" of the struct \"Particle\" is double: structs in buffers have no 64-bit floats: use "
            "float");
  EXPECT_EQ(FindLayoutErrors("AffineMatrix32 a;"),
            "3:16: the member \"a\" of the struct \"Particle\" is AffineMatrix32: GPU kernels have no affine matrices: "
            "use mat4");
  EXPECT_EQ(
      FindLayoutErrors("mat2 a;"),
      "3:6: the member \"a\" of the struct \"Particle\" is mat2: structs in buffers have the matrices mat3 and mat4");
  EXPECT_EQ(FindLayoutErrors("float a[2][3];"),
            "3:7: the member \"a\" of the struct \"Particle\" is float[2][3]: structs in buffers have no arrays of "
            "arrays");
}

TEST(StructLayoutTest, AStructThatNoHeaderHasIsNamed) {
  const std::string text =
      "the elements of this buffer are \"Particle\", which is neither a type of kernels nor a struct of the kernel's "
      "headers";
  EXPECT_EQ(ListErrors(Analyze("")), "3:8: " + text);
  EXPECT_EQ(ListErrors(Analyze("struct Partikle\n{\nfloat a;\n};\n")), "3:8: " + text + "; did you mean \"Partikle\"?");
}

TEST(StructLayoutTest, StructsOfTheKernelFileNeedThePlainForm) {
  const std::string text =
      "struct Particle\n{\n\tfloat a;\n};\n\n#define KERNELINPUTS \\\n(Block<Particle>) particles\n\n"
      "OSTRA_PARALLEL_KERNEL(K, KERNELINPUTS)\n{\n}\nOSTRA_PARALLEL_KERNEL_END\n";
  const AnalyzedKernel kernel = AnalyzeText(text);
  EXPECT_EQ(ListErrors(kernel), "");
  ASSERT_EQ(kernel.structs.size(), 1u);
  EXPECT_EQ(kernel.resolved.extensions, kernel.resolved.structs);
}

}  // namespace
}  // namespace ostra::kernellanguage

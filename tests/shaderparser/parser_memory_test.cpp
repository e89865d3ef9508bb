// A parse when memory runs out: at every allocation.
#include "tests/shaderparser/parser_fixture.h"
#include "tests/support/diagnostic_recorder.h"
#include "tests/support/fault_injection.h"

namespace ostra::test {
namespace {

class ParserMemoryTest : public ParserTest {
 protected:
  // A file that uses everything, and its headers.
  void WriteEverything() const {
    Write("k.h",
          "#ifndef K_H__\n#define K_H__\n// INCLUDE_STRUCTS_BEGIN\n#include \"PNanoVDB.h\"\n#include \"b.h\"\n"
          "// INCLUDE_STRUCTS_END\n#define LIMIT 8\nstruct S\n{\nFloat32 a;\nVector32 b;\n};\n"
          "inline Float32 f(const Block<Float32>& a, INOUT Int32 b[LIMIT])\n{\na;\n}\n#endif\n");
    Write("b.h", "#ifndef B_H__\n#define B_H__\n#define OSTRA_INCLUDE_AS_FULLTEXT\nfull\n");
    Write("PNanoVDB.h", "#define OSTRA_INCLUDE_AS_FULLTEXT\nvdb\n");
    Write("k.krn",
          "GROUPSIZE(8, 8, 1)\n\nconst TYPE a = Sqrt(1);\n#define KERNELINPUTS \\\n(TYPE) x, \\\n(const Block<TYPE>) "
          "y, \\\n"
          "(TextureSampler_2D_RGBA_F32_LINEAR) t\n\ninline TYPE g(CPU_CONSTREF(TYPE) x)\n{\nreturn "
          "CPU_PASS_BUFFER(x);\n}\n"
          "OSTRA_PARALLEL_KERNEL(K, KERNELINPUTS)\n{\nGROUPSHAREDMEM(float, tile, 64)\nMAKELOCAL(tile, 64, f)\n"
          "x = LOCALDATA(tile, 0, 1) + LOCALDATA(tile, 1, 2);\nATOMIC uint c;\nsqmat m = matoff(m);\n"
          "c = GetFramebufferTexel(a, b);\nADDNOISECALL\n" +
              std::string(300, 'x') + "Sqrt(" + std::string(300, 'y') + ")\n}\nOSTRA_PARALLEL_KERNEL_END\n");
  }
};

TEST_F(ParserMemoryTest, EveryAllocationMayFailAndNothingLeaks) {
  WriteEverything();
  const Url file = MakeUrl("k.krn");
  for (const Id& target : {kTargetHlsl, kTargetGlsl, kTargetMetal}) {
    const DataDictionary options = MakeOptions({.templateArgument = "Float32", .multisampling = 4});
    const DiagnosticRecorder diagnostics;
    const Int failures = ExpectEveryAllocationFailureIsReported([&]() -> Result<void> {
      OSTRA_ASSIGN_OR_RETURN(const ParserRef parser, ShaderParser::Create(target));
      return parser->Init(file, options);
    });
    EXPECT_GT(failures, 60);
  }
}

TEST_F(ParserMemoryTest, AParserThatFailedForMemoryParsesTheNextTime) {
  WriteEverything();
  const Url file = MakeUrl("k.krn");
  const DataDictionary options = MakeOptions({.templateArgument = "Float32", .multisampling = 4});
  const DiagnosticRecorder diagnostics;
  const ParserRef expected = MakeParser(kTargetHlsl);
  ASSERT_THAT(expected->Init(file, options), IsOk());
  for (Int n = 1; n < 10000; ++n) {
    const ParserRef parser = MakeParser(kTargetHlsl);
    AllocationFaults::FailNth(n);
    const auto result = parser->Init(file, options);
    const Bool hasFired = AllocationFaults::HasFired();
    AllocationFaults::Disable();
    if (!hasFired) return;
    ASSERT_THAT(result, IsErrorOfKind(kOutOfMemoryError));
    ASSERT_THAT(parser->Init(file, options), IsOk());
    ASSERT_EQ(ToText(parser->GetKernelCode()), ToText(expected->GetKernelCode()));
    ASSERT_EQ(parser->GetInputEntries().GetCount(), expected->GetInputEntries().GetCount());
    ASSERT_EQ(parser->GetKernelCodeOrigins().GetCount(), expected->GetKernelCodeOrigins().GetCount());
  }
  ADD_FAILURE() << "The parse makes more allocations than were tried.";
}

TEST_F(ParserMemoryTest, LinesWithoutKeywordsNeedNoAllocations) {
  const auto countFor = [&](int lines) {
    std::string text = "FP_KERNEL(K)\n";
    for (int i = 0; i < lines; ++i) text += "vec4 color = vec4(a, b, c, d) * 0.5;\n";
    Write("k.krn", text + "FP_KERNEL_END\n");
    const ParserRef parser = MakeParser(kTargetGlsl);
    const Url file = MakeUrl("k.krn");
    const Int before = AllocationFaults::GetCount();
    EXPECT_THAT(parser->Init(file, DataDictionary()), IsOk());
    return AllocationFaults::GetCount() - before;
  };
  // Only the texts and lists themselves grow, by doubling.
  EXPECT_LT(countFor(4000) - countFor(1000), 20);
}

}  // namespace
}  // namespace ostra::test

// Generated kernels of 200 KB and 1 MB, thousands of small functions that the body calls: time and memory from the file
// to SPIR-V.
#include "bench/workloads/large_program.h"

#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <iterator>

#include "bench/child.h"
#include "bench/program.h"
#include "bench/workloads/workloads.h"
#include "ostra/shadercompiler/shader_compiler.h"
#include "parallelprogram/shaderassembly/assembly_records.h"

namespace bench {
namespace {

using namespace ostra;

constexpr std::size_t kSmall = 200000, kLarge = 1000000;

std::string MakeKernel(std::size_t size) {
  std::string text = "#define KERNELINPUTS \\\n(UInt32) count, \\\n(Block<Float32>) target\n\n", calls;
  for (std::size_t i = 0; text.size() < size; ++i) {
    const std::string number = std::to_string(i);
    text += "inline float Step" + number + "(float x, float y)\n{\n\tfloat a = x * " + std::to_string(i % 7) +
            ".5 + y;\n\tfloat b = sqrt(abs(a)) + sin(x);\n\tif (a > b) return a - b;\n\treturn a * b + " + number +
            ".0;\n}\n\n";
    calls += "\t\tx = Step" + number + "(x, " + number + ".0);\n";
  }
  return text +
         "OSTRA_PARALLEL_KERNEL(Many, KERNELINPUTS)\n{\n\tuint i = LinearInvocation();\n\tif (i < UNIFORM(count))\n"
         "\t{\n\t\tfloat x = UNIFORM_BUFFER(target)[i];\n" +
         calls + "\t\tUNIFORM_BUFFER(target)[i] = x;\n\t}\n}\nOSTRA_PARALLEL_KERNEL_END\n";
}

Bool Compile(const Url& file, const Id& language, Bool isOptimized) {
  const StrongRef<ShaderParser> parser = Need(ShaderParser::Create(language));
  Need(parser->Init(file, DataDictionary()));
  const ShaderRecords records = Need(MakeShaderRecords(*parser, DrawportStage::Compute));
  const AssembledShader assembled = Need(AssembleShader(records));
  return Need(CompileShader(language, records.stage, assembled, {.isOptimized = isOptimized})).IsCompiled();
}

bool RunInThisProcess(std::size_t size, Bool isCheck) {
  const TemporaryFolder folder;
  const std::string path = (folder.GetPath() / "net.ostra.bench.large.krn").string();
  std::ofstream(path, std::ios::binary) << MakeKernel(size);
  const Url file = Need(Url::Create(path));
  const auto start = std::chrono::steady_clock::now();
  bool isRight = Compile(file, kShadingLanguageGlsl, !isCheck);
  if (isCheck) isRight = Compile(file, kShadingLanguageHlsl, false) && isRight;
  const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  std::printf("%f %f\n", time.count(), static_cast<double>(usage.ru_maxrss) / 1024.0);
  return isRight;
}

struct Part {
  const char* name;
  const char* peer;
  const char* size;
  std::vector<double> milliseconds, mebibytes;
};

}  // namespace

bool RunCheck200(const Options&) { return RunInThisProcess(kSmall, true); }
bool RunCheck1000(const Options&) { return RunInThisProcess(kLarge, true); }
bool RunDevice200(const Options&) { return RunInThisProcess(kSmall, false); }
bool RunDevice1000(const Options&) { return RunInThisProcess(kLarge, false); }

bool RunLargeProgram(const Options& options) {
  Part parts[] = {{"large_check_200", "ours-check", "200 KB", {}, {}},
                  {"large_check_1000", "ours-check", "1 MB", {}, {}},
                  {"large_device_200", "ours-gpu", "200 KB", {}, {}},
                  {"large_device_1000", "ours-gpu", "1 MB", {}, {}}};
  for (int run = 0; run < options.runs; ++run) {
    for (Part& part : parts) {
      if (!Wants(options, part.peer)) continue;
      const std::vector<double> figures = RunPart(part.name, CacheFolder());
      part.milliseconds.push_back(figures.at(0));
      part.mebibytes.push_back(figures.at(1));
    }
  }
  for (const Part& part : parts) {
    if (part.milliseconds.empty()) continue;
    PrintFigure(part.peer, "large_program", part.size, "source_to_spirv", "ms", part.milliseconds);
    PrintFigure(part.peer, "large_program", part.size, "memory", "MiB", part.mebibytes);
  }
  return true;
}

}  // namespace bench

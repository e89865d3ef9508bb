// Generated kernels of 200 KB and 1 MB, thousands of small functions that the body calls: time and memory from the file
// to SPIR-V, and to the result of a device.
#include "bench/workloads/large_program.h"

#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <iterator>

#include "bench/child.h"
#include "bench/gpu_program.h"
#include "bench/program.h"
#include "bench/workloads/workloads.h"
#include "ostra/core/silent_diagnostics.h"
#include "ostra/shadercompiler/shader_compiler.h"
#include "parallelprogram/shaderassembly/assembly_records.h"

namespace bench {
namespace {

using namespace ostra;

constexpr std::size_t kSmall = 200000, kLarge = 1000000;

// What the functions of a generated kernel are like. `number` is that of the function.
struct Shape {
  const char* name;
  std::string (*makeFunction)(const std::string& number);
  std::string (*makeCall)(const std::string& number);  // from the body
};

std::string CallWithNumber(const std::string& number) { return "x = Step" + number + "(x, " + number + ".0);"; }

constexpr Shape kPlain = {"plain",
                          [](const std::string& number) {
                            return "inline float Step" + number + "(float x, float y)\n{\n\tfloat a = x * 2.5 + y;\n" +
                                   "\tfloat b = sqrt(abs(a)) + sin(x);\n\tif (a > b) return a - b;\n\treturn a * b + " +
                                   number + ".0;\n}\n\n";
                          },
                          &CallWithNumber};
constexpr Shape kLoops = {"loops",
                          [](const std::string& number) {
                            return "inline float Step" + number + "(float x, float y)\n{\n\tfloat a = x;\n" +
                                   "\tfor (int k = 0; k < 5; ++k)\n\t{\n\t\ta = a * 0.5 + y;\n" +
                                   "\t\tif (a > 9.0) a = a - 9.0;\n\t}\n\treturn a + " + number + ".0;\n}\n\n";
                          },
                          &CallWithNumber};
// Functions that call the one before them, in chains of 100.
constexpr Shape kChains = {
    "chains",
    [](const std::string& number) {
      const int i = std::stoi(number);
      const std::string before = i % 100 == 0 ? "x" : "Step" + std::to_string(i - 1) + "(x * 0.5, y)";
      return "inline float Step" + number + "(float x, float y)\n{\n\tfloat a = " + before +
             ";\n\tfloat b = sqrt(abs(a)) + sin(x);\n\treturn a * b + " + number + ".0;\n}\n\n";
    },
    [](const std::string& number) { return number.ends_with("99") ? CallWithNumber(number) : std::string(); }};
constexpr Shape kVectors = {
    "vectors",
    [](const std::string& number) {
      return "inline vec4 Step" + number + "(vec4 x, vec3 y)\n{\n\tvec3 a = x.xyz * 2.5 + y;\n" +
             "\tvec3 b = normalize(a) + vec3(sin(x.x), cos(x.y), x.z);\n\treturn vec4(a.x, b.y, a.z, dot(a, b) + " +
             number + ".0);\n}\n\n";
    },
    [](const std::string& number) { return "v = Step" + number + "(v, vec3(" + number + ".0, 1.0, 2.0));"; }};
constexpr Shape kReferences = {
    "references",
    [](const std::string& number) {
      return "inline void Step" + number + "(INOUT float x, INOUT vec4 y)\n{\n\tx = x * 2.5 + y.x;\n" +
             "\ty = y * x + vec4(x, 1.0, 2.0, " + number + ".0);\n\tif (x > 9.0) x = x - 9.0;\n}\n\n";
    },
    [](const std::string& number) { return "Step" + number + "(x, v);"; }};

std::string MakeKernel(const Shape& shape, std::size_t size) {
  std::string text = "#define KERNELINPUTS \\\n(UInt32) count, \\\n(Block<Float32>) target\n\n", calls;
  for (std::size_t i = 0; text.size() + calls.size() < size; ++i) {
    const std::string number = std::to_string(i);
    text += shape.makeFunction(number);
    calls += "\t\t" + shape.makeCall(number) + "\n";
  }
  return text +
         "OSTRA_PARALLEL_KERNEL(Many, KERNELINPUTS)\n{\n\tuint i = LinearInvocation();\n\tif (i < UNIFORM(count))\n"
         "\t{\n\t\tfloat x = UNIFORM_BUFFER(target)[i];\n\t\tvec4 v = vec4(x, x, x, x);\n" +
         calls + "\t\tUNIFORM_BUFFER(target)[i] = x + v.x;\n\t}\n}\nOSTRA_PARALLEL_KERNEL_END\n";
}

Bool Compile(const Url& file, const Id& language, Bool isOptimized) {
  const StrongRef<ShaderParser> parser = Need(ShaderParser::Create(language));
  Need(parser->Init(file, DataDictionary()));
  const ShaderRecords records = Need(MakeShaderRecords(*parser, DrawportStage::Compute));
  const AssembledShader assembled = Need(AssembleShader(records));
  return Need(CompileShader(language, records.stage, assembled, {.isOptimized = isOptimized})).IsCompiled();
}

double ToMilliseconds(const timeval& time) { return double(time.tv_sec) * 1e3 + double(time.tv_usec) * 1e-3; }

bool RunInThisProcess(const Shape& shape, std::size_t size, Bool isCheck) {
  const TemporaryFolder folder;
  const std::string path = (folder.GetPath() / "net.ostra.bench.large.krn").string();
  std::ofstream(path, std::ios::binary) << MakeKernel(shape, size);
  const Url file = Need(Url::Create(path));
  const auto start = std::chrono::steady_clock::now();
  bool isRight = Compile(file, kShadingLanguageGlsl, !isCheck);
  if (isCheck) isRight = Compile(file, kShadingLanguageHlsl, false) && isRight;
  const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  std::printf("%f %f %f\n", time.count(), ToMilliseconds(usage.ru_utime) + ToMilliseconds(usage.ru_stime),
              static_cast<double>(usage.ru_maxrss) / 1024.0);
  return isRight;
}

// A kernel on the device: AddKernel and the first dispatch, with which software drivers compile. A kernel that is to be
// refused is not dispatched: what counts is that this is told before the driver works.
bool AddInThisProcess(const Shape& shape, std::size_t size, Bool isRefused) {
  const TemporaryFolder folder;
  const std::string path = (folder.GetPath() / "net.ostra.bench.large.krn").string();
  std::ofstream(path, std::ios::binary) << MakeKernel(shape, size);
  const ParallelProgramRef program = Need(CreateObject<ParallelProgramInterface>(kGpuProgramClass));
  Need(program->Init(Need(Url::Create(GetProgramFolder())), nullptr, 0, true));
  BaseArray<Float32> target;
  Need(target.Resize(64));
  Need(program->StoreUniformBufferData("target"_iid, target));
  const SilentDiagnosticStream silence;
  const auto start = std::chrono::steady_clock::now();
  Need(program->AddKernel("kernel"_iid, Need(Url::Create(path)), true));
  Need(program->SetUniform("count"_iid, UInt32{64}));
  const Result<void> updated = program->UpdateUniforms();
  if (updated) {
    Need(program->DispatchKernel(64, 1, 1, false));
    Need(program->Execute(true));
  }
  const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  std::printf("%f %f %f\n", time.count(), ToMilliseconds(usage.ru_utime) + ToMilliseconds(usage.ru_stime),
              static_cast<double>(usage.ru_maxrss) / 1024.0);
  return updated.IsOk() != isRefused;
}

struct Part {
  const char* name;
  const char* peer;
  std::string size;
  bool isOnDevice = false;
  std::vector<double> milliseconds = {}, processor = {}, mebibytes = {};
};

}  // namespace

bool RunCheck200(const Options&) { return RunInThisProcess(kPlain, kSmall, true); }
bool RunCheck1000(const Options&) { return RunInThisProcess(kPlain, kLarge, true); }
bool RunCheckLoops(const Options&) { return RunInThisProcess(kLoops, kLarge, true); }
bool RunCheckChains(const Options&) { return RunInThisProcess(kChains, kLarge, true); }
bool RunCheckVectors(const Options&) { return RunInThisProcess(kVectors, kLarge, true); }
bool RunCheckReferences(const Options&) { return RunInThisProcess(kReferences, kLarge, true); }
bool RunDevice200(const Options&) { return RunInThisProcess(kPlain, kSmall, false); }
bool RunDevice1000(const Options&) { return RunInThisProcess(kPlain, kLarge, false); }

bool RunAdd100(const Options&) { return AddInThisProcess(kPlain, kSmall / 2, false); }
bool RunAdd200(const Options&) { return AddInThisProcess(kPlain, kSmall, false); }
bool RunAdd1000(const Options&) { return AddInThisProcess(kPlain, kLarge, true); }

bool RunLargeProgram(const Options& options) {
  const auto large = [](const Shape& shape) { return std::string("1 MB ") + shape.name; };
  Part parts[] = {{"large_check_200", "ours-check", "200 KB"},
                  {"large_check_1000", "ours-check", "1 MB"},
                  {"large_check_loops", "ours-check", large(kLoops)},
                  {"large_check_chains", "ours-check", large(kChains)},
                  {"large_check_vectors", "ours-check", large(kVectors)},
                  {"large_check_references", "ours-check", large(kReferences)},
                  {"large_device_200", "ours-gpu", "200 KB"},
                  {"large_device_1000", "ours-gpu", "1 MB"},
                  {"large_add_100", "ours-add", "100 KB", true},
                  {"large_add_200", "ours-add", "200 KB", true},
                  {"large_add_1000", "ours-add", "1 MB refused", true}};
  const bool hasDevice = !FindGpu(options).empty();
  for (int run = 0; run < options.runs; ++run) {
    for (Part& part : parts) {
      if (!Wants(options, part.peer) || (part.isOnDevice && !hasDevice)) continue;
      const std::vector<double> figures = RunPart(part.name, CacheFolder());
      part.milliseconds.push_back(figures.at(0));
      part.processor.push_back(figures.at(1));
      part.mebibytes.push_back(figures.at(2));
    }
  }
  for (const Part& part : parts) {
    if (part.milliseconds.empty()) continue;
    const std::string metric = part.isOnDevice ? "source_to_result" : "source_to_spirv";
    PrintFigure(part.peer, "large_program", part.size, metric, "ms", part.milliseconds);
    PrintFigure(part.peer, "large_program", part.size, metric + "_processor", "ms", part.processor);
    PrintFigure(part.peer, "large_program", part.size, "memory", "MiB", part.mebibytes);
  }
  return true;
}

}  // namespace bench

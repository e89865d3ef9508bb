// The shader parser over a kernel file of ten thousand lines with three headers, and many threads at its gate.
#include <atomic>
#include <fstream>
#include <memory>
#include <string>
#include <thread>

#include "bench/program.h"
#include "bench/temporary_folder.h"
#include "bench/workloads/workloads.h"
#include "ostra/io/file.h"
#include "parallelprogram/shaderparser/shader_parser.h"

namespace bench {
namespace {

using namespace ostra;

constexpr int kLines = 10000;
constexpr int kHeaderLines = 1000;
// A line in so many has something for the rules; the kernels of the library have one in about seven.
constexpr int kRuleEvery = 7;
constexpr int kFunctionEvery = 40;

// Lines as kernels have them.
const char* const kPlainLines[] = {
    "\tfloat3 position = UNIFORM_BUFFER(points)[index].xyz;",
    "\tint x = int(InGlobalInvocationID.x);",
    "\tif (x >= UNIFORM(width) || y >= UNIFORM(height))",
    "\t\t// The nearest of the neighbours wins.",
    "\tvec4 sum = vec4(0.0, 0.0, 0.0, 0.0);",
    "\tfor (int row = -2; row <= 2; ++row)",
    "\t\tfloat weight = UNIFORM_BUFFER(weights)[(row + 2) * 5 + column + 2];",
    "",
    "\t\tsum = sum + UNIFORM_BUFFER(source)[clamp(y + row, 0, UNIFORM(height) - 1) * UNIFORM(width) + x] * weight;",
    "\tUNIFORM_BUFFER(target)[y * UNIFORM(width) + x] = mix(a, b, smoothstep(0.0, 1.0, t));",
};
const char* const kRuleLines[] = {
    "\tfloat length = Sqrt(dot(v, v));",
    "\tAtomicAdd(GetAtomicCounter(counter), 1u, old);",
    "\tfloat value = LOCALDATA(tile, index, position) * 0.5;",
    "\tsqmat rotation = MakeRotation(CPU_CONSTREF(Angle) angle);",
    "\tATOMIC uint found = 0;",
};

std::string MakeLines(int count) {
  std::string text;
  for (int i = 0; i < count; ++i) {
    text += i % kRuleEvery == 0 ? kRuleLines[i / kRuleEvery % std::size(kRuleLines)]
                                : kPlainLines[i % std::size(kPlainLines)];
    text += '\n';
  }
  return text;
}

std::string MakeFunctions(int lines, const std::string& name) {
  std::string text;
  for (int i = 0; i < lines; i += kFunctionEvery)
    text += "inline Float32 " + name + std::to_string(i) + "(INOUT Vector32 a, const Block<Float32>& b)\n{\n" +
            MakeLines(kFunctionEvery - 3) + "}\n";
  return text;
}

std::string MakeHeader(const std::string& name, const std::string& includes) {
  return "#ifndef " + name + "_H__\n#define " + name + "_H__\n// INCLUDE_STRUCTS_BEGIN\n" + includes +
         "// INCLUDE_STRUCTS_END\n#define " + name + "_LIMIT 8\nstruct " + name +
         "\n{\nVector32 position;\nFloat32 mass;\n};\n" + MakeFunctions(kHeaderLines, name) + "#endif\n";
}

// The files, in a folder that goes with them.
class Sources {
 public:
  Sources() {
    Write("k.krn", "GROUPSIZE(64, 1, 1)\n\n#define KERNELINPUTS \\\n(Int32) width, \\\n(Block<Vector4d32>) target\n\n" +
                       MakeFunctions(kLines / 2, "F") + "OSTRA_PARALLEL_KERNEL(K, KERNELINPUTS)\n{\n" +
                       MakeLines(kLines / 2) + "}\nOSTRA_PARALLEL_KERNEL_END\n");
    Write("k.h", MakeHeader("A", "#include \"b.h\"\n#include \"c.h\"\n"));
    Write("b.h", MakeHeader("B", ""));
    Write("c.h", MakeHeader("C", ""));
  }

  Url GetUrl(const char* name) const { return Need(Url::Create((_folder.GetPath() / name).string())); }
  double GetBytes() const { return _bytes; }

 private:
  void Write(const char* name, const std::string& text) {
    std::ofstream(_folder.GetPath() / name, std::ios::binary) << text;
    _bytes += static_cast<double>(text.size());
  }
  TemporaryFolder _folder;
  double _bytes = 0;
};

constexpr int kFunctions = kLines / 2 / kFunctionEvery + 3 * kHeaderLines / kFunctionEvery;

bool IsRight(const ShaderParser& parser, const Id& target) {
  const std::string_view declaration = parser.GetFunctions()[0].declaration;
  const std::string_view code = parser.GetKernelCode();
  const std::string_view atomic = target == kTargetMetal ? "\natomic_uint found" : "\nuint found";
  const std::string_view block = target == kTargetHlsl    ? "Float32 B0(inout Vector32 a, StructuredBuffer<Float32>& b)"
                                 : target == kTargetMetal ? "Float32 B0(inout Vector32 a, const Float32*& b)"
                                                          : "& b)";
  return parser.GetFunctions().GetCount() == kFunctions && parser.GetStructs().GetCount() == 3 &&
         declaration == block && code.find(atomic) != std::string_view::npos &&
         code.find("Sqrt") == std::string_view::npos && code.find("float length = sqrt(") != std::string_view::npos;
}

void AddParser(Contest& contest, const std::shared_ptr<Sources>& sources, std::vector<Id> targets) {
  auto last = std::make_shared<std::vector<StrongRef<ShaderParser>>>();
  contest.Add(
      "ours",
      [=] {
        last->clear();
        for (const Id& target : targets) {
          last->push_back(Need(ShaderParser::Create(target)));
          if (!last->back()->Init(sources->GetUrl("k.krn"), DataDictionary())) return false;
        }
        return true;
      },
      [=] {
        for (std::size_t i = 0; i < targets.size(); ++i)
          if (!IsRight(*(*last)[i], targets[i])) return false;
        return true;
      });
}

// What no parser can go below: the files in memory, as text.
void AddReading(Contest& contest, const std::shared_ptr<Sources>& sources, std::size_t times) {
  auto bytes = std::make_shared<double>(0);
  contest.Add(
      "read",
      [=] {
        *bytes = 0;
        for (std::size_t i = 0; i < times; ++i) {
          for (const char* name : {"k.krn", "k.h", "b.h", "c.h"}) {
            const auto file = Need(ReadFileToMemory(sources->GetUrl(name)));
            *bytes += static_cast<double>(Need(DecodeText(file.GetBlock())).GetCount());
          }
        }
        return true;
      },
      [=] { return *bytes == sources->GetBytes() * static_cast<double>(times); });
}

bool RunTargets(const Options& options, const std::string& size, const std::vector<Id>& targets) {
  auto sources = std::make_shared<Sources>();
  Contest contest("translate", size, "throughput", "MB/s");
  AddParser(contest, sources, targets);
  AddReading(contest, sources, targets.size());
  const double bytes = sources->GetBytes() * static_cast<double>(targets.size());
  return contest.Run(options, [=](double seconds) { return bytes / seconds / 1e6; });
}

// Threads that all want the same parser parsed; how long it takes until each of them has it.
bool RunGate(const Options& options) {
  constexpr int kThreads = 8;
  auto sources = std::make_shared<Sources>();
  auto parser = std::make_shared<StrongRef<ShaderParser>>();
  Contest contest("translate", "10^4 lines, 8 threads at one parser", "latency", "ms");
  contest.Add(
      "ours",
      [=] {
        *parser = Need(ShaderParser::Create(kTargetGlsl));
        std::atomic<int> good{0};
        std::vector<std::thread> threads;
        for (int i = 0; i < kThreads; ++i) {
          threads.emplace_back([&] {
            if ((*parser)->Init(sources->GetUrl("k.krn"), DataDictionary())) ++good;
          });
        }
        for (std::thread& thread : threads) thread.join();
        return good == kThreads;
      },
      [=] { return IsRight(**parser, kTargetGlsl); });
  return contest.Run(options, [](double seconds) { return seconds * 1e3; });
}

}  // namespace

bool RunTranslate(const Options& options) {
  return RunTargets(options, "10^4 lines", {kTargetHlsl, kTargetGlsl, kTargetMetal}) &&
         RunTargets(options, "10^4 lines, HLSL", {kTargetHlsl}) &&
         RunTargets(options, "10^4 lines, GLSL", {kTargetGlsl}) &&
         RunTargets(options, "10^4 lines, METAL", {kTargetMetal}) && RunGate(options);
}

}  // namespace bench

#include "parallelprogram/kernelfront/lane_forms.h"

#include <algorithm>

#include "parallelprogram/kernelfront/failure.h"
#include "parallelprogram/kernellanguage/lane_code.h"

namespace ostra::kernelfront {
namespace {

// An instruction level: its number for lanes.inl and its name in InstructionLevel.
struct Level {
  std::string_view number, name;
};
constexpr Level kLevels[] = {{"0", "kBaseline"}, {"1", "kVectors256"}, {"2", "kVectors512"}};

// Each level has a text of its own, and what compilers take grows with all of them.
constexpr std::size_t kMaxText = std::size_t{1} << 18;

Bool IsLarge(const kernellanguage::SourceMap& sources) {
  std::size_t size = 0;
  for (Int i = 0; i < sources.GetFileCount(); ++i) size += sources.GetFile(i).text.size();
  return size > kMaxText;
}

kernellanguage::LaneCode PrintCode(const KernelFile& file, const kernellanguage::AnalyzedKernel& kernel) {
  if (kernel.notUnderstood) return {"", kernel.notUnderstood};
  if (IsLarge(kernel.sources)) {
    const auto offset = kernel.tree.nodes[kernel.tree.kernel].offset;
    return {"", kernellanguage::NotUnderstood{offset, "a text of more than 256 KiB"}};
  }
  return kernellanguage::PrintLaneCode(kernel,
                                       {.className = file.GetKernelName(), .parameters = file.MakeParametersName()});
}

// How a kernel runs whose invocations exchange values; the place is that of its first barrier.
kernellanguage::Diagnostic ExplainGroups(const kernellanguage::AnalyzedKernel& kernel) {
  const auto& size = kernel.resolved.groupSize;
  kernellanguage::Diagnostic note{
      .severity = kernellanguage::Severity::kNote,
      .offset = kernel.tree.nodes[kernel.tree.kernel].offset,
      .text = Join({"no wide form but whole groups of ", std::to_string(UInt64{size[0]} * size[1] * size[2]),
                    " invocations, one after the other"})};
  std::string lines;
  for (kernellanguage::NodeIndex node = 0; node < kernel.tree.nodes.size(); ++node) {
    if (!kernel.tree.Is(node, kernellanguage::NodeKind::kBarrier)) continue;
    const auto offset = kernel.tree.nodes[node].offset;
    if (lines.empty()) note.offset = offset;
    lines += Join({lines.empty() ? "" : ", ", std::to_string(kernel.sources.Locate(offset).line)});
  }
  note.text += lines.empty() ? ", without a barrier" : Join({", cut at the barriers in line ", lines});
  return note;
}

}  // namespace

std::string ExplainLaneForms(const KernelFile& file, const kernellanguage::AnalyzedKernel& kernel) {
  if (kernel.IsUnderstood() && kernel.groups.isNeeded)
    return kernellanguage::FormatDiagnostic(kernel.sources, ExplainGroups(kernel));
  const auto code = PrintCode(file, kernel);
  if (!code.refusal) return "";
  return kernellanguage::FormatDiagnostic(kernel.sources, {.severity = kernellanguage::Severity::kNote,
                                                           .offset = code.refusal->offset,
                                                           .text = "no wide form because of " + code.refusal->reason});
}

std::string ExplainReports(const kernellanguage::AnalyzedKernel& kernel, std::string_view reportTable) {
  // The first place: "kind", file, line, column, with tabs between them.
  std::string_view site = reportTable.substr(std::min(reportTable.find('\n') + 1, reportTable.size()));
  const std::string_view word = site.starts_with("print\t")    ? "PRINT"
                                : site.starts_with("assert\t") ? "ASSERT"
                                                               : "checks";
  std::string_view fields[4];
  for (std::string_view& field : fields) {
    field = site.substr(0, site.find('\t'));
    site.remove_prefix(std::min(field.size() + 1, site.size()));
  }
  const auto isThere = [&](kernellanguage::NodeIndex node) {
    const kernellanguage::SourceLocation place = kernel.sources.Locate(kernel.tree.nodes[node].offset);
    return place.file == fields[1] && std::to_string(place.line) == fields[2] &&
           std::to_string(place.column) == fields[3];
  };
  kernellanguage::NodeIndex node = 0;
  while (node < kernel.tree.nodes.size() && !isThere(node)) ++node;
  if (node == kernel.tree.nodes.size()) node = kernel.tree.kernel;
  return kernellanguage::FormatDiagnostic(kernel.sources, {.severity = kernellanguage::Severity::kNote,
                                                           .offset = kernel.tree.nodes[node].offset,
                                                           .text = Join({"no wide form because of ", word})});
}

std::string MakeLaneForms(const KernelFile& file, const kernellanguage::AnalyzedKernel& kernel) {
  const std::string& name = file.GetKernelName();
  const auto code = PrintCode(file, kernel);
  if (code.refusal) return "";
  std::string forms;
  const auto open = [&forms] {
    forms += "#include \"ostra/math/lanes/level_begin.inl\"\n";
    forms += Join({kOpenNamespaces, " namespace OSTRA_LANES {\nusing namespace ::ostra::OSTRA_LANES;\n"});
  };
  const auto closeNamespaces = [&forms] { forms += Join({"} ", kCloseNamespaces, "\n"}); };
  const auto closeLevel = [&forms] { forms += "#include \"ostra/math/lanes/level_end.inl\"\n"; };
  for (const Level& level : kLevels) {
    const Bool isPaired = code.isPaired && level.number == "2";
    forms += Join({"#if OSTRA_KERNEL_HAS_LANES(", level.number, ")\n#define OSTRA_LANE_LEVEL ", level.number, "\n"});
    forms += Join({"#include \"parallelprogram/program/kernel_lane", isPaired ? "_pairs" : "s", ".inl\"\n"});
    if (isPaired) {
      // The form for what is left of a row.
      open();
      forms += code.text;
      closeNamespaces();
      closeLevel();
      forms += "#define OSTRA_LANE_PAIRS\n";
    }
    open();
    const std::string form = Join({"Ostra", name, "Lanes"});
    forms += Join({code.text, "using OstraLoops = LaneLoops<", form, ", OstraGroupSize",
                   isPaired ? Join({", lanes16::", form}) : "", ">;\n"});
    closeNamespaces();
    forms += Join({"namespace ostra::kernel {\ntemplate <>\nstruct LaneForm<", name,
                   "Body, InstructionLevel::", level.name, "> : OSTRA_LANES::OstraLoops {};\n}\n"});
    closeLevel();
    forms += Join({isPaired ? "#undef OSTRA_LANE_PAIRS\n" : "", "#undef OSTRA_LANE_LEVEL\n#endif\n"});
  }
  return forms;
}

}  // namespace ostra::kernelfront

#include "parallelprogram/kernelfront/lane_forms.h"

#include <algorithm>

#include "parallelprogram/kernelfront/failure.h"
#include "parallelprogram/kernellanguage/lane_code.h"

namespace ostra::kernelfront {
namespace {

// An instruction level: its number for lanes.inl, its name in InstructionLevel, and how many numbers a kernel may have
// to run two vectors at a time: those that its loops keep fill the registers then.
struct Level {
  std::string_view number, name;
  kernellanguage::PairedNumbers mostPaired;
};
constexpr Level kLevels[] = {{"0", "kBaseline", {0, 0}}, {"1", "kVectors256", {16, 8}}, {"2", "kVectors512", {16, 16}}};

// Each level has a text of its own, and what compilers take grows with all of them.
constexpr std::size_t kMaxText = std::size_t{1} << 18;

Bool IsLarge(const kernellanguage::SourceMap& sources) {
  std::size_t size = 0;
  for (Int i = 0; i < sources.GetFileCount(); ++i) size += sources.GetFile(i).text.size();
  return size > kMaxText;
}

kernellanguage::NotUnderstood MakeTooLarge(const kernellanguage::AnalyzedKernel& kernel) {
  return {kernel.tree.nodes[kernel.tree.kernel].offset, "a text of more than 256 KiB"};
}

kernellanguage::LaneCode PrintCode(const KernelFile& file, const kernellanguage::AnalyzedKernel& kernel) {
  if (kernel.notUnderstood) return {"", kernel.notUnderstood};
  if (IsLarge(kernel.sources)) return {"", MakeTooLarge(kernel)};
  return kernellanguage::PrintLaneCode(kernel,
                                       {.className = file.GetKernelName(), .parameters = file.MakeParametersName()});
}

// The lines of the barriers, or that there are none.
std::string ListBarriers(const kernellanguage::AnalyzedKernel& kernel) {
  std::string lines;
  for (kernellanguage::NodeIndex node = 0; node < kernel.tree.nodes.size(); ++node) {
    if (!kernel.tree.Is(node, kernellanguage::NodeKind::kBarrier)) continue;
    const auto line = kernel.sources.Locate(kernel.tree.nodes[node].offset).line;
    lines += Join({lines.empty() ? "" : ", ", std::to_string(line)});
  }
  return lines.empty() ? ", without a barrier" : Join({", cut at the barriers in line ", lines});
}

// How a kernel runs whose invocations exchange values, and why not in lanes. The place is that of the first reason.
std::string ExplainGroups(const KernelFile& file, const kernellanguage::AnalyzedKernel& kernel) {
  const kernellanguage::GroupCode code = PrintGroupCode(file, kernel);
  if (code.refusal || code.laneRefusals.empty()) return "";
  const auto& [offset, reason] = code.laneRefusals.front();
  const auto& size = kernel.resolved.groupSize;
  const std::string groups =
      Join({"whole groups of ", std::to_string(UInt64{size[0]} * size[1] * size[2]), " invocations"});
  const std::string text =
      code.lanes.empty()
          ? Join({"no wide form because of ", reason, ", but ", groups, ", one after the other", ListBarriers(kernel)})
          : Join({"no wide form of this and what lies between the same barriers because of ", reason, "; ", groups,
                  ListBarriers(kernel), ", of which ", std::to_string(code.laneRefusals.size()), " of ",
                  std::to_string(code.pieceCount), " parts run one invocation after the other"});
  return kernellanguage::FormatDiagnostic(
      kernel.sources, {.severity = kernellanguage::Severity::kNote, .offset = offset, .text = text});
}

// The forms of all levels. `code` is compiled with `include` in a namespace of the level, and again for half as many
// lanes where it is paired; `specialize` gives what makes the form of a level known.
template <class Specialize>
std::string MakeForms(std::string_view code, const std::optional<kernellanguage::PairedNumbers>& paired,
                      Specialize&& specialize) {
  std::string forms;
  const auto open = [&forms] {
    forms += "#include \"ostra/math/lanes/level_begin.inl\"\n";
    forms += Join({kOpenNamespaces, " namespace OSTRA_LANES {\nusing namespace ::ostra::OSTRA_LANES;\n"});
  };
  const auto closeNamespaces = [&forms] { forms += Join({"} ", kCloseNamespaces, "\n"}); };
  const auto closeLevel = [&forms] { forms += "#include \"ostra/math/lanes/level_end.inl\"\n"; };
  for (const Level& level : kLevels) {
    const Bool hasPairs = paired && paired->all <= level.mostPaired.all && paired->kept <= level.mostPaired.kept;
    forms += Join({"#if OSTRA_KERNEL_HAS_LANES(", level.number, ")\n#define OSTRA_LANE_LEVEL ", level.number, "\n"});
    forms += Join({"#include \"parallelprogram/program/kernel_lane", hasPairs ? "_pairs" : "s", ".inl\"\n"});
    if (hasPairs) {
      // The form for what is left of a row.
      open();
      forms += code;
      closeNamespaces();
      closeLevel();
      forms += "#define OSTRA_LANE_PAIRS\n";
    }
    open();
    const auto [loops, form] = specialize(level, hasPairs);
    forms += Join({code, "using OstraLoops = ", loops, ";\n"});
    closeNamespaces();
    forms += Join({"namespace ostra::kernel {\ntemplate <>\nstruct ", form, " : OSTRA_LANES::OstraLoops {};\n}\n"});
    closeLevel();
    forms += Join({hasPairs ? "#undef OSTRA_LANE_PAIRS\n" : "", "#undef OSTRA_LANE_LEVEL\n#endif\n"});
  }
  return forms;
}

}  // namespace

std::string ExplainLaneForms(const KernelFile& file, const kernellanguage::AnalyzedKernel& kernel) {
  if (kernel.IsUnderstood() && kernel.groups.isNeeded) return ExplainGroups(file, kernel);
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
  const std::string lanes = Join({"Ostra", name, "Lanes"});
  return MakeForms(code.text, code.pairedNumbers, [&](const Level& level, Bool hasPairs) {
    const std::string half = hasPairs ? Join({level.number == "1" ? ", lanes8::" : ", lanes16::", lanes}) : "";
    return std::pair(Join({"LaneLoops<", lanes, ", OstraGroupSize", half, ">"}),
                     Join({"LaneForm<", name, "Body, InstructionLevel::", level.name, ">"}));
  });
}

kernellanguage::GroupCode PrintGroupCode(const KernelFile& file, const kernellanguage::AnalyzedKernel& kernel) {
  auto code = kernellanguage::PrintGroupCode(
      kernel, {.className = file.GetKernelName(), .parameters = file.MakeParametersName()});
  if (IsLarge(kernel.sources)) {
    code.lanes.clear();
    code.laneRefusals = {MakeTooLarge(kernel)};
  }
  return code;
}

std::string MakeGroupForms(const KernelFile& file, const kernellanguage::GroupCode& code) {
  if (code.lanes.empty()) return "";
  const std::string& name = file.GetKernelName();
  return MakeForms(code.lanes, {}, [&](const Level& level, Bool) {
    return std::pair(Join({"GroupLoops<Ostra", name, "Lanes, OstraGroupSize>"}),
                     Join({"GroupForm<", name, "Body, InstructionLevel::", level.name, ">"}));
  });
}

}  // namespace ostra::kernelfront

#include "parallelprogram/kernellanguage/group_code.h"

#include "parallelprogram/kernellanguage/group_printer.h"
#include "parallelprogram/kernellanguage/join.h"

namespace ostra::kernellanguage {

GroupCode PrintGroupCode(const AnalyzedKernel& kernel, const GroupCodeOptions& options) {
  if (auto refusal = FindUnprintable(kernel)) return {.text = {}, .refusal = std::move(refusal)};
  if (kernel.tree.HasFlag(kernel.tree.kernel, kIsMethodForm))
    return {.text = {}, .refusal = {{kernel.tree.nodes[kernel.tree.kernel].offset, "a kernel that can fail"}}};
  return GroupPrinter(kernel, options).Print();
}

GroupRun::GroupRun(const GroupKernel& kernel, GroupVariables& variables, const GroupValues& values, GroupLanes* lanes)
    : _output(kernel.tree, kernel.analyzed.sources),
      _expressions(kernel, variables, _output),
      _statements(kernel, {variables, values, _output, _expressions}),
      _cutStatements(kernel, {variables, values, _output, _expressions, _statements, lanes}) {
  variables.BeginRun();
  if (kernel.earlyReturn != kNoNode)
    _output.Write({"for (Bool& hasReturned : ostraMemory.ostraHasReturned) hasReturned = false;\n"});
  _cutStatements.Statement(kernel.body);
  _cutStatements.EndPiece();
}

GroupCode GroupPrinter::Print() {
  GroupCode code;
  const GroupRun learning(_kernel, _variables, _values, nullptr);
  code.refusal = learning.GetOutput().GetRefusal();
  if (code.refusal) return code;
  const GroupRun run(_kernel, _variables, _values, nullptr);
  code.refusal = run.GetOutput().GetRefusal();
  if (code.refusal) return code;
  PrintScalar(run.GetOutput(), code);
  PrintLanes(code);
  return code;
}

void GroupPrinter::PrintScalar(const GroupOutput& output, GroupCode& code) const {
  code.text =
      Join({"OSTRA_GROUP_KERNEL_CLASS(", _options.className, ", ", _options.parameters, ") {\nusing ",
            _options.className, "Values::", _options.className, "Values;\nstruct OstraMemory {\n", DeclareMemory(),
            "};\nvoid RunGroup([[maybe_unused]] const Vec3<UInt32>& InWorkGroupID, [[maybe_unused]] "
            "OstraMemory& ostraMemory) const {\n[[maybe_unused]] Bool ostraCondition = false;\n",
            output.GetConstants(), output.GetText(), "}\n};\n"});
}

void GroupPrinter::PrintLanes(GroupCode& code) {
  const UniformityTable uniformity = AnalyzeUniformity(_kernel.tree, _kernel.resolved, UniformityScope::kRowOfGroup);
  const GroupNames names = NameVariables(_kernel, _variables);
  const LaneCodeOptions options{.className = _options.className, .parameters = _options.parameters};
  LanePiecePrinter printer(_kernel.analyzed, uniformity, options, names);
  LaneCode common = printer.PrintCommon();
  code.pieceCount = _variables.GetPieceCount();
  if (_kernel.earlyReturn != kNoNode)
    common.refusal = {_kernel.tree.nodes[_kernel.earlyReturn].offset,
                      "a return behind which the others come to more than one part"};
  if (common.refusal) {
    code.laneRefusals = {*common.refusal};
    return;
  }
  GroupLanes lanes(_kernel, _variables, printer);
  const GroupRun run(_kernel, _variables, _values, &lanes);
  code.laneRefusals = lanes.GetRefusals();
  if (static_cast<int>(code.laneRefusals.size()) == code.pieceCount) return;
  const std::string values = Join({_options.className, "Values"});
  const std::string name = Join({"Ostra", _options.className, "Lanes"});
  code.lanes =
      Join({"struct ", name, " : ", values, " {\n", "explicit ", name, "(const ", values, "& values) : ", values,
            "(values) {}\nusing OstraMemory = ", _options.className, "Body::OstraMemory;\n", common.text,
            "OSTRA_KERNEL_INLINE void RunGroup([[maybe_unused]] const Vec3<UInt32>& InWorkGroupID, "
            "[[maybe_unused]] OstraMemory& ostraMemory) const {\n[[maybe_unused]] Bool ostraCondition = "
            "false;\n",
            run.GetOutput().GetConstants(), run.GetOutput().GetText(), "}\n};\n"});
}

std::string GroupPrinter::DeclareMemory() const {
  const auto& size = _kernel.resolved.groupSize;
  const std::string count =
      Join({"[", std::to_string(size[0]), "u * ", std::to_string(size[1]), "u * ", std::to_string(size[2]), "u]"});
  std::string text;
  const auto declare = [&](NodeIndex variable, std::string_view counts) {
    const TypeIndex type = _kernel.resolved.type[variable];
    text += Join(
        {_kernel.GetTypeName(type), " ", _kernel.GetUniqueName(variable), counts, _kernel.GetArraySizes(type), ";\n"});
  };
  for (NodeIndex node = 0; node < static_cast<NodeIndex>(_kernel.tree.nodes.size()); ++node) {
    if (_kernel.tree.Is(node, NodeKind::kSharedArray)) declare(node, "");
  }
  if (_kernel.earlyReturn != kNoNode) text += Join({"Bool ostraHasReturned", count, ";\n"});
  for (const NodeIndex variable : _variables.GetAll()) {
    if (_variables.IsAt(variable, GroupPlace::kKept)) declare(variable, count);
  }
  return text;
}

}  // namespace ostra::kernellanguage

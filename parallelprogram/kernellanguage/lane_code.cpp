#include "parallelprogram/kernellanguage/lane_code.h"

#include <algorithm>

#include "parallelprogram/kernellanguage/lane_pairs.h"
#include "parallelprogram/kernellanguage/lane_printer.h"
#include "parallelprogram/kernellanguage/lane_steps.h"

namespace ostra::kernellanguage {
namespace {

// Types and functions that the wide form names. A function of the file may be called like one of the second list:
// calls of that one have lanes as arguments, by which the compiler finds it.
constexpr std::string_view kTypesAndMakers[] = {"AffineMatrix32",
                                                "Bool",
                                                "ClampedRamp",
                                                "Float32",
                                                "Float64",
                                                "ForEachRow",
                                                "GroupX",
                                                "Int32",
                                                "Int64",
                                                "LaneAffineMatrix",
                                                "LaneMatrix3",
                                                "LaneMatrix4",
                                                "LaneRows",
                                                "LaneVec2",
                                                "LaneVec3",
                                                "LaneVec4",
                                                "Lanes",
                                                "LocalX",
                                                "MapLanes",
                                                "Mask",
                                                "Ramp",
                                                "SquareMatrix32",
                                                "SquareMatrix4d32",
                                                "ToRows",
                                                "UInt32",
                                                "UInt64",
                                                "Vec2",
                                                "Vec3",
                                                "Vec4",
                                                "kLaneCount",
                                                "ostra",
                                                "vocabulary"};
constexpr std::string_view kFunctionsOfLanes[] = {
    "All",         "AndNot",         "Any",     "Convert",     "Decrement",   "Divide",    "DivideBy",
    "FetchLanes",  "ForEachLaneIn",  "Gather",  "GatherRows",  "GetElements", "GetLane",   "GetSharedElements",
    "Increment",   "LoadRowsOfRun",  "LoadRun", "NoiseLanes",  "None",        "Remainder", "RemainderBy",
    "SampleLanes", "Scatter",        "Select",  "SetElements", "SetLane",     "ShiftLeft", "ShiftRight",
    "StoreLast",   "StoreRowsOfRun", "StoreRun"};

template <std::size_t count>
Bool Has(const std::string_view (&names)[count], std::string_view name) {
  return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

}  // namespace

// Names that the wide form has for itself.
void LanePrinter::RefuseNames() {
  for (NodeIndex node = 0; node < static_cast<NodeIndex>(_tree.nodes.size()); ++node) {
    const NodeKind kind = KindOf(node);
    if (kind != NodeKind::kVariable && kind != NodeKind::kFunctionParameter && kind != NodeKind::kFunction &&
        kind != NodeKind::kStruct)
      continue;
    if (Has(kTypesAndMakers, NameOf(node)) || (kind != NodeKind::kFunction && Has(kFunctionsOfLanes, NameOf(node))))
      Refuse(node, Join({"the name \"", NameOf(node), "\""}));
  }
}

void LanePrinter::Prepare() {
  const NodeIndex body = _tree.kernel;
  if (_tree.HasFlag(body, kIsMethodForm)) Refuse(body, "a kernel that can fail");
  RefuseNames();
  const Bool isWhole = !_names.IsInGroup();
  if (isWhole && IsOneStep(kernel))
    Refuse(body, "one step of arithmetic on elements, of which the compiler makes the faster loop by itself");
  if (isWhole && kernel.exchangesValues) Refuse(body, "invocations that exchange values in group memory");
  Line(
      {"[[maybe_unused]] static constexpr Vec3<UInt32> ostraGroupSize{OstraGroupSize::kX, OstraGroupSize::kY, "
       "OstraGroupSize::kZ};"});
  types.PrintStructs();
  _functions.PrintFunctions();
}

LaneCode LanePrinter::Print() {
  const std::string name = Join({"Ostra", _options.className, "Lanes"});
  Line({"struct ", name, " : ", _options.parameters, " {"});
  Line({"explicit ", name, "(const ", _options.parameters, "& values) : ", _options.parameters, "(values) {}"});
  Line({"OSTRA_KERNEL_INLINE static Mask ostraMakeActive(UInt32 count) { return MakeFirstLanes(count); }"});
  Prepare();
  masks.Begin("ostraActive");
  Line(
      {"OSTRA_KERNEL_INLINE void Run([[maybe_unused]] UInt32 ostraX, [[maybe_unused]] UInt32 ostraY, "
       "[[maybe_unused]] UInt32 ostraZ, [[maybe_unused]] UInt32 ostraLinear, [[maybe_unused]] Mask ostraActive) const "
       "{"});
  Line({"[[maybe_unused]] Mask ostraReturned = false;"});
  _statements.Block(Child(_tree.kernel, 0));
  Line({"}"});
  Line({"};"});
  LaneCode code = out.Take();
  if (!code.refusal) code.pairedNumbers = CountPairedNumbers(kernel, rows, variableUses);
  return code;
}

LaneCode PrintLaneCode(const AnalyzedKernel& kernel, const LaneCodeOptions& options) {
  if (auto refusal = FindUnprintable(kernel)) return {{}, std::move(refusal)};
  return LanePrinter(kernel, options).Print();
}

}  // namespace ostra::kernellanguage

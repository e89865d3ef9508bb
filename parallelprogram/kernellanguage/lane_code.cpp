#include "parallelprogram/kernellanguage/lane_code.h"

#include <algorithm>

#include "parallelprogram/kernellanguage/cpp_text.h"
#include "parallelprogram/kernellanguage/lane_printer.h"

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
                                                "ostra",
                                                "vocabulary"};
constexpr std::string_view kFunctionsOfLanes[] = {
    "AndNot",      "Any",        "Convert",     "Divide",      "DivideBy",          "FetchLanes",     "ForEachLaneIn",
    "Gather",      "GatherRows", "GetElements", "GetLane",     "GetSharedElements", "LoadRowsOfRun",  "LoadRun",
    "NoiseLanes",  "None",       "Remainder",   "RemainderBy", "SampleLanes",       "Scatter",        "Select",
    "SetElements", "SetLane",    "ShiftLeft",   "ShiftRight",  "StoreLast",         "StoreRowsOfRun", "StoreRun"};

template <std::size_t count>
Bool Has(const std::string_view (&names)[count], std::string_view name) {
  return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

}  // namespace

void LanePrinter::Refuse(NodeIndex node, std::string reason) {
  if (_refusal) return;
  _refusal = NotUnderstood{node == kNoNode ? kNoOffset : _tree.nodes[node].offset, std::move(reason)};
}

void LanePrinter::Line(std::initializer_list<std::string_view> parts) {
  for (const std::string_view part : parts) _text += part;
  _text += '\n';
}

void LanePrinter::MarkLine(NodeIndex node) { _text += MakeLineDirective(_sources.Locate(_tree.nodes[node].offset)); }

std::string LanePrinter::NewName(std::string_view stem) { return Join({"ostra_", stem, std::to_string(_nameCount++)}); }

// Kernels that can fail, and names that the wide form has for itself, are refused first.
void LanePrinter::Prepare() {
  const NodeIndex kernel = _tree.kernel;
  if (_tree.HasFlag(kernel, kIsMethodForm)) Refuse(kernel, "a kernel that can fail");
  for (NodeIndex node = 0; node < static_cast<NodeIndex>(_tree.nodes.size()); ++node) {
    const NodeKind kind = KindOf(node);
    if (kind != NodeKind::kVariable && kind != NodeKind::kFunctionParameter && kind != NodeKind::kFunction &&
        kind != NodeKind::kStruct)
      continue;
    if (Has(kTypesAndMakers, NameOf(node)) || (kind != NodeKind::kFunction && Has(kFunctionsOfLanes, NameOf(node))))
      Refuse(node, Join({"the name \"", NameOf(node), "\""}));
  }
  const Bool isWhole = !_names.IsInGroup();
  if (isWhole && IsOneStep(kernel))
    Refuse(kernel, "one step of arithmetic on elements, of which the compiler makes the faster loop by itself");
  if (isWhole && _exchangesValues) Refuse(kernel, "invocations that exchange values in group memory");
  Line(
      {"[[maybe_unused]] static constexpr Vec3<UInt32> ostraGroupSize{OstraGroupSize::kX, OstraGroupSize::kY, "
       "OstraGroupSize::kZ};"});
  FindUses();
  FindRows();
  _isClamped.assign(_tree.nodes.size(), false);
  _isKept.assign(_tree.nodes.size(), false);
  Structs();
  Functions();
}

LaneCode LanePrinter::Print() {
  const NodeIndex kernel = _tree.kernel;
  const std::string name = Join({"Ostra", _options.className, "Lanes"});
  Line({"struct ", name, " : ", _options.parameters, " {"});
  Line({"explicit ", name, "(const ", _options.parameters, "& values) : ", _options.parameters, "(values) {}"});
  Line({"OSTRA_KERNEL_INLINE static Mask ostraMakeActive(UInt32 count) { return MakeFirstLanes(count); }"});
  Prepare();
  _masks = {{"ostraActive"}};
  Line(
      {"OSTRA_KERNEL_INLINE void Run([[maybe_unused]] UInt32 ostraX, [[maybe_unused]] UInt32 ostraY, "
       "[[maybe_unused]] UInt32 ostraZ, [[maybe_unused]] UInt32 ostraLinear, [[maybe_unused]] Mask ostraActive) const "
       "{"});
  Line({"[[maybe_unused]] Mask ostraReturned = false;"});
  Block(_tree.GetChild(kernel, 0));
  Line({"}"});
  Line({"};"});
  if (_refusal) _text.clear();
  const UInt32 pairedNumberCount = _refusal ? 0 : CountPairedNumbers();
  return {std::move(_text), std::move(_refusal), pairedNumberCount};
}

LaneCode PrintLaneCode(const AnalyzedKernel& kernel, const LaneCodeOptions& options) {
  if (auto refusal = FindUnprintable(kernel)) return {{}, std::move(refusal)};
  return LanePrinter(kernel, options).Print();
}

}  // namespace ostra::kernellanguage

// Types of values in lanes: lanes for numbers, vectors and matrices of lanes, and for a struct of the file one with
// lanes as members.
#include "parallelprogram/kernellanguage/cpp_text.h"
#include "parallelprogram/kernellanguage/lane_printer.h"

namespace ostra::kernellanguage {
namespace {

// Structs with more parts would make more text than they are worth.
constexpr std::size_t kMaxStructParts = 64;

std::string_view GetMatrixName(const Type& type) {
  if (type.kind == TypeKind::kAffineMatrix) return "LaneAffineMatrix";
  return type.count == 3 ? "LaneMatrix3" : "LaneMatrix4";
}

}  // namespace

LanePrinter::Form LanePrinter::FormOf(NodeIndex node) const {
  const Uniformity& uniformity = _uniformity.Get(node);
  if (uniformity.IsSame()) return Form::kShared;
  return uniformity.variance == Variance::kLinear ? Form::kLinear : Form::kLanes;
}

Bool LanePrinter::IsCount(NodeIndex name) const {
  const Meaning& meaning = _resolved.meaning[name];
  return KindOf(name) == NodeKind::kName && meaning.kind == MeaningKind::kVariable &&
         _uniformity.isCounter[meaning.target] && FormOf(name) == Form::kShared;
}

std::string LanePrinter::SharedType(TypeIndex type) const {
  const Type& kind = _types[type];
  if (kind.kind == TypeKind::kVoid) return "void";
  return kind.kind == TypeKind::kStruct ? std::string(NameOf(kind.declaration)) : GetCppType(kind);
}

Bool LanePrinter::IsAggregate(TypeIndex type) const {
  const TypeKind kind = _types[type].kind;
  return kind == TypeKind::kStruct || kind == TypeKind::kMatrix || kind == TypeKind::kAffineMatrix;
}

Bool LanePrinter::HasLaneType(TypeIndex type) const {
  const Type& kind = _types[type];
  if (kind.kind == TypeKind::kStruct) {
    const auto [known, isNew] = _laneStructs.try_emplace(type, false);
    Bool& hasLanes = known->second;
    if (!isNew) return hasLanes;
    const std::vector<Part> parts = GetParts(kind.declaration);
    return hasLanes =
               parts.size() <= kMaxStructParts &&
               std::all_of(parts.begin(), parts.end(), [this](const Part& part) { return HasLaneType(part.type); });
  }
  if (IsAggregate(type)) return true;
  if (kind.kind != TypeKind::kScalar && kind.kind != TypeKind::kVector) return false;
  return kind.kind == TypeKind::kScalar || kind.scalar != Scalar::kBool;
}

std::string LanePrinter::LaneType(TypeIndex type, NodeIndex place) {
  const Type& kind = _types[type];
  if (!HasLaneType(type)) {
    Refuse(place, Join({"a value of type ", _types.GetName(type), " that differs between invocations"}));
    return "";
  }
  if (kind.kind == TypeKind::kStruct) return Join({"OstraLanes_", NameOf(kind.declaration)});
  if (IsAggregate(type)) return std::string(GetMatrixName(kind));
  if (kind.kind == TypeKind::kVector)
    return Join({"LaneVec", std::to_string(kind.count), "<", GetCppName(kind.scalar), ">"});
  if (kind.scalar == Scalar::kBool) return "Mask";
  return Join({"Lanes<", GetCppName(kind.scalar), ">"});
}

void LanePrinter::AddParts(std::string path, TypeIndex type, std::vector<Part>& parts) const {
  if (_types[type].kind != TypeKind::kArray) return parts.push_back({std::move(path), type});
  for (UInt32 i = 0; i < _types[type].count && parts.size() <= kMaxStructParts; ++i)
    AddParts(Join({path, "[", std::to_string(i), "]"}), _types[type].element, parts);
}

// The members of a struct, of arrays the elements.
std::vector<LanePrinter::Part> LanePrinter::GetParts(NodeIndex declaration) const {
  std::vector<Part> parts;
  for (const NodeIndex member : _tree.GetChildren(declaration))
    AddParts(Join({".", NameOf(member)}), TypeOf(member), parts);
  return parts;
}

void LanePrinter::Structs() {
  for (const NodeIndex declaration : _resolved.structs) {
    if (HasLaneType(TypeOf(declaration))) Struct(declaration);
  }
}

void LanePrinter::Struct(NodeIndex declaration) {
  const std::string_view shared = NameOf(declaration);
  const std::string lanes = LaneType(TypeOf(declaration), declaration);
  const std::vector<Part> parts = GetParts(declaration);
  const auto forEachPart = [&](std::initializer_list<std::string_view> texts) {
    for (const Part& part : parts) {
      std::string text;
      for (const std::string_view piece : texts) text += piece == "." ? std::string_view(part.path) : piece;
      Line({text});
    }
  };
  Line({"struct ", lanes, " {"});
  for (const NodeIndex member : _tree.GetChildren(declaration)) {
    std::string sizes;
    TypeIndex type = TypeOf(member);
    for (; _types[type].kind == TypeKind::kArray; type = _types[type].element)
      sizes += Join({"[", std::to_string(_types[type].count), "]"});
    Line({LaneType(type, member), " ", NameOf(member), sizes, ";"});
  }
  Line({lanes, "() = default;"});
  Line({"OSTRA_LANE_INLINE ", lanes, "([[maybe_unused]] const ", shared, "& ostraShared) {"});
  forEachPart({"(*this)", ".", " = ostraShared", ".", ";"});
  Line({"}"});
  Line({"[[maybe_unused]] friend OSTRA_LANE_INLINE ", lanes, " Select(Mask ostraMask, const ", lanes,
        "& ostraA, const ", lanes, "& ostraB) {"});
  Line({lanes, " ostraResult;"});
  forEachPart({"ostraResult", ".", " = Select(ostraMask, ostraA", ".", ", ostraB", ".", ");"});
  Line({"return ostraResult; }"});
  Line({"[[maybe_unused]] friend OSTRA_LANE_INLINE ", shared, " GetLane(const ", lanes,
        "& ostraLanes, int ostraLane) {"});
  Line({shared, " ostraResult{};"});
  forEachPart({"ostraResult", ".", " = GetLane(ostraLanes", ".", ", ostraLane);"});
  Line({"return ostraResult; }"});
  Line({"[[maybe_unused]] friend OSTRA_LANE_INLINE void SetLane(", lanes, "& ostraLanes, int ostraLane, const ", shared,
        "& ostraValue) {"});
  forEachPart({"SetLane(ostraLanes", ".", ", ostraLane, ostraValue", ".", ");"});
  Line({"}"});
  Line({"};"});
}

}  // namespace ostra::kernellanguage

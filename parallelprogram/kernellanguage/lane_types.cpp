#include "parallelprogram/kernellanguage/lane_types.h"

#include <algorithm>

#include "parallelprogram/kernellanguage/cpp_text.h"
#include "parallelprogram/kernellanguage/join.h"

namespace ostra::kernellanguage {
namespace {

// Structs with more parts would make more text than they are worth.
constexpr std::size_t kMaxStructParts = 64;

std::string_view GetMatrixName(const Type& type) {
  if (type.kind == TypeKind::kAffineMatrix) return "LaneAffineMatrix";
  return type.count == 3 ? "LaneMatrix3" : "LaneMatrix4";
}

}  // namespace

std::string LaneTypes::SharedType(TypeIndex type) const {
  const Type& kind = _types[type];
  if (kind.kind == TypeKind::kVoid) return "void";
  return kind.kind == TypeKind::kStruct ? std::string(NameOf(kind.declaration)) : GetCppType(kind);
}

Bool LaneTypes::HasLaneType(TypeIndex type) const {
  const Type& kind = _types[type];
  if (kind.kind == TypeKind::kStruct) {
    const auto [known, isNew] = _laneStructs.try_emplace(type, false);
    Bool& hasLanes = known->second;
    if (isNew) hasLanes = HasLaneStruct(kind.declaration);
    return hasLanes;
  }
  if (IsAggregate(type)) return true;
  return kind.kind == TypeKind::kScalar || (kind.kind == TypeKind::kVector && kind.scalar != Scalar::kBool);
}

Bool LaneTypes::HasLaneStruct(NodeIndex declaration) const {
  const std::vector<Part> parts = GetParts(declaration);
  return parts.size() <= kMaxStructParts &&
         std::all_of(parts.begin(), parts.end(), [this](const Part& part) { return HasLaneType(part.type); });
}

std::string LaneTypes::LaneType(TypeIndex type, NodeIndex place) {
  const Type& kind = _types[type];
  if (!HasLaneType(type)) {
    _out.Refuse(place, Join({"a value of type ", _types.GetName(type), " that differs between invocations"}));
    return "";
  }
  if (kind.kind == TypeKind::kStruct) return Join({"OstraLanes_", NameOf(kind.declaration)});
  if (IsAggregate(type)) return std::string(GetMatrixName(kind));
  if (kind.kind == TypeKind::kVector)
    return Join({"LaneVec", std::to_string(kind.count), "<", GetCppName(kind.scalar), ">"});
  if (kind.scalar == Scalar::kBool) return "Mask";
  return Join({"Lanes<", GetCppName(kind.scalar), ">"});
}

void LaneTypes::AddParts(std::string path, TypeIndex type, std::vector<Part>& parts) const {
  if (_types[type].kind != TypeKind::kArray) return parts.push_back({std::move(path), type});
  for (UInt32 i = 0; i < _types[type].count && parts.size() <= kMaxStructParts; ++i)
    AddParts(Join({path, "[", std::to_string(i), "]"}), _types[type].element, parts);
}

// The members of a struct, of arrays the elements.
std::vector<LaneTypes::Part> LaneTypes::GetParts(NodeIndex declaration) const {
  std::vector<Part> parts;
  for (const NodeIndex member : _tree.GetChildren(declaration))
    AddParts(Join({".", NameOf(member)}), TypeOf(member), parts);
  return parts;
}

void LaneTypes::PrintStructs() {
  for (const NodeIndex declaration : _resolved.structs) {
    if (HasLaneType(TypeOf(declaration))) PrintStruct(declaration);
  }
}

void LaneTypes::PrintParts(const std::vector<Part>& parts, std::initializer_list<std::string_view> texts) {
  for (const Part& part : parts) {
    std::string text;
    for (const std::string_view piece : texts) text += piece == "." ? std::string_view(part.path) : piece;
    Line({text});
  }
}

void LaneTypes::PrintMembers(NodeIndex declaration) {
  for (const NodeIndex member : _tree.GetChildren(declaration)) {
    std::string sizes;
    TypeIndex type = TypeOf(member);
    for (; _types[type].kind == TypeKind::kArray; type = _types[type].element)
      sizes += Join({"[", std::to_string(_types[type].count), "]"});
    Line({LaneType(type, member), " ", NameOf(member), sizes, ";"});
  }
}

void LaneTypes::PrintStruct(NodeIndex declaration) {
  const std::string_view shared = NameOf(declaration);
  const std::string lanes = LaneType(TypeOf(declaration), declaration);
  const std::vector<Part> parts = GetParts(declaration);
  Line({"struct ", lanes, " {"});
  PrintMembers(declaration);
  Line({lanes, "() = default;"});
  Line({"OSTRA_LANE_INLINE ", lanes, "([[maybe_unused]] const ", shared, "& ostraShared) {"});
  PrintParts(parts, {"(*this)", ".", " = ostraShared", ".", ";"});
  Line({"}"});
  Line({"[[maybe_unused]] friend OSTRA_LANE_INLINE ", lanes, " Select(Mask ostraMask, const ", lanes,
        "& ostraA, const ", lanes, "& ostraB) {"});
  Line({lanes, " ostraResult;"});
  PrintParts(parts, {"ostraResult", ".", " = Select(ostraMask, ostraA", ".", ", ostraB", ".", ");"});
  Line({"return ostraResult; }"});
  Line({"[[maybe_unused]] friend OSTRA_LANE_INLINE ", shared, " GetLane(const ", lanes,
        "& ostraLanes, int ostraLane) {"});
  Line({shared, " ostraResult{};"});
  PrintParts(parts, {"ostraResult", ".", " = GetLane(ostraLanes", ".", ", ostraLane);"});
  Line({"return ostraResult; }"});
  Line({"[[maybe_unused]] friend OSTRA_LANE_INLINE void SetLane(", lanes, "& ostraLanes, int ostraLane, const ", shared,
        "& ostraValue) {"});
  PrintParts(parts, {"SetLane(ostraLanes", ".", ", ostraLane, ostraValue", ".", ");"});
  Line({"}"});
  Line({"};"});
}

}  // namespace ostra::kernellanguage

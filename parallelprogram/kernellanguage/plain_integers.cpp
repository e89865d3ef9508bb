// Integers of 8 and 16 bits for GPUs: an int with a value of the type. Devices need arithmetic of 32 bits alone, as C++
// computes; elements of buffers are widened where they are read, and cut where they are written.
#include "parallelprogram/kernellanguage/plain_printer.h"

namespace ostra::kernellanguage {

std::set<NodeIndex> FindStoredStructs(const SyntaxTree& tree, const ResolvedTree& resolved) {
  std::set<NodeIndex> found;
  const auto add = [&](auto&& self, TypeIndex type) -> void {
    while (resolved.types[type].kind == TypeKind::kArray) type = resolved.types[type].element;
    const Type& kind = resolved.types[type];
    if (kind.kind != TypeKind::kStruct || !found.insert(kind.declaration).second) return;
    for (const NodeIndex member : tree.GetChildren(kind.declaration)) self(self, resolved.type[member]);
  };
  for (const NodeIndex parameter : resolved.parameters) {
    const Type& type = resolved.types[resolved.type[parameter]];
    if (type.kind == TypeKind::kBuffer) add(add, type.element);
  }
  return found;
}

Bool PlainPrinter::IsSmall(TypeIndex type) const {
  if (!_options.isForGpu || !_types.IsScalar(type)) return false;
  const Scalar scalar = _types[type].scalar;
  return IsInteger(scalar) && scalar != Scalar::kBool && GetSize(scalar) < 4;
}

// Whether the place is a number of a buffer, or of a struct that lies in one, which has its own size there.
Bool PlainPrinter::IsStoredSmall(NodeIndex place) const {
  if (!IsSmall(_resolved.type[place])) return false;
  if (KindOf(place) == NodeKind::kIndex) place = Child(place, 0);
  if (KindOf(place) == NodeKind::kBuffer) return true;
  return KindOf(place) == NodeKind::kMemberOf && _resolved.meaning[place].kind == MeaningKind::kMember &&
         _storedStructs.contains(_types[_resolved.type[Child(place, 0)]].declaration);
}

// An int with the value that a number of the type `from` has in the type `to`.
std::string PlainPrinter::CutInteger(const std::string& value, Scalar from, Scalar to) const {
  const Bool isInt = from == Scalar::kInt32 || IsSmall(GetScalarType(from));
  const std::string number = isInt ? Join({"(", value, ")"}) : Join({"int(", value, ")"});
  const UInt32 bits = 8 * GetSize(to);
  if (!IsSignedInteger(to)) return Join({"(", number, " & ", std::to_string((1u << bits) - 1), ")"});
  const std::string shift = std::to_string(32 - bits);
  return Join({"((", number, " << ", shift, ") >> ", shift, ")"});
}

// What is written to the place when it gets such an int.
std::string PlainPrinter::StoredText(NodeIndex place, const std::string& value) const {
  if (!IsStoredSmall(place)) return value;
  return Join({kernellanguage::GetName(_types[_resolved.type[place]].scalar), "(", value, ")"});
}

}  // namespace ostra::kernellanguage

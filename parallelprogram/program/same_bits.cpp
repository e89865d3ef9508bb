#include "parallelprogram/program/same_bits.h"

#include <algorithm>

#include "ostra/core/atomic.h"
#include "ostra/core/format.h"
#include "ostra/core/struct_type.h"
#include "ostra/math/data_types.h"

OSTRA_UNIT("parallelprogram_cpu_impl");

namespace ostra {
namespace {

enum class NumberKind { Unknown, Integer, Float };

template <class... T>
Bool IsOneOf(DataType type) {
  return ((type == GetDataType<T>()) || ...);
}

// What a scalar, vector or matrix is made of.
DataType GetNumber(DataType type) {
  while (type.IsMadeWith(kVectorParametricType) || type.IsMadeWith(kSquareMatrixParametricType) ||
         type.IsMadeWith(kMatrixParametricType) || type.IsMadeWith(kAtomicParametricType))
    type = type.GetInnerType();
  return type;
}

NumberKind GetKind(DataType number) {
  if (IsOneOf<Float32, Float64, HalfFloat>(number)) return NumberKind::Float;
  if (IsOneOf<Int8, UInt8, Int16, UInt16, Int32, UInt32, Int64, UInt64>(number)) return NumberKind::Integer;
  return NumberKind::Unknown;
}

Bool IsSameMember(const StructMember& a, const StructMember& b) {
  return a.name == b.name && a.offset == b.offset && a.count == b.count && HaveSameBits(a.type, b.type);
}

Bool HaveSameMembers(Block<const StructMember> a, Block<const StructMember> b) {
  if (a.GetCount() != b.GetCount()) return false;
  for (Int i = 0; i < a.GetCount(); ++i)
    if (!IsSameMember(a[i], b[i])) return false;
  return true;
}

Result<String> DescribeMember(const StructMember& member) {
  return member.count == 0 ? Format("@", member.type) : Format("@ x @", member.count, member.type);
}

// The first difference; empty without one. `path` names the struct in the one that was asked about.
Result<String> FindDifference(DataType wanted, DataType given, const String& path) {
  const Block<const StructMember> kernel = GetStructMembers(wanted), buffer = GetStructMembers(given);
  for (Int i = 0; i < std::max(kernel.GetCount(), buffer.GetCount()); ++i) {
    if (i >= buffer.GetCount()) return Format(": the buffer has no member \"@@\"", path, kernel[i].name);
    if (i >= kernel.GetCount()) return Format(": the kernel has no member \"@@\"", path, buffer[i].name);
    if (IsSameMember(kernel[i], buffer[i])) continue;
    const StructMember &a = kernel[i], &b = buffer[i];
    if (a.name != b.name)
      return Format(": the member \"@@\" of the kernel is \"@@\" in the buffer", path, a.name, path, b.name);
    if (a.count == b.count && !GetStructMembers(a.type).IsEmpty() && !GetStructMembers(b.type).IsEmpty()) {
      OSTRA_ASSIGN_OR_RETURN(const String inner, Format("@@.", path, a.name));
      OSTRA_ASSIGN_OR_RETURN(String found, FindDifference(a.type, b.type, inner));
      if (found.IsPopulated()) return found;
    }
    if (a.offset != b.offset)
      return Format(": the member \"@@\" begins at byte @ in the kernel and at byte @ in the buffer", path, a.name,
                    a.offset, b.offset);
    OSTRA_ASSIGN_OR_RETURN(const String inKernel, DescribeMember(a));
    OSTRA_ASSIGN_OR_RETURN(const String inBuffer, DescribeMember(b));
    return Format(": the member \"@@\" is @ in the kernel and @ in the buffer", path, a.name, inKernel, inBuffer);
  }
  return String();
}

}  // namespace

Bool HaveSameBits(DataType a, DataType b) {
  if (a == b) return true;
  if (!a.IsPopulated() || !b.IsPopulated() || !a.IsPlain() || !b.IsPlain() || a.GetSize() != b.GetSize()) return false;
  const Block<const StructMember> membersA = GetStructMembers(a), membersB = GetStructMembers(b);
  if (!membersA.IsEmpty() && !membersB.IsEmpty()) return HaveSameMembers(membersA, membersB);
  const DataType numberA = GetNumber(a), numberB = GetNumber(b);
  const NumberKind kindA = GetKind(numberA), kindB = GetKind(numberB);
  if (kindA == NumberKind::Unknown || kindB == NumberKind::Unknown) return true;
  return kindA == kindB && numberA.GetSize() == numberB.GetSize();
}

Result<String> ExplainOtherBits(DataType wanted, DataType given) {
  if (GetStructMembers(wanted).IsEmpty() || GetStructMembers(given).IsEmpty()) return String();
  return FindDifference(wanted, given, String());
}

}  // namespace ostra

#include "parallelprogram/kernellanguage/resolve_conversions.h"

#include "parallelprogram/kernellanguage/conversions.h"

namespace ostra::kernellanguage {

Bool ResolveConversions::Convert(NodeIndex node, TypeIndex type, std::string_view what) {
  const TypeIndex given = _resolved.type[node];
  if (given == kUnknownType || type == kUnknownType) return false;
  switch (GetConversion(_resolved.types, given, type)) {
    case ConversionRank::kExact:
      return true;
    case ConversionRank::kCut:
    case ConversionRank::kNone:
      break;
    default:
      if (IsVector(type) && (Get(type).scalar == Scalar::kHalf || Get(given).scalar == Scalar::kHalf)) Extend(node);
      SetConverted(node, type);
      return true;
  }
  // A number for all components, a number that is rounded.
  if (IsScalar(given) && given != kBoolType && (IsVector(type) || type == kHalfType)) {
    Extend(node);
    SetConverted(node, type);
    return true;
  }
  FailConversion(node, type, what);
  return false;
}

TypeIndex ResolveConversions::FailConversion(NodeIndex node, TypeIndex type, std::string_view what) {
  const TypeIndex given = _resolved.type[node];
  const Bool isCut = IsVector(given) && IsVector(type) && Get(given).count > Get(type).count;
  const std::string hint = IsScalar(given) && IsVector(type) ? Join({"; write ", TypeName(type), "(...)"})
                           : isCut ? Join({"; write .", std::string_view("xyzw").substr(0, Get(type).count)})
                                   : "";
  return Fail(node, Join({what, " is a ", TypeName(type), ", this is a ", TypeName(given), hint}));
}

}  // namespace ostra::kernellanguage

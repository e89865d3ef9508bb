#include "parallelprogram/kernellanguage/conversions.h"

#include <algorithm>
#include <vector>

namespace ostra::kernellanguage {
namespace {

ConversionRank GetScalarConversion(Scalar from, Scalar to) {
  if (from == to) return ConversionRank::kExact;
  if (to == Scalar::kHalf) return ConversionRank::kNone;
  if (from == Scalar::kHalf) return ConversionRank::kUser;
  const Bool isPromotion = (to == Scalar::kInt32 && IsInteger(from) && GetSize(from) < 4) ||
                           (to == Scalar::kFloat64 && from == Scalar::kFloat32);
  return isPromotion ? ConversionRank::kPromotion : ConversionRank::kConversion;
}

using Ranks = std::vector<ConversionRank>;

Bool IsBetter(const Ranks& a, const Ranks& b) {
  Bool isBetterSomewhere = false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (a[i] > b[i]) return false;
    isBetterSomewhere = isBetterSomewhere || a[i] < b[i];
  }
  return isBetterSomewhere;
}

}  // namespace

ConversionRank GetConversion(const TypeTable& types, TypeIndex from, TypeIndex to) {
  if (from == to) return ConversionRank::kExact;
  const Type &a = types[from], &b = types[to];
  if (a.kind == TypeKind::kScalar && b.kind == TypeKind::kScalar) return GetScalarConversion(a.scalar, b.scalar);
  if (a.kind != TypeKind::kVector || b.kind != TypeKind::kVector || a.count < b.count) return ConversionRank::kNone;
  return a.count == b.count ? ConversionRank::kUser : ConversionRank::kCut;
}

Scalar Promote(Scalar scalar) {
  if (scalar == Scalar::kHalf) return Scalar::kFloat32;
  return IsInteger(scalar) && GetSize(scalar) < 4 ? Scalar::kInt32 : scalar;
}

Scalar GetCommonScalar(Scalar a, Scalar b) {
  a = Promote(a);
  b = Promote(b);
  // From here on the order of the enumeration is that of the ranks: int, uint, 64 bits, half, float, double.
  return std::max(a, b);
}

Bool IsCutFloat(Scalar from, Scalar to) {
  return IsFloating(from) && IsInteger(to) && to != Scalar::kBool && GetSize(to) < 4;
}

Bool ConvertsEverywhere(Scalar from, Scalar to) {
  // GLSL has few conversions of 64-bit integers that are not written.
  if (from != to && (IsLongInteger(from) || IsLongInteger(to))) return false;
  // Halves without a conversion are computed in 16 bits on GPUs.
  if (from == Scalar::kHalf && to != Scalar::kHalf) return false;
  // No shading language reads a kernel with smaller integers.
  const auto isShared = [](Scalar scalar) {
    return scalar == Scalar::kBool || scalar == Scalar::kInt32 || scalar == Scalar::kUInt32 ||
           scalar == Scalar::kFloat32 || scalar == Scalar::kFloat64;
  };
  if (from == to || !isShared(from) || !isShared(to)) return true;
  return from != Scalar::kBool && to > Scalar::kInt32 && from < to;
}

Choice ChooseOverload(const TypeTable& types, std::span<const Candidate> candidates,
                      std::span<const TypeIndex> arguments, std::size_t& chosen) {
  std::vector<std::pair<std::size_t, Ranks>> viable;
  Bool isUncertain = false;
  for (std::size_t i = 0; i < candidates.size(); ++i) {
    const Candidate& candidate = candidates[i];
    if (candidate.parameters.size() != arguments.size()) continue;
    Ranks ranks;
    for (std::size_t k = 0; k < arguments.size(); ++k) {
      ConversionRank rank = GetConversion(types, arguments[k], candidate.parameters[k]);
      if (!candidate.needsExact.empty() && candidate.needsExact[k] && rank != ConversionRank::kExact)
        rank = ConversionRank::kNone;
      ranks.push_back(rank);
    }
    if (std::find(ranks.begin(), ranks.end(), ConversionRank::kNone) != ranks.end()) continue;
    isUncertain = isUncertain || std::any_of(ranks.begin(), ranks.end(), [](ConversionRank rank) {
                    return rank == ConversionRank::kUser || rank == ConversionRank::kCut;
                  });
    viable.emplace_back(i, std::move(ranks));
  }
  if (viable.empty()) return Choice::kNone;
  for (const auto& [index, ranks] : viable) {
    const Bool isBest = std::all_of(viable.begin(), viable.end(), [&, &own = index, &mine = ranks](const auto& other) {
      return other.first == own || IsBetter(mine, other.second);
    });
    if (!isBest) continue;
    chosen = index;
    const Bool isExact =
        std::all_of(ranks.begin(), ranks.end(), [](ConversionRank r) { return r <= ConversionRank::kConversion; });
    if (isExact || viable.size() == 1) return Choice::kFound;
    return Choice::kUncertain;
  }
  return isUncertain ? Choice::kUncertain : Choice::kAmbiguous;
}

}  // namespace ostra::kernellanguage

#include "parallelprogram/kernellanguage/overloads.h"

#include <algorithm>

#include "parallelprogram/kernellanguage/conversions.h"

namespace ostra::kernellanguage {
namespace {

// The number type that all arguments become, and the components of the vectors among them; a width of 0: vectors of
// several widths, or others than numbers.
struct CommonType {
  Scalar scalar = Scalar::kBool;
  UInt32 width = 0;
};

CommonType FindCommonType(const TypeTable& types, std::span<const TypeIndex> arguments) {
  const auto isNumber = [&](TypeIndex type) { return types.IsScalar(type) || types.IsVector(type); };
  if (!std::all_of(arguments.begin(), arguments.end(), isNumber) || HasSeveralWidths(types, arguments)) return {};
  CommonType common{.scalar = GetCommonScalarOf(types, arguments), .width = 1};
  for (const TypeIndex type : arguments) common.width = std::max(common.width, types[type].count);
  return common;
}

// How many arguments become vectors to fit an overload; nothing if they do not fit.
std::optional<std::size_t> CountSpread(const TypeTable& types, const Overload& overload,
                                       std::span<const TypeIndex> arguments, CommonType common) {
  if (overload.count != arguments.size()) return std::nullopt;
  std::size_t spread = 0;
  for (std::size_t k = 0; k < arguments.size(); ++k) {
    const Type &parameter = types[overload.parameters[k]], &given = types[arguments[k]];
    const Bool isVector = parameter.kind == TypeKind::kVector;
    const Bool hasShape =
        isVector ? parameter.count == common.width : parameter.kind == TypeKind::kScalar && given.count == 1;
    const Bool hasScalar =
        overload.Changes(k) ? overload.parameters[k] == arguments[k] : parameter.scalar == common.scalar;
    if (!hasShape || !hasScalar) return std::nullopt;
    if (isVector && given.count == 1) ++spread;
  }
  return spread;
}

}  // namespace

Scalar GetCommonScalarOf(const TypeTable& types, std::span<const TypeIndex> arguments) {
  Scalar common = Scalar::kBool;
  for (const TypeIndex type : arguments) {
    if (!types.IsScalar(type) && !types.IsVector(type)) return Scalar::kBool;
    common = GetCommonScalar(common, types[type].scalar);
  }
  return common;
}

Bool HasSeveralWidths(const TypeTable& types, std::span<const TypeIndex> arguments) {
  UInt32 width = 1;
  for (const TypeIndex type : arguments) {
    if (!types.IsVector(type)) continue;
    if (width != 1 && width != types[type].count) return true;
    width = types[type].count;
  }
  return false;
}

Bool IsCut(const TypeTable& types, const Overload& overload, std::span<const TypeIndex> arguments) {
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    if (GetConversion(types, arguments[i], overload.parameters[i]) == ConversionRank::kCut) return true;
  }
  return false;
}

std::optional<std::size_t> FindMixedOverload(const TypeTable& types, std::span<const Overload> overloads,
                                             std::span<const TypeIndex> arguments) {
  CommonType common = FindCommonType(types, arguments);
  if (common.width == 0) return std::nullopt;
  const auto isOfIntegers = [&](const Overload& overload) {
    return types[overload.parameters[0]].scalar == Scalar::kInt32;
  };
  if (std::none_of(overloads.begin(), overloads.end(), isOfIntegers)) common.scalar = Scalar::kFloat32;
  std::optional<std::size_t> best;
  std::size_t fewest = arguments.size() + 1;
  for (std::size_t i = 0; i < overloads.size(); ++i) {
    const auto spread = CountSpread(types, overloads[i], arguments, common);
    if (!spread || *spread >= fewest) continue;
    best = i;
    fewest = *spread;
  }
  return best;
}

}  // namespace ostra::kernellanguage

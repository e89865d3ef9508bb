#include "apps/ostra/values/scalar_type.h"

#include <charconv>
#include <limits>

#include "apps/ostra/tool_error.h"
#include "ostra/math/data_types.h"

OSTRA_UNIT("values");

namespace ostra::tool {

namespace {

template <class T>
constexpr Bool kIsFloat = std::is_same_v<T, Float32> || std::is_same_v<T, Float64> || std::is_same_v<T, HalfFloat>;

// from_chars knows neither a plus sign nor the mark of hexadecimal numbers.
template <class T>
std::from_chars_result ReadInteger(std::string_view text, T& value) {
  if (text.substr(0, 2) == "0x") return std::from_chars(text.data() + 2, text.data() + text.size(), value, 16);
  return std::from_chars(text.data(), text.data() + text.size(), value, 10);
}

template <class T>
Result<void> ParseInteger(std::string_view text, void* target) {
  const std::string_view digits = text.substr(text.substr(0, 1) == "+");
  T value{};
  const auto [end, code] = ReadInteger(digits, value);
  using Limits = std::numeric_limits<T>;
  // Readers of unsigned numbers know no minus: a number below 0 is a number all the same.
  const Bool isBelow = std::is_unsigned_v<T> && text.starts_with('-') &&
                       text.find_first_not_of("0123456789", 1) == std::string_view::npos &&
                       text.find_first_not_of('0', 1) != std::string_view::npos;
  if (isBelow || code == std::errc::result_out_of_range)
    return OSTRA_USAGE_ERROR("@ does not fit into @, which goes from @ to @", text, GetDataType<T>(), +Limits::min(),
                             +Limits::max());
  if (code != std::errc() || end != digits.data() + digits.size())
    return OSTRA_USAGE_ERROR("\"@\" is not a whole number, and the type is @", text, GetDataType<T>());
  MemCopy(target, &value, sizeof(value));
  return OK;
}

template <class T>
Result<void> ParseFloat(std::string_view text, void* target) {
  using Parsed = std::conditional_t<std::is_same_v<T, Float64>, Float64, Float32>;
  const std::string_view digits = text.substr(text.substr(0, 1) == "+");
  Parsed parsed{};
  const auto [end, code] = std::from_chars(digits.data(), digits.data() + digits.size(), parsed);
  if (code == std::errc::result_out_of_range) return OSTRA_USAGE_ERROR("@ does not fit into @", text, GetDataType<T>());
  if (code != std::errc() || end != digits.data() + digits.size())
    return OSTRA_USAGE_ERROR("\"@\" is not a number, and the type is @", text, GetDataType<T>());
  const T value(parsed);
  MemCopy(target, &value, sizeof(value));
  return OK;
}

Result<void> ParseBool(std::string_view text, void* target) {
  const Bool isTrue = text == "true" || text == "1";
  if (!isTrue && text != "false" && text != "0")
    return OSTRA_USAGE_ERROR("\"@\" is neither true nor false, and the type is bool", text);
  MemCopy(target, &isTrue, sizeof(isTrue));
  return OK;
}

template <class T>
void Print(const void* source, std::string& target) {
  T value;
  MemCopy(&value, source, sizeof(value));
  char buffer[40];
  const auto print = [&](auto number) { return std::to_chars(buffer, buffer + sizeof(buffer), number).ptr; };
  const char* end;
  if constexpr (std::is_same_v<T, HalfFloat>)
    end = print(static_cast<Float32>(value));
  else if constexpr (kIsFloat<T>)
    end = print(value);
  else
    end = print(+value);
  target.append(static_cast<const char*>(buffer), end);
}

template <class T>
ScalarType Describe(std::string_view npyCode) {
  if constexpr (std::is_same_v<T, Bool>)
    return {GetDataType<T>(), npyCode, ParseBool, Print<T>};
  else if constexpr (kIsFloat<T>)
    return {GetDataType<T>(), npyCode, ParseFloat<T>, Print<T>};
  else
    return {GetDataType<T>(), npyCode, ParseInteger<T>, Print<T>};
}

// 8-bit signed numbers have two types of the same form; the first of a code is the one that files are read as.
const auto& GetScalarTypes() {
  static const ScalarType types[] = {
      Describe<Float32>("f4"), Describe<UInt32>("u4"),  Describe<Int32>("i4"), Describe<HalfFloat>("f2"),
      Describe<UInt8>("u1"),   Describe<Int8>("i1"),    Describe<Char>("i1"),  Describe<UInt16>("u2"),
      Describe<Int16>("i2"),   Describe<Float64>("f8"), Describe<Int64>("i8"), Describe<UInt64>("u8"),
      Describe<Bool>("b1"),
  };
  return types;
}

}  // namespace

const ScalarType* FindScalarType(DataType type) {
  for (const ScalarType& scalar : GetScalarTypes())
    if (scalar.type == type) return &scalar;
  return nullptr;
}

const ScalarType* FindScalarType(std::string_view npyCode) {
  for (const ScalarType& scalar : GetScalarTypes())
    if (scalar.npyCode == npyCode) return &scalar;
  return nullptr;
}

Result<ElementLayout> GetElementLayout(DataType type) {
  DataType inner = type;
  // A matrix is made of vectors, which are made of numbers.
  while (inner.IsMadeWith(kVectorParametricType) || inner.IsMadeWith(kSquareMatrixParametricType) ||
         inner.IsMadeWith(kMatrixParametricType) || inner.IsMadeWith(kAtomicParametricType))
    inner = inner.GetInnerType();
  const ScalarType* scalar = inner.IsPopulated() ? FindScalarType(inner) : nullptr;
  if (!scalar) return OSTRA_ILLEGAL_ARGUMENT("The type @ is not made of numbers.", DescribeType(type));
  return ElementLayout{scalar, type.GetSize() / scalar->GetSize()};
}

std::string DescribeType(DataType type) {
  if (!type.IsPopulated()) return "nothing";
  DataType inner = type;
  while (inner.IsMadeWith(kVectorParametricType) || inner.IsMadeWith(kSquareMatrixParametricType) ||
         inner.IsMadeWith(kMatrixParametricType))
    inner = inner.GetInnerType();
  std::string name(inner.GetView());
  return inner == type ? name : std::to_string(type.GetSize() / inner.GetSize()) + " x " + name;
}

}  // namespace ostra::tool

#include "plans/values/scalar_type.h"

#include <charconv>
#include <limits>

#include "ostra/math/data_types.h"
#include "plans/usage_error.h"

OSTRA_UNIT("values");

namespace ostra::plans {

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
ScalarType Describe() {
  const NumberType& number = *FindNumberType(GetDataType<T>());
  if constexpr (std::is_same_v<T, Bool>)
    return {number, ParseBool, Print<T>};
  else if constexpr (kIsFloat<T>)
    return {number, ParseFloat<T>, Print<T>};
  else
    return {number, ParseInteger<T>, Print<T>};
}

const auto& GetScalarTypes() {
  static const ScalarType types[] = {
      Describe<Float32>(), Describe<UInt32>(), Describe<Int32>(),  Describe<HalfFloat>(), Describe<UInt8>(),
      Describe<Int8>(),    Describe<Char>(),   Describe<UInt16>(), Describe<Int16>(),     Describe<Float64>(),
      Describe<Int64>(),   Describe<UInt64>(), Describe<Bool>(),
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
  const NumberType* const number = FindNumberType(npyCode);
  return number ? FindScalarType(number->type) : nullptr;
}

Result<ElementLayout> GetElementLayout(DataType type) {
  OSTRA_ASSIGN_OR_RETURN(const NumberLayout layout, GetNumberLayout(type));
  return ElementLayout{FindScalarType(layout.number->type), layout.componentCount};
}

}  // namespace ostra::plans

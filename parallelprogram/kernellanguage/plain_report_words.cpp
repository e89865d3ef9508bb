#include "parallelprogram/kernellanguage/plain_report_words.h"

namespace ostra::kernellanguage {
namespace {

// The bits of a double, by arithmetic that is exact: no language has a word for them everywhere. $ stands for the type.
constexpr std::string_view kWordsOfDouble =
    "\t$ x = v0;\n\tuint top = 0u;\n\tint exponent = 0;\n"
    "\tif (x < $(0) || (x == $(0) && $(1) / x < $(0)))\n\t{\n"
    "\t\ttop = 2147483648u;\n\t\tx = -x;\n\t}\n"
    "\tif (x != x)\n\t{\n\t\treturn uint2(0u, 2146959360u);\n\t}\n"
    "\tif (x - x != $(0))\n\t{\n\t\treturn uint2(0u, top | 2146435072u);\n\t}\n"
    "\tif (x == $(0))\n\t{\n\t\treturn uint2(0u, top);\n\t}\n"
    // To [1, 2); numbers below the normal range need a second time.
    "\tfor (int time = 0; time < 2; ++time)\n\t{\n\t\tfor (int power = 512; power > 0; power = power / 2)\n\t\t{\n"
    "\t\t\t$ factor = $(2);\n"
    "\t\t\tfor (int k = 1; k < power; k = k * 2)\n\t\t\t{\n\t\t\t\tfactor = factor * factor;\n\t\t\t}\n"
    "\t\t\tif (x >= factor)\n\t\t\t{\n\t\t\t\tx = x / factor;\n\t\t\t\texponent += power;\n\t\t\t}\n"
    "\t\t\telse if (x < $(1) && x * factor < $(2))\n\t\t\t{\n\t\t\t\tx = x * factor;\n\t\t\t\texponent -= power;\n"
    "\t\t\t}\n\t\t}\n\t}\n"
    "\tif (exponent > -1023)\n\t{\n\t\tx = x - $(1);\n\t\ttop = top | (uint(exponent + 1023) << 20);\n\t}\n"
    "\tfor (; exponent < -1022; ++exponent)\n\t{\n\t\tx = x / $(2);\n\t}\n"
    "\tx = x * $(1048576);\n\tuint upper = uint(x);\n"
    "\tx = (x - $(upper)) * $(65536) * $(65536);\n"
    "\treturn uint2(uint(x), top | upper);\n";

}  // namespace

std::vector<std::string> ReportWords::MakeWords(const std::string& value, TypeIndex type) {
  const Type& kind = _types[type];
  std::vector<std::string> numbers, words;
  if (_kernel.IsMatrix(type)) {
    for (UInt32 column = 0; column < kind.count; ++column)
      for (UInt32 row = 0; row < kind.count; ++row)
        numbers.push_back(_values.MakeElement(value, kind.count, column, row));
  } else {
    numbers = _values.Components(value, type);
    // The parentheses of "(v.x != 0)" are those of the conversion.
    if (_kernel.IsBoolVector(type))
      for (std::string& number : numbers) number = number.substr(1, number.size() - 2);
  }
  for (const std::string& number : numbers) {
    const Bool isFloat = kind.scalar == Scalar::kFloat32;
    if (kind.scalar == Scalar::kFloat64) {
      const std::string bits = NewName("Bits");
      Line({"const uint2 ", bits, " = ", CallDoubleWords(number), ";"});
      words.insert(words.end(), {bits + ".x", bits + ".y"});
    } else if (GetSize(kind.scalar) > 4) {
      const std::string whole = number.find(' ') == std::string::npos ? number : Join({"(", number, ")"});
      words.insert(words.end(), {Join({"uint(", number, ")"}), Join({"uint(", whole, " >> 32)"})});
    } else if (isFloat)
      words.push_back(Join({"floatBitsToUint(", number, ")"}));
    else if (kind.scalar == Scalar::kHalf)
      words.push_back(Join({"floatBitsToUint(float(", number, "))"}));
    else
      words.push_back(kind.scalar == Scalar::kUInt32 ? number : Join({"uint(", number, ")"}));
  }
  return words;
}

std::string ReportWords::MakeTypeCode(TypeIndex type) const {
  const Type& kind = _types[type];
  if (kind.kind == TypeKind::kMatrix) return Join({"m", std::to_string(kind.count)});
  const Bool isBool = kind.scalar == Scalar::kBool;
  const Bool isWide = kind.kind != TypeKind::kMatrix && GetSize(kind.scalar) > 4;
  const std::string_view letter = isBool                              ? "b"
                                  : isWide && IsFloating(kind.scalar) ? "d"
                                  : isWide                            ? (IsSignedInteger(kind.scalar) ? "l" : "w")
                                  : IsFloating(kind.scalar)           ? "f"
                                  : IsSignedInteger(kind.scalar)      ? "i"
                                                                      : "u";
  return _types.IsVector(type) ? Join({letter, std::to_string(kind.count)}) : std::string(letter);
}

std::string ReportWords::CallDoubleWords(const std::string& number) {
  const std::string type = TypeName(GetScalarType(Scalar::kFloat64));
  std::string body;
  for (const char c : kWordsOfDouble) c == '$' ? body += type : body += c;
  return _helpers.Call("ostra_words_of_double", GetVectorType(Scalar::kUInt32, 2), {GetScalarType(Scalar::kFloat64)},
                       body, {number});
}

}  // namespace ostra::kernellanguage

// Values as words of 32 bits of a report, and the codes by which the host reads them.
#pragma once

#include "parallelprogram/kernellanguage/plain_values.h"

namespace ostra::kernellanguage {

class ReportWords : PlainPart {
 public:
  ReportWords(const PlainBasis& basis, PlainValues& values) : PlainPart(basis), _values(values) {}

  // The words of a number, vector or matrix with this text, in lines before the present one where they need some.
  std::vector<std::string> MakeWords(const std::string& value, TypeIndex type);
  // "f", "u3" or "m4"; of 64 bits "d", "l" (signed) and "w".
  std::string MakeTypeCode(TypeIndex type) const;

 private:
  std::string CallDoubleWords(const std::string& number);

  PlainValues& _values;
};

}  // namespace ostra::kernellanguage

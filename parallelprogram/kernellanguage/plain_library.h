// Calls of functions that are written in the language itself: their definitions are written at their first use.
#pragma once

#include "parallelprogram/kernellanguage/plain_values.h"
#include "parallelprogram/kernellanguage/words.h"

namespace ostra::kernellanguage {

class PlainLibrary : PlainPart {
 public:
  PlainLibrary(const PlainBasis& basis, PlainValues& values) : PlainPart(basis), _values(values) {}

  // `word`: the first of its synonyms.
  std::string CallLibrary(std::string_view word, const Overload& overload, const std::vector<std::string>& arguments);

 private:
  std::string MultiplyColumns(TypeIndex matrix);
  std::string ApplyToComponents(std::string_view word, const Overload& overload);
  std::string CallOfComponent(std::string_view word, const Overload& overload, UInt32 k, std::string& variables);
  TypeIndex GetNumber(TypeIndex type) const;  // the scalar of a vector
  void WriteParts(std::string_view body);

  PlainValues& _values;
};

}  // namespace ostra::kernellanguage

// Words of a work group: what its invocations compute together, by an array in group memory and barriers. They are
// written before the statement that they stand in, with their arrays at the beginning of the kernel. The order of all
// sums is that of the text, so CPU and GPUs give the same bits.
#pragma once

#include <map>

#include "parallelprogram/kernellanguage/plain_part.h"
#include "parallelprogram/kernellanguage/words.h"

namespace ostra::kernellanguage {

class PlainGroups : PlainPart {
 public:
  explicit PlainGroups(const PlainBasis& basis) : PlainPart(basis) {}

  // The name of the result of the call with these texts of its arguments; `index` is empty where there is one alone.
  std::string CallGroup(NodeIndex call, const std::string& value, const std::string& index);
  // The number of the invocation in its group, x first.
  std::string NumberInGroup() const;
  // The arrays of all calls so far, as lines of the kernel's body.
  std::string DeclareGroupArrays() const;

 private:
  std::string ReduceGroup(WordId word, TypeIndex type, const std::string& array, const std::string& number);
  std::string ScanGroup(WordId word, TypeIndex type, const std::string& array, const std::string& number);
  std::string GatherGroup(WordId word, TypeIndex type, const std::string& array, const std::string& index);
  std::string CombineInGroup(WordId word, const std::string& a, const std::string& b) const;
  std::string GroupArray(TypeIndex type);
  std::string GroupCount() const;

  std::map<std::string, TypeIndex> _groupArrays;  // by name
};

}  // namespace ostra::kernellanguage

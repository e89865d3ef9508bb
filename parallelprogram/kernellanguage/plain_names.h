// What declarations and types are called in the plain form: other names where a shading language has a name for itself,
// other types where not every language has them.
#pragma once

#include <map>
#include <string>

#include "parallelprogram/kernellanguage/plain_kernel.h"

namespace ostra::kernellanguage {

class PlainNames {
 public:
  // The kernel must outlive the names.
  explicit PlainNames(const PlainKernel& kernel);

  std::string NameOf(NodeIndex declaration) const;
  // Of an array the type of its elements.
  std::string TypeName(TypeIndex type) const;
  std::string ArraySizes(TypeIndex type) const;  // "[2][3]"; empty for other types
  // The type of the language, which may have no name of its own here, as a part of a name: "mat2", "Body_3".
  std::string HelperWord(TypeIndex type) const;
  // As it is written: the words of parameters are those of the host, too.
  std::string ParameterType(NodeIndex type) const;

 private:
  const PlainKernel& _kernel;
  std::map<NodeIndex, std::string> _names;  // of declarations that are called otherwise here
};

}  // namespace ostra::kernellanguage

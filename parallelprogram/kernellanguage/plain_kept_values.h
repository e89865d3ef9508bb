// Values of expressions that are computed before the statement that they stand in, by the names of their variables.
#pragma once

#include <map>
#include <string>

#include "parallelprogram/kernellanguage/plain_kernel.h"

namespace ostra::kernellanguage {

class KeptValues {
 public:
  // The kernel must outlive the values.
  explicit KeptValues(const PlainKernel& kernel) : _kernel(kernel) {}

  void Keep(NodeIndex node, std::string name) { _names[node] = std::move(name); }
  void Release(NodeIndex node) { _names.erase(node); }
  Bool IsKept(NodeIndex node) const { return _names.contains(node); }
  // The name of the value; null for an expression that is computed where it stands.
  const std::string* Find(NodeIndex node) const;

  // Whether naming the value several times costs nothing and changes nothing: as it is wanted, and as it is itself.
  Bool IsSimple(NodeIndex node) const;
  Bool IsSimpleValue(NodeIndex node) const;

 private:
  const PlainKernel& _kernel;
  std::map<NodeIndex, std::string> _names;
};

}  // namespace ostra::kernellanguage

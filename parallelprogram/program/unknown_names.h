// Says once of every name that a kernel was given something for a parameter that it does not have.
#pragma once

#include "ostra/core/base_array.h"
#include "ostra/core/interned_id.h"
#include "ostra/core/nearest_word.h"

namespace ostra {

class UnknownNames {
 public:
  // Writes a diagnostic: a warning with the nearest of the `count` names that `getName` gives (std::string_view of an
  // Int), or a mere information when none is near: clients may keep links and values that a kernel does not use. The
  // names of noises are never reported, and of the rest each only once.
  template <class GetName>
  void Report(const InternedId& kernelId, const InternedId& name, Int count, GetName&& getName) {
    if (!ShouldReport(name)) return;
    NearestWord nearest(name.GetView(), name.GetView().size() < 8 ? 2 : 3);
    for (Int i = 0; i < count; ++i) nearest.Try(getName(i));
    Write(kernelId, name, nearest.Get());
  }

 private:
  // Notes the name; false when it was noted before or cannot be.
  Bool ShouldReport(const InternedId& name);
  static void Write(const InternedId& kernelId, const InternedId& name, std::string_view nearest);

  BaseArray<InternedId> _reported;
};

}  // namespace ostra

#include "parallelprogram/kernellanguage/parse_names.h"

#include <algorithm>

#include "parallelprogram/kernellanguage/words.h"

namespace ostra::kernellanguage {

void ParseNames::AddStruct(std::string_view name) {
  _structs.insert(name);
  _structNames.push_back(name);
}

Bool ParseNames::IsType(std::string_view name) const {
  if (std::find(_hiddenTypes.begin(), _hiddenTypes.end(), name) != _hiddenTypes.end()) return false;
  if (_structs.contains(name) || _aliases.contains(name) || name.starts_with("TextureSampler_")) return true;
  const Word* known = FindWord(name);
  return known && known->kind == WordKind::kType;
}

std::string_view ParseNames::GetMeant(std::string_view name) const {
  const auto alias = _aliases.find(name);
  return alias == _aliases.end() ? name : alias->second;
}

Bool ParseNames::IsKnown(std::string_view name) const {
  return _declared.contains(name) || _structs.contains(name) || FindWord(name) != nullptr;
}

}  // namespace ostra::kernellanguage

#include "parallelprogram/kernellanguage/group_variables.h"

namespace ostra::kernellanguage {

Bool GroupVariables::Declare(NodeIndex variable) {
  const auto [known, isNew] = _variables.try_emplace(variable);
  known->second.piece = _pieceCount;
  if (isNew) _order.push_back(variable);
  if (known->second.place == GroupPlace::kKept) _kept.insert(variable);
  return isNew;
}

void GroupVariables::DeclareShared(NodeIndex variable) {
  _variables[variable] = {.place = GroupPlace::kShared};
  _order.push_back(variable);
}

void GroupVariables::Use(NodeIndex variable) {
  const auto known = _variables.find(variable);
  if (known == _variables.end()) return;
  GroupPlace& place = known->second.place;
  if (place == GroupPlace::kPiece && known->second.piece != _pieceCount)
    place = known->second.isRepeatable ? GroupPlace::kRepeated : GroupPlace::kKept;
  if (place == GroupPlace::kRepeated) _repeated.insert(variable);
  if (place == GroupPlace::kKept) _kept.insert(variable);
}

Bool GroupVariables::IsAt(NodeIndex variable, GroupPlace place) const {
  const auto known = _variables.find(variable);
  return known != _variables.end() && known->second.place == place;
}

Bool GroupVariables::IsRepeatable(NodeIndex variable) const {
  const auto known = _variables.find(variable);
  return known != _variables.end() && known->second.isRepeatable;
}

std::vector<NodeIndex> GroupVariables::TakeKept() {
  std::vector<NodeIndex> kept(_kept.begin(), _kept.end());
  _kept.clear();
  return kept;
}

}  // namespace ostra::kernellanguage

#include "parallelprogram/kernellanguage/token_cursor.h"

namespace ostra::kernellanguage {

Bool TokenCursor::TakeAngle() {
  if (_isAngleSplit) {
    _isAngleSplit = false;
    Take();
    return true;
  }
  if (TakeIf(">")) return true;
  _isAngleSplit = Is(">>");
  return _isAngleSplit;
}

Bool TokenCursor::HasLineStartSince(std::size_t after) const {
  for (std::size_t i = after + 1; i <= _at && i < _tokens.size(); ++i) {
    if (_tokens[i].isFirstInLine) return true;
  }
  return false;
}

}  // namespace ostra::kernellanguage

// What every part of the printer of the wide form has: the kernel, the text that is being written, the masks around the
// current statement, types. Parts get the others that they use when they are made.
#pragma once

#include "parallelprogram/kernellanguage/join.h"
#include "parallelprogram/kernellanguage/lane_masks.h"
#include "parallelprogram/kernellanguage/lane_types.h"

namespace ostra::kernellanguage {

struct LaneBasis {
  const LaneKernel& kernel;
  LaneOutput& out;
  LaneMasks& masks;
  LaneTypes& types;
};

class LanePart : protected LaneQuery {
 protected:
  explicit LanePart(const LaneBasis& basis)
      : LaneQuery(basis.kernel), _out(basis.out), _masks(basis.masks), _laneTypes(basis.types) {}
  ~LanePart() = default;

  void Line(std::initializer_list<std::string_view> parts) { _out.Line(parts); }
  void MarkLine(NodeIndex node) { _out.MarkLine(node); }
  std::string NewName(std::string_view stem) { return _out.NewName(stem); }
  void Refuse(NodeIndex node, std::string reason) { _out.Refuse(node, std::move(reason)); }
  Bool HasRefused() const { return _out.HasRefused(); }
  const std::string& GetMask() const { return _masks.Get(); }
  std::string SharedType(TypeIndex type) const { return _laneTypes.SharedType(type); }
  std::string LaneType(TypeIndex type, NodeIndex place) { return _laneTypes.LaneType(type, place); }
  Bool HasLaneType(TypeIndex type) const { return _laneTypes.HasLaneType(type); }

  LaneOutput& _out;
  LaneMasks& _masks;
  LaneTypes& _laneTypes;
};

}  // namespace ostra::kernellanguage

// Types of values in lanes: lanes for numbers, vectors and matrices of lanes, and for a struct of the file one with
// lanes as members.
#pragma once

#include <unordered_map>

#include "parallelprogram/kernellanguage/lane_kernel.h"
#include "parallelprogram/kernellanguage/lane_output.h"

namespace ostra::kernellanguage {

class LaneTypes : LaneQuery {
 public:
  LaneTypes(const LaneKernel& kernel, LaneOutput& out) : LaneQuery(kernel), _out(out) {}

  // Of one value for all lanes; empty: it has none.
  std::string SharedType(TypeIndex type) const;
  // Empty, and `place` is refused: it has none.
  std::string LaneType(TypeIndex type, NodeIndex place);
  Bool HasLaneType(TypeIndex type) const;
  // Writes those of the structs.
  void PrintStructs();

 private:
  // A number, vector or matrix of a struct, and the way to it.
  struct Part {
    std::string path;
    TypeIndex type = kUnknownType;
  };

  Bool HasLaneStruct(NodeIndex declaration) const;
  void AddParts(std::string path, TypeIndex type, std::vector<Part>& parts) const;
  std::vector<Part> GetParts(NodeIndex declaration) const;
  void PrintStruct(NodeIndex declaration);
  void PrintMembers(NodeIndex declaration);
  // A line per part, with its path in place of ".".
  void PrintParts(const std::vector<Part>& parts, std::initializer_list<std::string_view> texts);
  void Line(std::initializer_list<std::string_view> parts) { _out.Line(parts); }

  LaneOutput& _out;
  mutable std::unordered_map<TypeIndex, Bool> _laneStructs;  // the answers of HasLaneType for structs
};

}  // namespace ostra::kernellanguage

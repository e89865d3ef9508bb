// LanePiecePrinter: prints the pieces of a kernel whose invocations exchange values, in lanes along x of the group.
//
//   LanePiecePrinter printer(kernel, uniformity, options, names);
//   const LaneCode common = printer.PrintCommon();
//   const LaneCode code = printer.PrintPiece(piece);      // any number of times
#pragma once

#include "parallelprogram/kernellanguage/lane_printer.h"

namespace ostra::kernellanguage {

class LanePiecePrinter : private LanePrinter {
 public:
  // `uniformity` is that of a row of a group; `names` are those of the variables that lie outside of pieces.
  LanePiecePrinter(const AnalyzedKernel& kernel, const UniformityTable& uniformity, const LaneCodeOptions& options,
                   const GroupNames& names)
      : LanePrinter(kernel, uniformity, options, &names) {}

  // What all pieces have in common: members of the struct that has their loops.
  LaneCode PrintCommon();
  // The loop of one piece over its group, after PrintCommon.
  LaneCode PrintPiece(const GroupPiece& piece);

 private:
  void Item(const GroupPiece::Item& item);
  void LoadKept(NodeIndex variable);
  void KeepValue(NodeIndex variable);
  Bool IsOrdinaryValue(TypeIndex type) const;
  NodeIndex CountStores(NodeIndex node, LaneWalk& walk) const;
  NodeIndex FindSlowStore(const GroupPiece& piece) const;
};

}  // namespace ostra::kernellanguage

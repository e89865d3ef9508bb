// Where an understood kernel and its headers name what they declare.
#pragma once

#include <vector>

#include "parallelprogram/kernellanguage/front_end.h"

namespace ostra::tool {

// A name in one of the files. Offsets are bytes of the file's text.
struct NamePlace {
  Int file = 0;  // as SourceMap counts them; 0 is the kernel file
  UInt32 begin = 0, end = 0;
  kernellanguage::NodeIndex declaration = kernellanguage::kNoNode;
  Bool isDeclaration = false;
};

class NameIndex {
 public:
  NameIndex() = default;
  // For a kernel without errors that is understood. What a macro makes is found where it is written.
  explicit NameIndex(const kernellanguage::AnalyzedKernel& kernel);

  // The name at a byte or right before it; null without one.
  const NamePlace* Find(Int file, UInt32 offset) const;
  // The place where a node's name is declared; null for none.
  const NamePlace* FindDeclaration(kernellanguage::NodeIndex declaration) const;
  // All places of one declaration, in the order of the files.
  std::vector<NamePlace> FindAll(kernellanguage::NodeIndex declaration) const;
  // In the order of the files.
  const std::vector<NamePlace>& GetPlaces() const { return _places; }

 private:
  std::vector<NamePlace> _places;
};

}  // namespace ostra::tool

// How the structs lie in memory that are elements of a kernel's buffers.
//
// They are made of integers, floats of 16 and 32 bits, vectors and matrices of what has 32 bits or is a half float,
// arrays, other such structs.
// No member needs padding, so that C++, GLSL, HLSL and Metal agree on every offset.
#pragma once

#include <string>
#include <vector>

#include "parallelprogram/kernellanguage/diagnostic.h"
#include "parallelprogram/kernellanguage/resolved_tree.h"

namespace ostra::kernellanguage {

struct StructMember {
  std::string name = {};
  Type type = {};               // of the elements of an array
  UInt32 structure = 0;         // of a member that is a struct: its place in StructLayouts::structs
  UInt32 count = 0;             // elements of an array; 0 for a member that is none
  UInt32 offset = 0, size = 0;  // bytes
};

struct StructLayout {
  std::string name = {};
  std::vector<StructMember> members;
  UInt32 size = 0, alignment = 1;  // bytes
};

struct StructLayouts {
  std::vector<StructLayout> structs;  // each one behind those that it is made of
  std::vector<Diagnostic> errors;
};

// For a tree that was resolved without errors.
StructLayouts LayOutBufferStructs(const SyntaxTree& tree, const ResolvedTree& resolved);

}  // namespace ostra::kernellanguage

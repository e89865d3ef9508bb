// The operations that the conformance suite measures one by one, and how far a device may be from the exact value.
//
// A unit in the last place is the distance of two neighbouring 32-bit floats at the exact value. What a device is
// allowed is what Vulkan demands of it; functions that it defines by others inherit their errors.
#pragma once

#include <span>
#include <vector>

#include "ostra/core/types.h"

namespace ostra::conformance {

struct Operands {
  Float32 x = 0, y = 0, z = 0;
};

enum class DistanceUnit { LastPlace, Absolute };

struct Operation {
  const char* name = "";
  const char* promise = nullptr;  // in words; null: the same bits as on the CPU
  Float64 (*exact)(const Operands&) = nullptr;
  // The largest distance from the exact value that is allowed.
  Float64 (*allowance)(const Operands&, Float64 exact) = nullptr;
  DistanceUnit unit = DistanceUnit::LastPlace;
};

// A kernel with the buffers a, b, c and results, which holds one result per operation for each element.
struct OperationGroup {
  const char* name;    // of the group
  const char* test;    // the same as one word
  const char* kernel;  // file
  std::span<const Operation> operations;
  std::vector<Operands> (*makeOperands)();
};

std::span<const OperationGroup> GetOperationGroups();

// The distance of two neighbouring 32-bit floats at `value`, which is in their normal range.
Float64 GetLastPlace(Float64 value);

}  // namespace ostra::conformance

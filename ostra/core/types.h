// The fixed-size arithmetic types that interfaces, records and kernel files are written in.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ostra {

using Bool = bool;
using Char = char;
using Byte = unsigned char;
using Int8 = std::int8_t;
using Int16 = std::int16_t;
using Int32 = std::int32_t;
using Int64 = std::int64_t;
using UInt8 = std::uint8_t;
using UInt16 = std::uint16_t;
using UInt32 = std::uint32_t;
using UInt64 = std::uint64_t;
using Float32 = float;
using Float64 = double;

// Counts, indices and byte sizes. Signed, so that a wrong subtraction is negative instead of huge.
using Int = Int64;

// Element type of containers whose real element type is only known at run time.
class Generic;

}  // namespace ostra

#include "apps/ostra/run/compare_runs.h"

#include <cmath>
#include <cstring>
#include <limits>

#include "apps/ostra/values/element_numbers.h"
#include "ostra/core/format.h"
#include "ostra/math/data_types.h"

OSTRA_UNIT("compare_runs");

namespace ostra::tool {
namespace {

// The number at `bytes`; for a type that is none, its first byte.
Float64 ReadNumber(DataType type, const Byte* bytes) {
  const auto read = [bytes](auto value) {
    std::memcpy(&value, bytes, sizeof(value));
    return static_cast<Float64>(value);
  };
  if (type == GetDataType<Float32>()) return read(Float32());
  if (type == GetDataType<Float64>()) return read(Float64());
  if (type == GetDataType<HalfFloat>())
    return Float64{Float32(HalfFloat::FromBits(static_cast<UInt16>(read(UInt16()))))};
  if (type == GetDataType<Int32>()) return read(Int32());
  if (type == GetDataType<UInt32>()) return read(UInt32());
  return read(Byte());
}

void Note(RunDifference& difference, Float64 distance, const std::string& place) {
  const Float64 size = std::isnan(distance) ? std::numeric_limits<Float64>::infinity() : distance;
  if (!difference.place.empty() && size <= difference.largest) return;
  difference.largest = size;
  difference.place = place;
}

void CompareBuffers(const PlannedBuffer& buffer, const Array<Generic>& one, const Array<Generic>& other,
                    RunDifference& difference) {
  const auto* first = reinterpret_cast<const Byte*>(one.GetFirstBlock().GetFirst());
  const auto* second = reinterpret_cast<const Byte*>(other.GetFirstBlock().GetFirst());
  const Int elementSize = buffer.elementType.GetSize();
  const std::vector<ElementNumber> numbers = ListNumbers(buffer.elementType);
  for (Int i = 0; i < one.GetCount(); ++i, first += elementSize, second += elementSize) {
    if (std::memcmp(first, second, static_cast<std::size_t>(elementSize)) == 0) continue;
    for (const ElementNumber& number : numbers) {
      const Byte* const a = first + number.offset;
      const Byte* const b = second + number.offset;
      if (std::memcmp(a, b, static_cast<std::size_t>(number.type.GetSize())) == 0) continue;
      const Float64 distance = std::abs(ReadNumber(number.type, a) - ReadNumber(number.type, b));
      Note(difference, distance, std::string(buffer.name.GetView()) + "[" + std::to_string(i) + "]" + number.place);
    }
  }
}

}  // namespace

Result<RunDifference> CompareRuns(const RunPlan& plan, const ProgramRun& one, const ProgramRun& other) {
  RunDifference difference;
  for (const PlannedBuffer& buffer : plan.buffers) {
    OSTRA_ASSIGN_OR_RETURN(const Array<Generic> first, one.GetBuffer(buffer.name));
    OSTRA_ASSIGN_OR_RETURN(const Array<Generic> second, other.GetBuffer(buffer.name));
    if (first.GetCount() != second.GetCount())
      return OSTRA_ILLEGAL_STATE("the buffer \"@\" has @ elements on the CPU and @ on the GPU", buffer.name,
                                 first.GetCount(), second.GetCount());
    CompareBuffers(buffer, first, second, difference);
  }
  for (const PlannedCounter& counter : plan.counters) {
    OSTRA_ASSIGN_OR_RETURN(const UInt32 first, one.GetCounter(counter.name));
    OSTRA_ASSIGN_OR_RETURN(const UInt32 second, other.GetCounter(counter.name));
    if (first != second)
      Note(difference, std::abs(static_cast<Float64>(first) - static_cast<Float64>(second)),
           std::string(counter.name.GetView()));
  }
  return difference;
}

}  // namespace ostra::tool

#include "apps/ostra/run/compare_runs.h"

#include <cmath>
#include <cstring>
#include <limits>

#include "ostra/core/format.h"
#include "ostra/math/data_types.h"
#include "plans/values/element_numbers.h"
#include "plans/values/scalar_type.h"

OSTRA_UNIT("compare_runs");

namespace ostra::tool {

using namespace plans;
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
  if (type == GetDataType<Int16>()) return read(Int16());
  if (type == GetDataType<UInt16>()) return read(UInt16());
  if (type == GetDataType<Int64>()) return read(Int64());
  if (type == GetDataType<UInt64>()) return read(UInt64());
  return read(Byte());
}

void Note(RunDifference& difference, Float64 distance, const std::string& place) {
  const Float64 size = std::isnan(distance) ? std::numeric_limits<Float64>::infinity() : distance;
  if (!difference.place.empty() && size <= difference.largest) return;
  difference.largest = size;
  difference.place = place;
}

// Calls `use(element, number, distance, one, other)` for all numbers whose bits differ, until it says false.
template <class Use>
void ForEachDifference(const PlannedBuffer& buffer, const Array<Generic>& one, const Array<Generic>& other, Use&& use) {
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
      if (!use(i, number, distance, a, b)) return;
    }
  }
}

std::string NameElement(const PlannedBuffer& buffer, Int element, const ElementNumber& number) {
  return std::string(buffer.name.GetView()) + "[" + std::to_string(element) + "]" + number.place;
}

std::string PrintNumber(const ElementNumber& number, const Byte* bytes) {
  std::string text;
  if (const ScalarType* const scalar = FindScalarType(number.type))
    scalar->print(bytes, text);
  else
    text = std::to_string(static_cast<unsigned>(*bytes));
  return text;
}

Result<void> CheckCounts(const PlannedBuffer& buffer, const Array<Generic>& one, const Array<Generic>& other) {
  if (one.GetCount() == other.GetCount()) return OK;
  return OSTRA_ILLEGAL_STATE("the buffer \"@\" has @ elements on the CPU and @ on the GPU", buffer.name, one.GetCount(),
                             other.GetCount());
}

}  // namespace

Result<RunDifference> CompareRuns(const RunPlan& plan, const ProgramRun& one, const ProgramRun& other) {
  RunDifference difference;
  for (const PlannedBuffer& buffer : plan.buffers) {
    OSTRA_ASSIGN_OR_RETURN(const Array<Generic> first, one.GetBuffer(buffer.name));
    OSTRA_ASSIGN_OR_RETURN(const Array<Generic> second, other.GetBuffer(buffer.name));
    OSTRA_RETURN_IF_ERROR(CheckCounts(buffer, first, second));
    ForEachDifference(buffer, first, second,
                      [&](Int element, const ElementNumber& number, Float64 distance, const Byte*, const Byte*) {
                        Note(difference, distance, NameElement(buffer, element, number));
                        return true;
                      });
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

Result<std::optional<ElementDifference>> FindDifference(const RunPlan& plan, const ProgramRun& one,
                                                        const ProgramRun& other, Float64 bound) {
  std::optional<ElementDifference> found;
  for (const PlannedBuffer& buffer : plan.buffers) {
    OSTRA_ASSIGN_OR_RETURN(const Array<Generic> first, one.GetBuffer(buffer.name));
    OSTRA_ASSIGN_OR_RETURN(const Array<Generic> second, other.GetBuffer(buffer.name));
    OSTRA_RETURN_IF_ERROR(CheckCounts(buffer, first, second));
    ForEachDifference(buffer, first, second,
                      [&](Int element, const ElementNumber& number, Float64 distance, const Byte* a, const Byte* b) {
                        // What is no number on one side is beyond every bound.
                        if (bound > 0 && distance <= bound) return true;
                        found = {NameElement(buffer, element, number), buffer.name, element, PrintNumber(number, a),
                                 PrintNumber(number, b)};
                        return false;
                      });
    if (found) return found;
  }
  for (const PlannedCounter& counter : plan.counters) {
    OSTRA_ASSIGN_OR_RETURN(const UInt32 first, one.GetCounter(counter.name));
    OSTRA_ASSIGN_OR_RETURN(const UInt32 second, other.GetCounter(counter.name));
    if (std::abs(static_cast<Float64>(first) - static_cast<Float64>(second)) > bound)
      return std::optional(ElementDifference{std::string(counter.name.GetView()), counter.name, -1,
                                             std::to_string(first), std::to_string(second)});
  }
  return found;
}

}  // namespace ostra::tool

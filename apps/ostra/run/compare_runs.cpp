#include "apps/ostra/run/compare_runs.h"

#include <cmath>
#include <cstring>
#include <limits>

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

Int GetNumberSize(DataType type) {
  for (const DataType& known : {GetDataType<Float32>(), GetDataType<Float64>(), GetDataType<HalfFloat>(),
                                GetDataType<Int32>(), GetDataType<UInt32>()})
    if (type == known) return type.GetSize();
  return 1;
}

// What matrices and vectors are made of.
DataType GetNumberType(DataType type) {
  while (type.IsMadeWith(kVectorParametricType) || type.IsMadeWith(kSquareMatrixParametricType) ||
         type.IsMadeWith(kMatrixParametricType) || type.IsMadeWith(kAtomicParametricType))
    type = type.GetInnerType();
  return type;
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
  const DataType number = GetNumberType(buffer.elementType);
  const Int size = GetNumberSize(number);
  for (Int at = 0; at + size <= one.GetCount() * elementSize; at += size) {
    if (std::memcmp(first + at, second + at, static_cast<std::size_t>(size)) == 0) continue;
    const Float64 distance = std::abs(ReadNumber(number, first + at) - ReadNumber(number, second + at));
    Note(difference, distance, std::string(buffer.name.GetView()) + "[" + std::to_string(at / elementSize) + "]");
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

// The parts of the conformance suite that compare numbers: each runs kernels on both programs and says how far they are
// apart.
//
// `kernels` is the folder of a KernelFolder; the kernels' classes must be registered, and a GPU backend with a device
// be loaded.
#pragma once

#include <string>
#include <vector>

#include "conformance/conformance_row.h"
#include "conformance/kernel_scenarios.h"
#include "conformance/operation_bounds.h"
#include "ostra/io/url.h"

namespace ostra::conformance {

// One row per operation.
std::vector<ConformanceRow> CompareOperations(const OperationGroup& group, const Url& kernels);

// One row: results of integer arithmetic, counts of atomics and a counter.
std::vector<ConformanceRow> CompareIntegers(const Url& kernels);
// One row: signed integers whose results do not fit.
std::vector<ConformanceRow> CompareOverflow(const Url& kernels);
// One row: remainders of numbers of either sign.
std::vector<ConformanceRow> CompareRemainders(const Url& kernels);
std::vector<ConformanceRow> CompareLanguage(const Url& kernels);
// One row: members of structs in buffers.
std::vector<ConformanceRow> CompareMembers(const Url& kernels);
// One row: functions of Float64. Held with a remark on devices and in languages without them.
std::vector<ConformanceRow> CompareDoubles(const Url& kernels);
// The same for arithmetic of 64-bit integers.
std::vector<ConformanceRow> CompareLongs(const Url& kernels);
// The same for those of 8 and 16 bits.
std::vector<ConformanceRow> CompareShorts(const Url& kernels);
// Vectors of half floats; the results are compared as bits.
std::vector<ConformanceRow> CompareHalves(const Url& kernels);

// One row for all modes, and one for noises whose number is computed.
std::vector<ConformanceRow> CompareNoises(const Url& kernels);

// Whole texels, and places between texels, in 1, 2 or 3 dimensions; `weightBits` is the precision of the device's
// weights.
std::vector<ConformanceRow> CompareTextures(int dimensions, Int weightBits, const Url& kernels);
// Texels of textures of one channel: floats and bytes.
std::vector<ConformanceRow> CompareTexels(const Url& kernels);

// One row: a kernel of the library.
std::vector<ConformanceRow> CompareKernel(const KernelScenario& scenario, const Url& kernels);

// A number as rows show it: "1.5e-07".
std::string FormatFigure(Float64 figure);

// A row for something that could not be done.
ConformanceRow MakeFailedRow(std::string group, std::string what, std::string promised, std::string failure);

}  // namespace ostra::conformance

// The parts of the parity suite that compare numbers: each runs kernels on both programs and says how far they are
// apart.
//
// `kernels` is the folder of a KernelFolder; the kernels' classes must be registered, and a GPU backend with a device
// be loaded.
#pragma once

#include <string>
#include <vector>

#include "apps/ostra/parity/kernel_scenarios.h"
#include "apps/ostra/parity/operation_bounds.h"
#include "apps/ostra/parity/parity_row.h"
#include "ostra/io/url.h"

namespace ostra::parity {

// One row per operation.
std::vector<ParityRow> CompareOperations(const OperationGroup& group, const Url& kernels);

// One row: results of integer arithmetic, counts of atomics and a counter.
std::vector<ParityRow> CompareIntegers(const Url& kernels);
// One row: signed integers whose results do not fit.
std::vector<ParityRow> CompareOverflow(const Url& kernels);
std::vector<ParityRow> CompareLanguage(const Url& kernels);
// One row: functions of Float64. Held with a remark on devices and in languages without them.
std::vector<ParityRow> CompareDoubles(const Url& kernels);
// The same for arithmetic of 64-bit integers.
std::vector<ParityRow> CompareLongs(const Url& kernels);
// The same for those of 8 and 16 bits.
std::vector<ParityRow> CompareShorts(const Url& kernels);

// One row for all modes, and one for noises whose number is computed.
std::vector<ParityRow> CompareNoises(const Url& kernels);

// Whole texels, and places between texels, in 1, 2 or 3 dimensions; `weightBits` is the precision of the device's
// weights.
std::vector<ParityRow> CompareTextures(int dimensions, Int weightBits, const Url& kernels);
// Texels of textures of one channel: floats and bytes.
std::vector<ParityRow> CompareTexels(const Url& kernels);

// One row: a kernel of the library.
std::vector<ParityRow> CompareKernel(const KernelScenario& scenario, const Url& kernels);

// A number as rows show it: "1.5e-07".
std::string FormatFigure(Float64 figure);

// A row for something that could not be done.
ParityRow MakeFailedRow(std::string group, std::string what, std::string promised, std::string failure);

}  // namespace ostra::parity

// Kernels whose dispatches are recorded: their texts, and the same as classes for the CPU program.
#pragma once

#include "ostra/core/id.h"
#include "ostra/core/result.h"

namespace ostra::test {

inline constexpr Id kAdvance = "net.ostra.test.advance.krn"_id;
inline constexpr Id kPeek = "net.ostra.test.peek.krn"_id;
inline constexpr Id kTally = "net.ostra.test.tally.krn"_id;

// Adds a number to every element, another one for each.
inline constexpr const char* kAdvanceText = R"(#define KERNELINPUTS \
(UInt32) step, \
(const Block<UInt32>) source, \
(Block<UInt32>) target

GROUPSIZE(4, 1, 1)

OSTRA_PARALLEL_KERNEL(Advance, KERNELINPUTS)
{
	uint i = LinearInvocation();
	if (i < 4u) UNIFORM_BUFFER(target)[i] = UNIFORM_BUFFER(source)[i] + UNIFORM(step) * (i + 1u);
}
OSTRA_PARALLEL_KERNEL_END
)";

// Counts its invocations.
inline constexpr const char* kTallyText = R"(#define KERNELINPUTS \
(AtomicUInt32*) hits

GROUPSIZE(1, 1, 1)

OSTRA_PARALLEL_KERNEL(Tally, KERNELINPUTS)
{
	uint old = 0u;
	AtomicAdd(GetAtomicCounter(hits), 1u, old);
}
OSTRA_PARALLEL_KERNEL_END
)";

// Reads a texel.
inline constexpr const char* kPeekText = R"(#define KERNELINPUTS \
(const TextureSampler_2D_R_F32_POINT) image, \
(Block<Float32>) seen

GROUPSIZE(1, 1, 1)

OSTRA_PARALLEL_KERNEL(Peek, KERNELINPUTS)
{
	UNIFORM_BUFFER(seen)[0] = UNIFORM_BUFFER(seen)[0] + FetchTexture(image, int2(1, 1));
}
OSTRA_PARALLEL_KERNEL_END
)";

// Makes the classes known to CPU programs, in a process without the module, and takes them away again.
Result<void> RegisterRecordedKernels();
void EraseRecordedKernels();

}  // namespace ostra::test

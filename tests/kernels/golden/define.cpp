#include "parallelprogram/program/kernel_language.h"

namespace ostra::kernel { namespace {
GROUPSIZE(8, 8, 1)
CPU_SINGLETHREADEDTHRESHOLD(100)
#line 1 "define.krn"
// Both kinds of buffers, a counter, a function with a reference.
#line 1 "folder/define.h"

inline float Half(float x) { return x * 0.5f; }

#line 2 "define.krn"

} }
#line 3 "define.krn"
#include <cstddef>
namespace ostra::kernel { namespace {
#line 3 "define.krn"

struct OstraKernelParameters {
::ostra::kernel::ParameterMember<Float32>::Type ostraParameter_scale{};
::ostra::kernel::ParameterMember<const Block<Vector32>>::Type ostraParameter_points{};
::ostra::kernel::ParameterMember<Block<Vec4<Int32>>>::Type ostraParameter_cells{};
::ostra::kernel::ParameterMember<AtomicUInt32*>::Type hits{}; template <class OstraAdd> ::ostra::Result<void> ForEach([[maybe_unused]] OstraAdd&& add) { OSTRA_PARAMETER_RECORD(scale) OSTRA_PARAMETER_RECORD(points) OSTRA_PARAMETER_RECORD(cells) OSTRA_COUNTER_RECORD(hits) return ::ostra::OK; } };





inline void Grow( Float32 & value,  Float32 (&parts)[2], Float32 by)
{
	value = value * by + .5f; // "0.5" and /* 0.5 */ stay
	parts[0] = 1e-3f; parts[1] = 0x1p3;
}

OSTRA_KERNEL_CLASS(Define, OstraKernelParameters, true, void)
{
	uint i = LinearInvocation();
	CPU_SCOPE_START
	double exact = 0.1;
	CPU_SCOPE_END
	UNIFORM_BUFFER(cells)[i] = int4(1, 2, 3, int(2.5f));
}
};

} }
OSTRA_KERNEL_ENTRY(net_example_define_krn, Define, "net.example.define.krn")

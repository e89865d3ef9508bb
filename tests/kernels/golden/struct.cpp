#include "parallelprogram/program/kernel_language.h"
#include "parallelprogram/program/kernel_registration.h"

namespace ostra::kernel { namespace {
#line 1 "struct.krn"
struct OstraKernelParameters
{
	::ostra::kernel::ParameterMember<Block<Vector32>&>::Type ostraParameter_values{};
	::ostra::kernel::ParameterMember<const Block<Float32>&>::Type ostraParameter_steps{};
	::ostra::kernel::ParameterMember<Float32>::Type ostraParameter_factor{};
template <class OstraAdd> ::ostra::Result<void> ForEach([[maybe_unused]] OstraAdd&& add) { OSTRA_PARAMETER_RECORD(values) OSTRA_UNUSED_PARAMETER_RECORD(steps) OSTRA_PARAMETER_RECORD(factor) return ::ostra::OK; } };


#line 15 "struct.krn"


inline Vector32 Later(Float32 x)
{
	return Vector32(x);
}

#line 8 "struct.krn"
OSTRA_KERNEL_CLASS(OstraKernel, OstraKernelParameters, false, ::ostra::Result<void>)

{
	UNIFORM_BUFFER(values)[InGlobalInvocationID.x] = Later(UNIFORM(factor));
	CPU_SCOPE_START
	return OK;
	CPU_SCOPE_END
} };
} }
OSTRA_KERNEL_ENTRY(net_example_struct_krn, OstraKernel, "net.example.struct.krn")
OSTRA_KERNEL_MODULE(net_example_struct_krn, "net.example.struct.krn")

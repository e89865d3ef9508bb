struct OstraUniforms
{
	uint value_count;
};
#define ostraUniform_count ostraUniforms.value_count
// Counts how often each value below 256 occurs: first in group memory, then in the bins; add to counts of zero.
constant uint3 InWorkGroupSize = uint3(256, 1, 1);
kernel void ostraMain(uint3 InGlobalInvocationID [[thread_position_in_grid]], uint3 InLocalInvocationID [[thread_position_in_threadgroup]], uint3 InWorkGroupID [[threadgroup_position_in_grid]]
	, constant OstraUniforms& ostraUniforms [[buffer(0)]]
	, device const ostraStored<UInt32>::Type* ostraBuffer_values [[buffer(1)]]
	, device  ostraStored<UInt32>::Type* ostraBuffer_bins [[buffer(2)]]
	)
{
groupSharedMemory uint shares[256]; 
{

uint i = InGlobalInvocationID.x;
uint k = InLocalInvocationID.x;
shares[k] = 0u;
groupSharedBarrier;
if (i < UNIFORM(count))
{
uint bin = min(UNIFORM_BUFFER(values)[i], 255u);
uint old = 0u;
AtomicAdd(shares[bin], 1u, old);
}
groupSharedBarrier;
uint share = shares[k];
if (share > 0u)
{
uint before = 0u;
AtomicAdd(UNIFORM_BUFFER(bins)[k], share, before);
}
}
}

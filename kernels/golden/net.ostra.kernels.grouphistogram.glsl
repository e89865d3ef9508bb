layout(set = 0, binding = 0, std140) uniform OstraUniforms
{
	layout(offset = 0) uint ostraUniform_count;
};
layout(set = 0, binding = 1, scalar) readonly buffer OstraBuffer_values
{
	UInt32 ostraBuffer_values[];
};
layout(set = 0, binding = 2, scalar)  buffer OstraBuffer_bins
{
	UInt32 ostraBuffer_bins[];
};
// Counts how often each value below 256 occurs: first in group memory, then in the bins; add to counts of zero.
layout(local_size_x = 256, local_size_y = 1, local_size_z = 1) in;
groupSharedMemory uint shares[256]; 
void main()
{
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

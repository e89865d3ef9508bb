[[vk::binding(0, 0)]] cbuffer OstraUniforms : register(b0)
{
	uint ostraUniform_count : packoffset(c0.x);
};
[[vk::binding(1, 0)]] StructuredBuffer<UInt32> ostraBuffer_values : register(t1);
[[vk::binding(2, 0)]] RWStructuredBuffer<UInt32> ostraBuffer_bins : register(u2);
// Counts how often each value below 256 occurs: first in group memory, then in the bins; add to counts of zero.
static const uint3 InWorkGroupSize = uint3(256, 1, 1);
groupSharedMemory uint shares[256]; 
[numthreads(256, 1, 1)]
void main(uint3 InGlobalInvocationID : SV_DispatchThreadID, uint3 InLocalInvocationID : SV_GroupThreadID, uint3 InWorkGroupID : SV_GroupID)
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

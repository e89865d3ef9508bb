[[vk::binding(0, 0)]] cbuffer OstraUniforms : register(b0)
{
	uint ostraUniform_count : packoffset(c0.x);
};
[[vk::binding(1, 0)]] StructuredBuffer<UInt32> ostraBuffer_source : register(t1);
[[vk::binding(2, 0)]] RWStructuredBuffer<UInt32> ostraBuffer_target : register(u2);
[[vk::binding(3, 0)]] RWStructuredBuffer<UInt32> ostraBuffer_totals : register(u3);
// Prefix sums within each group of 256 elements, and the sum of each group: two more steps make them sums of everything.
static const uint3 InWorkGroupSize = uint3(256, 1, 1);
groupSharedMemory uint sums[256]; 
[numthreads(256, 1, 1)]
void main(uint3 InGlobalInvocationID : SV_DispatchThreadID, uint3 InLocalInvocationID : SV_GroupThreadID, uint3 InWorkGroupID : SV_GroupID)
{
{

uint i = InGlobalInvocationID.x;
uint k = InLocalInvocationID.x;
uint sum = 0u;
if (i < UNIFORM(count))
{
sum = UNIFORM_BUFFER(source)[i];
}
sums[k] = sum;
groupSharedBarrier;
for (uint reach = 1u; reach < 256u; reach = reach * 2u)
{
if (k >= reach)
{
sum = sum + sums[k - reach];
}
groupSharedBarrier;
sums[k] = sum;
groupSharedBarrier;
}
if (i < UNIFORM(count))
{
UNIFORM_BUFFER(target)[i] = sum;
}
if (k == 255u)
{
UNIFORM_BUFFER(totals)[InWorkGroupID.x] = sum;
}
}
}

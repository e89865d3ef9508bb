[[vk::binding(1, 0)]] StructuredBuffer<UInt32> ostraBuffer_counts : register(t1);
[[vk::binding(2, 0)]] RWStructuredBuffer<Float32> ostraBuffer_values : register(u2);
// Takes the square root of each of the first counts[0] values in place; meant for an indirect dispatch in groups of 64.
static const uint3 InWorkGroupSize = uint3(64, 1, 1);
[numthreads(64, 1, 1)]
void main(uint3 InGlobalInvocationID : SV_DispatchThreadID, uint3 InLocalInvocationID : SV_GroupThreadID, uint3 InWorkGroupID : SV_GroupID)
{
{
uint i = InGlobalInvocationID.x;
if (i < UNIFORM_BUFFER(counts)[0])
{
UNIFORM_BUFFER(values)[i] = sqrt(UNIFORM_BUFFER(values)[i]);
}
}
}

[[vk::binding(0, 0)]] cbuffer OstraUniforms : register(b0)
{
	int ostraUniform_groupSize : packoffset(c0.x);
};
[[vk::binding(1, 0)]] StructuredBuffer<UInt32> ostraBuffer_counts : register(t1);
[[vk::binding(2, 0)]] RWStructuredBuffer<IntVector4d32> ostraBuffer_arguments : register(u2);
// Writes the arguments of an indirect dispatch that has one invocation for each of the counts[0] elements; one invocation.
static const uint3 InWorkGroupSize = uint3(1, 1, 1);
[numthreads(1, 1, 1)]
void main(uint3 InGlobalInvocationID : SV_DispatchThreadID, uint3 InLocalInvocationID : SV_GroupThreadID, uint3 InWorkGroupID : SV_GroupID)
{
{
if (InGlobalInvocationID.x == 0u)
{
int elements = int(UNIFORM_BUFFER(counts)[0]);
int groups = (elements + UNIFORM(groupSize) - 1) / UNIFORM(groupSize);
UNIFORM_BUFFER(arguments)[0] = int4(groups, 1, 1, elements);
}
}
}

[[vk::binding(0, 0)]] cbuffer OstraUniforms : register(b0)
{
	uint ostraUniform_count : packoffset(c0.x);
	float ostraUniform_limit : packoffset(c0.y);
};
[[vk::binding(1, 0)]] StructuredBuffer<Float32> ostraBuffer_values : register(t1);
[[vk::binding(2, 0)]] RWStructuredBuffer<Float32> ostraBuffer_found : register(u2);
[[vk::binding(3, 0)]] RWStructuredBuffer<UInt32> ostraBuffer_counts : register(u3);
// Collects the values above a limit, in any order, and counts them in counts[0], which must be 0 before.
static const uint3 InWorkGroupSize = uint3(256, 1, 1);
[numthreads(256, 1, 1)]
void main(uint3 InGlobalInvocationID : SV_DispatchThreadID, uint3 InLocalInvocationID : SV_GroupThreadID, uint3 InWorkGroupID : SV_GroupID)
{
{
uint i = LinearInvocation();
if (i >= UNIFORM(count))
{
return;
}
float value = UNIFORM_BUFFER(values)[i];
if (value > UNIFORM(limit))
{
uint place = 0u;
AtomicAdd(UNIFORM_BUFFER(counts)[0], 1u, place);
UNIFORM_BUFFER(found)[place] = value;
}
}
}

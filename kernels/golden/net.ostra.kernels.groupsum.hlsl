[[vk::binding(0, 0)]] cbuffer OstraUniforms : register(b0)
{
	uint ostraUniform_count : packoffset(c0.x);
};
[[vk::binding(1, 0)]] StructuredBuffer<Float32> ostraBuffer_source : register(t1);
[[vk::binding(2, 0)]] RWStructuredBuffer<Float32> ostraBuffer_sums : register(u2);
// Sums the elements of each group of 256 in group memory; one sum for each group.
static const uint3 InWorkGroupSize = uint3(256, 1, 1);
groupSharedMemory float partial[256]; 
[numthreads(256, 1, 1)]
void main(uint3 InGlobalInvocationID : SV_DispatchThreadID, uint3 InLocalInvocationID : SV_GroupThreadID, uint3 InWorkGroupID : SV_GroupID)
{
{

uint i = InGlobalInvocationID.x;
uint k = InLocalInvocationID.x;
float value = 0.0;
if (i < UNIFORM(count))
{
value = UNIFORM_BUFFER(source)[i];
}
partial[k] = value;
groupSharedBarrier;
for (uint reach = 128u; reach > 0u; reach = reach / 2u)
{
if (k < reach)
{
partial[k] = partial[k] + partial[k + reach];
}
groupSharedBarrier;
}
if (k == 0u)
{
UNIFORM_BUFFER(sums)[InWorkGroupID.x] = partial[0];
}
}
}

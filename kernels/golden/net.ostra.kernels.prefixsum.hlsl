[[vk::binding(0, 0)]] cbuffer OstraUniforms : register(b0)
{
	uint ostraUniform_count : packoffset(c0.x);
	uint ostraUniform_distance : packoffset(c0.y);
};
[[vk::binding(1, 0)]] StructuredBuffer<UInt32> ostraBuffer_source : register(t1);
[[vk::binding(2, 0)]] RWStructuredBuffer<UInt32> ostraBuffer_target : register(u2);
// One of the passes of a running sum: adds the value that lies distance before. Distances 1, 2, 4, ... up to count give it.
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
uint sum = UNIFORM_BUFFER(source)[i];
if (i >= UNIFORM(distance))
{
sum = sum + UNIFORM_BUFFER(source)[i - UNIFORM(distance)];
}
UNIFORM_BUFFER(target)[i] = sum;
}
}

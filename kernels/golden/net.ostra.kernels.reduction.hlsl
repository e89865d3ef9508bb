[[vk::binding(0, 0)]] cbuffer OstraUniforms : register(b0)
{
	uint ostraUniform_count : packoffset(c0.x);
	uint ostraUniform_run : packoffset(c0.y);
};
[[vk::binding(1, 0)]] StructuredBuffer<Float32> ostraBuffer_values : register(t1);
[[vk::binding(2, 0)]] RWStructuredBuffer<Float32> ostraBuffer_sums : register(u2);
// Adds up neighbouring runs of values: sums[i] = values[i * run] + ... Dispatched again on its sums until one is left.
static const uint3 InWorkGroupSize = uint3(256, 1, 1);
[numthreads(256, 1, 1)]
void main(uint3 InGlobalInvocationID : SV_DispatchThreadID, uint3 InLocalInvocationID : SV_GroupThreadID, uint3 InWorkGroupID : SV_GroupID)
{
{
uint i = LinearInvocation();
uint first = i * UNIFORM(run);
if (first >= UNIFORM(count))
{
return;
}
uint last = min(first + UNIFORM(run), UNIFORM(count));
float sum = 0.0;
for (uint k = first; k < last; k++)
{
sum = sum + UNIFORM_BUFFER(values)[k];
}
UNIFORM_BUFFER(sums)[i] = sum;
}
}

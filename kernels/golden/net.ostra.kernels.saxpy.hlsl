[[vk::binding(0, 0)]] cbuffer OstraUniforms : register(b0)
{
	uint ostraUniform_count : packoffset(c0.x);
	float ostraUniform_a : packoffset(c0.y);
};
[[vk::binding(1, 0)]] StructuredBuffer<Float32> ostraBuffer_x : register(t1);
[[vk::binding(2, 0)]] RWStructuredBuffer<Float32> ostraBuffer_y : register(u2);
// y = a * x + y, element by element, over one range of any length.
static const uint3 InWorkGroupSize = uint3(256, 1, 1);
[numthreads(256, 1, 1)]
void main(uint3 InGlobalInvocationID : SV_DispatchThreadID, uint3 InLocalInvocationID : SV_GroupThreadID, uint3 InWorkGroupID : SV_GroupID)
{
{
uint i = LinearInvocation();
if (i < UNIFORM(count))
{
UNIFORM_BUFFER(y)[i] = UNIFORM(a) * UNIFORM_BUFFER(x)[i] + UNIFORM_BUFFER(y)[i];
}
}
}

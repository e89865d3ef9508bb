[[vk::binding(0, 0)]] cbuffer OstraUniforms : register(b0)
{
	uint ostraUniform_count : packoffset(c0.x);
	uint ostraUniform_binCount : packoffset(c0.y);
	float ostraUniform_brightest : packoffset(c0.z);
};
[[vk::binding(1, 0)]] StructuredBuffer<Vector4d32> ostraBuffer_source : register(t1);
[[vk::binding(2, 0)]] RWStructuredBuffer<UInt32> ostraBuffer_bins : register(u2);
// Counts how many pixels of an RGBA picture have which brightness, in as many bins as asked for; add to counts of zero.
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
vec4 pixel = UNIFORM_BUFFER(source)[i];
float brightness = dot(vec3(pixel.x, pixel.y, pixel.z), vec3(0.2126, 0.7152, 0.0722));
float place = clamp(brightness / UNIFORM(brightest), 0.0, 1.0) * float(UNIFORM(binCount));
uint bin = min(uint(place), UNIFORM(binCount) - 1u);
uint old = 0u;
AtomicAdd(UNIFORM_BUFFER(bins)[bin], 1u, old);
}
}

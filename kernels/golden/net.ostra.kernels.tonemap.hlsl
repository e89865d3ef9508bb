Float32 ToneCurve(Float32 x)
{
return x * (2.51 * x + 0.03) / (x * (2.43 * x + 0.59) + 0.14);
}
[[vk::binding(0, 0)]] cbuffer OstraUniforms : register(b0)
{
	uint ostraUniform_count : packoffset(c0.x);
	float ostraUniform_exposure : packoffset(c0.y);
	float ostraUniform_white : packoffset(c0.z);
	float ostraUniform_gamma : packoffset(c0.w);
};
[[vk::binding(1, 0)]] StructuredBuffer<Vector4d32> ostraBuffer_source : register(t1);
[[vk::binding(2, 0)]] RWStructuredBuffer<Vector4d32> ostraBuffer_target : register(u2);
[[vk::binding(3, 0)]] RWStructuredBuffer<uint> ostraCounter_clipped : register(u3);
#define clipped ostraCounter_clipped[0]
// Maps RGBA light of any brightness to 0 ... 1 with a filmic curve, counts the pixels that are too bright for it.
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
vec3 light = max(vec3(pixel.x, pixel.y, pixel.z) * UNIFORM(exposure), 0.0);
float brightness = dot(light, vec3(0.2126, 0.7152, 0.0722));
if (brightness > UNIFORM(white))
{
uint old = 0u;
AtomicAdd((clipped), 1u, old);
}
float scale = 1.0 / ToneCurve(UNIFORM(white));
vec3 mapped = clamp(vec3(ToneCurve(light.x), ToneCurve(light.y), ToneCurve(light.z)) * scale, 0.0, 1.0);
float power = 1.0 / UNIFORM(gamma);
mapped = vec3(pow(mapped.x, power), pow(mapped.y, power), pow(mapped.z, power));
UNIFORM_BUFFER(target)[i] = vec4(mapped.x, mapped.y, mapped.z, pixel.w);
}
}

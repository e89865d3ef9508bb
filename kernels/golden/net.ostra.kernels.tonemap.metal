Float32 ToneCurve(Float32 x)
{
return x * (2.51 * x + 0.03) / (x * (2.43 * x + 0.59) + 0.14);
}
struct OstraUniforms
{
	uint value_count;
	float value_exposure;
	float value_white;
	float value_gamma;
};
#define ostraUniform_count ostraUniforms.value_count
#define ostraUniform_exposure ostraUniforms.value_exposure
#define ostraUniform_white ostraUniforms.value_white
#define ostraUniform_gamma ostraUniforms.value_gamma
// Maps RGBA light of any brightness to 0 ... 1 with a filmic curve, counts the pixels that are too bright for it.
constant uint3 InWorkGroupSize = uint3(256, 1, 1);
kernel void ostraMain(uint3 InGlobalInvocationID [[thread_position_in_grid]], uint3 InLocalInvocationID [[thread_position_in_threadgroup]], uint3 InWorkGroupID [[threadgroup_position_in_grid]]
	, constant OstraUniforms& ostraUniforms [[buffer(0)]]
	, device const ostraStored<Vector4d32>::Type* ostraBuffer_source [[buffer(1)]]
	, device  ostraStored<Vector4d32>::Type* ostraBuffer_target [[buffer(2)]]
	, device atomic_uint& clipped [[buffer(3)]]
	)
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

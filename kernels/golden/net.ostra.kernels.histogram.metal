struct OstraUniforms
{
	uint value_count;
	uint value_binCount;
	float value_brightest;
};
#define ostraUniform_count ostraUniforms.value_count
#define ostraUniform_binCount ostraUniforms.value_binCount
#define ostraUniform_brightest ostraUniforms.value_brightest
// Counts how many pixels of an RGBA picture have which brightness, in as many bins as asked for; add to counts of zero.
constant uint3 InWorkGroupSize = uint3(256, 1, 1);
kernel void ostraMain(uint3 InGlobalInvocationID [[thread_position_in_grid]], uint3 InLocalInvocationID [[thread_position_in_threadgroup]], uint3 InWorkGroupID [[threadgroup_position_in_grid]]
	, constant OstraUniforms& ostraUniforms [[buffer(0)]]
	, device const ostraStored<Vector4d32>::Type* ostraBuffer_source [[buffer(1)]]
	, device  ostraStored<UInt32>::Type* ostraBuffer_bins [[buffer(2)]]
	)
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

layout(set = 0, binding = 0, std140) uniform OstraUniforms
{
	layout(offset = 0) uint ostraUniform_count;
	layout(offset = 4) uint ostraUniform_binCount;
	layout(offset = 8) float ostraUniform_brightest;
};
layout(set = 0, binding = 1, scalar) readonly buffer OstraBuffer_source
{
	Vector4d32 ostraBuffer_source[];
};
layout(set = 0, binding = 2, scalar)  buffer OstraBuffer_bins
{
	UInt32 ostraBuffer_bins[];
};
// Counts how many pixels of an RGBA picture have which brightness, in as many bins as asked for; add to counts of zero.
layout(local_size_x = 256, local_size_y = 1, local_size_z = 1) in;
void main()
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

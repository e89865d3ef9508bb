Float32 ToneCurve(Float32 x)
{
return x * (2.51 * x + 0.03) / (x * (2.43 * x + 0.59) + 0.14);
}
layout(set = 0, binding = 0, std140) uniform OstraUniforms
{
	layout(offset = 0) uint ostraUniform_count;
	layout(offset = 4) float ostraUniform_exposure;
	layout(offset = 8) float ostraUniform_white;
	layout(offset = 12) float ostraUniform_gamma;
};
layout(set = 0, binding = 1, scalar) readonly buffer OstraBuffer_source
{
	Vector4d32 ostraBuffer_source[];
};
layout(set = 0, binding = 2, scalar)  buffer OstraBuffer_target
{
	Vector4d32 ostraBuffer_target[];
};
layout(set = 0, binding = 3, scalar) buffer OstraCounter_clipped
{
	uint clipped;
};
// Maps RGBA light of any brightness to 0 ... 1 with a filmic curve, counts the pixels that are too bright for it.
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

layout(set = 0, binding = 0, std140) uniform OstraUniforms
{
	layout(offset = 0) int ostraUniform_width;
	layout(offset = 4) int ostraUniform_height;
	layout(offset = 8) int ostraUniform_steps;
	layout(offset = 12) float ostraUniform_angle;
	layout(offset = 16) float ostraUniform_density;
	layout(offset = 32) vec3 ostraUniform_colour;
	layout(offset = 48) uint ostraUniform_wrapModesOf_volume;
};
layout(set = 0, binding = 1, scalar)  buffer OstraBuffer_result
{
	Vector4d32 ostraBuffer_result[];
};
layout(set = 0, binding = 2) uniform sampler3D ostraTexture_volume;
ivec3 ostraSize_volume() { return textureSize(ostraTexture_volume, 0); }
float ostraSample_volume(vec3 at) { return textureLod(ostraTexture_volume, at, 0.0).x; }
float ostraFetch_volume(ivec3 at)
{
	ivec3 size = ostraSize_volume();
	ivec3 place = ivec3(ostraWrap(at.x, size.x, ostraUniform_wrapModesOf_volume >> 2u), ostraWrap(at.y, size.y, ostraUniform_wrapModesOf_volume >> 4u), ostraWrap(at.z, size.z, ostraUniform_wrapModesOf_volume >> 6u));
	bool outside = min(min(place.x, place.y), place.z) < 0;
	return outside ? float(0.0) : texelFetch(ostraTexture_volume, place, 0).x;
}
// Looks at a cloud: parallel rays go through a volume of densities that is turned around its upright axis. Each step
// adds light, as much as the matter before it lets through; the result is light and opacity.
layout(local_size_x = 16, local_size_y = 16, local_size_z = 1) in;
void main()
{
{
int x = int(InGlobalInvocationID.x);
int y = int(InGlobalInvocationID.y);
if (x >= UNIFORM(width) || y >= UNIFORM(height))
{
return;
}
// The ray passes the cube of edge 1 in the middle, 1.8 times as wide as it, whatever the angle.
float size = 1.8 / float(min(UNIFORM(width), UNIFORM(height)));
float across = (float(x) + 0.5 - 0.5 * float(UNIFORM(width))) * size;
float down = (float(y) + 0.5 - 0.5 * float(UNIFORM(height))) * size;
float c = cos(UNIFORM(angle));
float s = sin(UNIFORM(angle));
float stepSize = 1.8 / float(UNIFORM(steps));
float light = 0.0;
float clearness = 1.0;
for (int i = 0; i < UNIFORM(steps); i++)
{
float depth = (float(i) + 0.5) * stepSize - 0.9;
vec3 at = vec3(c * across + s * depth + 0.5, down + 0.5, c * depth - s * across + 0.5);
float opacity = clamp(SampleTexture(volume, at) * UNIFORM(density) * stepSize, 0.0, 1.0);
light = light + clearness * opacity * (1.0 - 0.5 * (depth + 0.9) / 1.8);
clearness = clearness * (1.0 - opacity);
}
vec3 seen = UNIFORM(colour) * light;
UNIFORM_BUFFER(result)[y * UNIFORM(width) + x] = vec4(seen.x, seen.y, seen.z, 1.0 - clearness);
}
}

layout(set = 0, binding = 0, std140) uniform OstraUniforms
{
	layout(offset = 0) int ostraUniform_width;
	layout(offset = 4) int ostraUniform_height;
	layout(offset = 16) vec3 ostraUniform_corner;
	layout(offset = 32) vec3 ostraUniform_across;
	layout(offset = 48) vec3 ostraUniform_down;
	layout(offset = 64) uint ostraUniform_wrapModesOf_volume;
};
layout(set = 0, binding = 1, scalar)  buffer OstraBuffer_result
{
	Float32 ostraBuffer_result[];
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
// Cuts a plane out of a volume. The plane starts at a corner and is spanned by two edges; the volume is 0 to 1 wide.
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
float u = (float(x) + 0.5) / float(UNIFORM(width));
float v = (float(y) + 0.5) / float(UNIFORM(height));
vec3 at = UNIFORM(corner) + UNIFORM(across) * u + UNIFORM(down) * v;
UNIFORM_BUFFER(result)[y * UNIFORM(width) + x] = SampleTexture(volume, at);
}
}

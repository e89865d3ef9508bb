layout(set = 0, binding = 0, std140) uniform OstraUniforms
{
	layout(offset = 0) uint ostraUniform_count;
	layout(offset = 4) uint ostraUniform_wrapModesOf_table;
};
layout(set = 0, binding = 1, scalar) readonly buffer OstraBuffer_source
{
	Vector4d32 ostraBuffer_source[];
};
layout(set = 0, binding = 2, scalar)  buffer OstraBuffer_target
{
	Vector4d32 ostraBuffer_target[];
};
layout(set = 0, binding = 3) uniform sampler3D ostraTexture_table;
ivec3 ostraSize_table() { return textureSize(ostraTexture_table, 0); }
vec3 ostraSample_table(vec3 at) { return textureLod(ostraTexture_table, at, 0.0).xyz; }
vec3 ostraFetch_table(ivec3 at)
{
	ivec3 size = ostraSize_table();
	ivec3 place = ivec3(ostraWrap(at.x, size.x, ostraUniform_wrapModesOf_table >> 2u), ostraWrap(at.y, size.y, ostraUniform_wrapModesOf_table >> 4u), ostraWrap(at.z, size.z, ostraUniform_wrapModesOf_table >> 6u));
	bool outside = min(min(place.x, place.y), place.z) < 0;
	return outside ? vec3(0.0) : texelFetch(ostraTexture_table, place, 0).xyz;
}
// Replaces the colours of a picture by those of a table: a cube over red, green and blue. Colours between its entries
// are blended; the ends of each axis are the middles of the first and the last entry.
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
int3 size = TextureSize(table);
vec3 entries = vec3(float(size.x), float(size.y), float(size.z));
vec3 colour = clamp(vec3(pixel.x, pixel.y, pixel.z), 0.0, 1.0);
vec3 at = vec3((colour.x * (entries.x - 1.0) + 0.5) / entries.x,
(colour.y * (entries.y - 1.0) + 0.5) / entries.y,
(colour.z * (entries.z - 1.0) + 0.5) / entries.z);
vec3 mapped = SampleTexture(table, at);
UNIFORM_BUFFER(target)[i] = vec4(mapped.x, mapped.y, mapped.z, pixel.w);
}
}

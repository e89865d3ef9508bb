[[vk::binding(0, 0)]] cbuffer OstraUniforms : register(b0)
{
	uint ostraUniform_count : packoffset(c0.x);
	uint ostraUniform_wrapModesOf_table : packoffset(c0.y);
};
[[vk::binding(1, 0)]] StructuredBuffer<Vector4d32> ostraBuffer_source : register(t1);
[[vk::binding(2, 0)]] RWStructuredBuffer<Vector4d32> ostraBuffer_target : register(u2);
[[vk::binding(3, 0)]] Texture3D<float4> ostraTexture_table : register(t3);
[[vk::binding(3, 0)]] SamplerState ostraSampler_table : register(s3);
#define ostraSample_ostraUniform_table ostraSample_table
#define ostraFetch_ostraUniform_table ostraFetch_table
#define ostraSize_ostraUniform_table ostraSize_table
int3 ostraSize_table()
{
	uint width;
	uint height;
	uint depth;
	ostraTexture_table.GetDimensions(width, height, depth);
	return int3(int(width), int(height), int(depth));
}
float3 ostraSample_table(float3 at) { return ostraTexture_table.SampleLevel(ostraSampler_table, at, 0.0).xyz; }
float3 ostraFetch_table(int3 at)
{
	int3 size = ostraSize_table();
	int3 place = int3(ostraWrap(at.x, size.x, ostraUniform_wrapModesOf_table >> 2u), ostraWrap(at.y, size.y, ostraUniform_wrapModesOf_table >> 4u), ostraWrap(at.z, size.z, ostraUniform_wrapModesOf_table >> 6u));
	bool outside = min(min(place.x, place.y), place.z) < 0;
	if (outside) return (float3)0;
	return ostraTexture_table.Load(int4(place, 0)).xyz;
}
// Replaces the colours of a picture by those of a table: a cube over red, green and blue. Colours between its entries
// are blended; the ends of each axis are the middles of the first and the last entry.
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

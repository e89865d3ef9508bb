[[vk::binding(0, 0)]] cbuffer OstraUniforms : register(b0)
{
	int ostraUniform_width : packoffset(c0.x);
	int ostraUniform_height : packoffset(c0.y);
	float3 ostraUniform_corner : packoffset(c1.x);
	float3 ostraUniform_across : packoffset(c2.x);
	float3 ostraUniform_down : packoffset(c3.x);
	uint ostraUniform_wrapModesOf_volume : packoffset(c4.x);
};
[[vk::binding(1, 0)]] RWStructuredBuffer<Float32> ostraBuffer_result : register(u1);
[[vk::binding(2, 0)]] Texture3D<float4> ostraTexture_volume : register(t2);
[[vk::binding(2, 0)]] SamplerState ostraSampler_volume : register(s2);
#define ostraSample_ostraUniform_volume ostraSample_volume
#define ostraFetch_ostraUniform_volume ostraFetch_volume
#define ostraSize_ostraUniform_volume ostraSize_volume
int3 ostraSize_volume()
{
	uint width;
	uint height;
	uint depth;
	ostraTexture_volume.GetDimensions(width, height, depth);
	return int3(int(width), int(height), int(depth));
}
float ostraSample_volume(float3 at) { return ostraTexture_volume.SampleLevel(ostraSampler_volume, at, 0.0).x; }
float ostraFetch_volume(int3 at)
{
	int3 size = ostraSize_volume();
	int3 place = int3(ostraWrap(at.x, size.x, ostraUniform_wrapModesOf_volume >> 2u), ostraWrap(at.y, size.y, ostraUniform_wrapModesOf_volume >> 4u), ostraWrap(at.z, size.z, ostraUniform_wrapModesOf_volume >> 6u));
	bool outside = min(min(place.x, place.y), place.z) < 0;
	if (outside) return (float)0;
	return ostraTexture_volume.Load(int4(place, 0)).x;
}
// Cuts a plane out of a volume. The plane starts at a corner and is spanned by two edges; the volume is 0 to 1 wide.
static const uint3 InWorkGroupSize = uint3(16, 16, 1);
[numthreads(16, 16, 1)]
void main(uint3 InGlobalInvocationID : SV_DispatchThreadID, uint3 InLocalInvocationID : SV_GroupThreadID, uint3 InWorkGroupID : SV_GroupID)
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

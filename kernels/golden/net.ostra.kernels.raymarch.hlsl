[[vk::binding(0, 0)]] cbuffer OstraUniforms : register(b0)
{
	int ostraUniform_width : packoffset(c0.x);
	int ostraUniform_height : packoffset(c0.y);
	int ostraUniform_steps : packoffset(c0.z);
	float ostraUniform_angle : packoffset(c0.w);
	float ostraUniform_density : packoffset(c1.x);
	float3 ostraUniform_colour : packoffset(c2.x);
	uint ostraUniform_wrapModesOf_volume : packoffset(c3.x);
};
[[vk::binding(1, 0)]] RWStructuredBuffer<Vector4d32> ostraBuffer_result : register(u1);
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
// Looks at a cloud: parallel rays go through a volume of densities that is turned around its upright axis. Each step
// adds light, as much as the matter before it lets through; the result is light and opacity.
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

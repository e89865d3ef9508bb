struct OstraUniforms
{
	int value_width;
	int value_height;
	float3 value_corner;
	float3 value_across;
	float3 value_down;
	uint value_wrapModesOf_volume;
};
#define ostraUniform_width ostraUniforms.value_width
#define ostraUniform_height ostraUniforms.value_height
#define ostraUniform_corner ostraUniforms.value_corner
#define ostraUniform_across ostraUniforms.value_across
#define ostraUniform_down ostraUniforms.value_down
#define ostraUniform_wrapModesOf_volume ostraUniforms.value_wrapModesOf_volume
#define ostraSize_volume() ostraSize3D(ostraTexture_volume)
#define ostraSample_volume(at) ostraTake1(ostraSample(ostraTexture_volume, ostraSampler_volume, at))
#define ostraFetch_volume(at) ostraTake1(ostraFetch(ostraTexture_volume, at, ostraUniform_wrapModesOf_volume))
// Cuts a plane out of a volume. The plane starts at a corner and is spanned by two edges; the volume is 0 to 1 wide.
constant uint3 InWorkGroupSize = uint3(16, 16, 1);
kernel void ostraMain(uint3 InGlobalInvocationID [[thread_position_in_grid]], uint3 InLocalInvocationID [[thread_position_in_threadgroup]], uint3 InWorkGroupID [[threadgroup_position_in_grid]]
	, constant OstraUniforms& ostraUniforms [[buffer(0)]]
	, device  ostraStored<Float32>::Type* ostraBuffer_result [[buffer(1)]]
	, texture3d<float> ostraTexture_volume [[texture(2)]], sampler ostraSampler_volume [[sampler(2)]]
	)
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

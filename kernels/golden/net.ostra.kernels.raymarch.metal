struct OstraUniforms
{
	int value_width;
	int value_height;
	int value_steps;
	float value_angle;
	float value_density;
	float3 value_colour;
	uint value_wrapModesOf_volume;
};
#define ostraUniform_width ostraUniforms.value_width
#define ostraUniform_height ostraUniforms.value_height
#define ostraUniform_steps ostraUniforms.value_steps
#define ostraUniform_angle ostraUniforms.value_angle
#define ostraUniform_density ostraUniforms.value_density
#define ostraUniform_colour ostraUniforms.value_colour
#define ostraUniform_wrapModesOf_volume ostraUniforms.value_wrapModesOf_volume
#define ostraSize_volume() ostraSize3D(ostraTexture_volume)
#define ostraSample_volume(at) ostraTake1(ostraSample(ostraTexture_volume, ostraSampler_volume, at))
#define ostraFetch_volume(at) ostraTake1(ostraFetch(ostraTexture_volume, at, ostraUniform_wrapModesOf_volume))
// Looks at a cloud: parallel rays go through a volume of densities that is turned around its upright axis. Each step
// adds light, as much as the matter before it lets through; the result is light and opacity.
constant uint3 InWorkGroupSize = uint3(16, 16, 1);
kernel void ostraMain(uint3 InGlobalInvocationID [[thread_position_in_grid]], uint3 InLocalInvocationID [[thread_position_in_threadgroup]], uint3 InWorkGroupID [[threadgroup_position_in_grid]]
	, constant OstraUniforms& ostraUniforms [[buffer(0)]]
	, device  ostraStored<Vector4d32>::Type* ostraBuffer_result [[buffer(1)]]
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

struct OstraUniforms
{
	int value_width;
	int value_height;
	float value_angle;
	float value_radius;
	uint value_wrapModesOf_image;
};
#define ostraUniform_width ostraUniforms.value_width
#define ostraUniform_height ostraUniforms.value_height
#define ostraUniform_angle ostraUniforms.value_angle
#define ostraUniform_radius ostraUniforms.value_radius
#define ostraUniform_wrapModesOf_image ostraUniforms.value_wrapModesOf_image
#define ostraSize_image() ostraSize2D(ostraTexture_image)
#define ostraSample_image(at) ostraTake4(ostraSample(ostraTexture_image, ostraSampler_image, at))
#define ostraFetch_image(at) ostraTake4(ostraFetch(ostraTexture_image, at, ostraUniform_wrapModesOf_image))
// Stirs a picture: turns it around its middle, the more the closer to it. Nothing moves beyond the radius, which is
// measured in heights of the picture.
constant uint3 InWorkGroupSize = uint3(16, 16, 1);
kernel void ostraMain(uint3 InGlobalInvocationID [[thread_position_in_grid]], uint3 InLocalInvocationID [[thread_position_in_threadgroup]], uint3 InWorkGroupID [[threadgroup_position_in_grid]]
	, constant OstraUniforms& ostraUniforms [[buffer(0)]]
	, device  ostraStored<Vector4d32>::Type* ostraBuffer_result [[buffer(1)]]
	, texture2d<float> ostraTexture_image [[texture(2)]], sampler ostraSampler_image [[sampler(2)]]
	)
{
{
int x = int(InGlobalInvocationID.x);
int y = int(InGlobalInvocationID.y);
if (x >= UNIFORM(width) || y >= UNIFORM(height))
{
return;
}
float aspect = float(UNIFORM(width)) / float(UNIFORM(height));
float across = ((float(x) + 0.5) / float(UNIFORM(width)) - 0.5) * aspect;
float down = (float(y) + 0.5) / float(UNIFORM(height)) - 0.5;
float closeness = max(1.0 - length(vec2(across, down)) / UNIFORM(radius), 0.0);
float turn = UNIFORM(angle) * closeness * closeness;
float c = cos(turn);
float s = sin(turn);
vec2 uv = vec2((c * across - s * down) / aspect + 0.5, s * across + c * down + 0.5);
UNIFORM_BUFFER(result)[y * UNIFORM(width) + x] = SampleTexture(image, uv);
}
}

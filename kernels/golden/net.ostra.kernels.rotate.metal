Float32 EncodeSrgb(Float32 light)
{
return light <= 0.0031308 ? 12.92 * light : 1.055 * pow(light, 1.0 / 2.4) - 0.055;
}
struct OstraUniforms
{
	int value_width;
	int value_height;
	float value_angle;
	float value_scale;
	uint value_wrapModesOf_image;
};
#define ostraUniform_width ostraUniforms.value_width
#define ostraUniform_height ostraUniforms.value_height
#define ostraUniform_angle ostraUniforms.value_angle
#define ostraUniform_scale ostraUniforms.value_scale
#define ostraUniform_wrapModesOf_image ostraUniforms.value_wrapModesOf_image
#define ostraSize_image() ostraSize2D(ostraTexture_image)
#define ostraSample_image(at) ostraTake4(ostraSample(ostraTexture_image, ostraSampler_image, at))
#define ostraFetch_image(at) ostraTake4(ostraFetch(ostraTexture_image, at, ostraUniform_wrapModesOf_image))
// Rotates and resizes a picture around its middle. The texture decodes its pixels from the sRGB curve, so that they are
// blended as light; the result is encoded with the curve again, alpha too.
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
float across = (float(x) + 0.5 - 0.5 * float(UNIFORM(width))) / UNIFORM(scale);
float down = (float(y) + 0.5 - 0.5 * float(UNIFORM(height))) / UNIFORM(scale);
float c = cos(UNIFORM(angle));
float s = sin(UNIFORM(angle));
int2 size = TextureSize(image);
vec2 uv = vec2((c * across + s * down) / float(size.x) + 0.5, (c * down - s * across) / float(size.y) + 0.5);
vec4 light = SampleTexture(image, uv);
UNIFORM_BUFFER(result)[y * UNIFORM(width) + x] =
vec4(EncodeSrgb(light.x), EncodeSrgb(light.y), EncodeSrgb(light.z), EncodeSrgb(light.w));
}
}

Float32 EncodeSrgb(Float32 light)
{
return light <= 0.0031308 ? 12.92 * light : 1.055 * pow(light, 1.0 / 2.4) - 0.055;
}
[[vk::binding(0, 0)]] cbuffer OstraUniforms : register(b0)
{
	int ostraUniform_width : packoffset(c0.x);
	int ostraUniform_height : packoffset(c0.y);
	float ostraUniform_angle : packoffset(c0.z);
	float ostraUniform_scale : packoffset(c0.w);
	uint ostraUniform_wrapModesOf_image : packoffset(c1.x);
};
[[vk::binding(1, 0)]] RWStructuredBuffer<Vector4d32> ostraBuffer_result : register(u1);
[[vk::binding(2, 0)]] Texture2D<float4> ostraTexture_image : register(t2);
[[vk::binding(2, 0)]] SamplerState ostraSampler_image : register(s2);
#define ostraSample_ostraUniform_image ostraSample_image
#define ostraFetch_ostraUniform_image ostraFetch_image
#define ostraSize_ostraUniform_image ostraSize_image
int2 ostraSize_image()
{
	uint width;
	uint height;
	ostraTexture_image.GetDimensions(width, height);
	return int2(int(width), int(height));
}
float4 ostraSample_image(float2 at) { return ostraTexture_image.SampleLevel(ostraSampler_image, at, 0.0).xyzw; }
float4 ostraFetch_image(int2 at)
{
	int2 size = ostraSize_image();
	int2 place = int2(ostraWrap(at.x, size.x, ostraUniform_wrapModesOf_image >> 2u), ostraWrap(at.y, size.y, ostraUniform_wrapModesOf_image >> 4u));
	bool outside = min(place.x, place.y) < 0;
	if (outside) return (float4)0;
	return ostraTexture_image.Load(int3(place, 0)).xyzw;
}
// Rotates and resizes a picture around its middle. The texture decodes its pixels from the sRGB curve, so that they are
// blended as light; the result is encoded with the curve again, alpha too.
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

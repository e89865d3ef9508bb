[[vk::binding(0, 0)]] cbuffer OstraUniforms : register(b0)
{
	uint ostraUniform_wrapModesOf_picture : packoffset(c0.x);
};
static float2 at;
static float4 color = (float4)0;
[[vk::binding(1, 0)]] Texture2D<float4> ostraTexture_picture : register(t1);
[[vk::binding(1, 0)]] SamplerState ostraSampler_picture : register(s1);
#define ostraSample_ostraUniform_picture ostraSample_picture
#define ostraFetch_ostraUniform_picture ostraFetch_picture
#define ostraSize_ostraUniform_picture ostraSize_picture
int2 ostraSize_picture()
{
	uint width;
	uint height;
	ostraTexture_picture.GetDimensions(width, height);
	return int2(int(width), int(height));
}
float4 ostraSample_picture(float2 at) { return ostraTexture_picture.SampleLevel(ostraSampler_picture, at, 0.0).xyzw; }
float4 ostraFetch_picture(int2 at)
{
	int2 size = ostraSize_picture();
	int2 place = int2(ostraWrap(at.x, size.x, ostraUniform_wrapModesOf_picture >> 2u), ostraWrap(at.y, size.y, ostraUniform_wrapModesOf_picture >> 4u));
	bool outside = min(place.x, place.y) < 0;
	if (outside) return (float4)0;
	return ostraTexture_picture.Load(int3(place, 0)).xyzw;
}
// A picture as it is.
void ostraMain()
{
{
color = SampleTexture(picture, at);
}
}
struct OstraOutputs
{
	float4 ostraOutput_color : SV_Target0;
};
OstraOutputs main(float4 ostraPosition : SV_Position
	, [[vk::location(0)]]  float2 ostraInput_at : VARYING0
)
{
	InFragCoord = ostraPosition;
	at = ostraInput_at;
	ostraMain();
	OstraOutputs outputs;
	outputs.ostraOutput_color = float4(color);
	return outputs;
}

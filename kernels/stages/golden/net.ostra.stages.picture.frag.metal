struct OstraUniforms
{
	uint value_wrapModesOf_picture;
};
#define ostraUniform_wrapModesOf_picture ostraUniforms.value_wrapModesOf_picture
#define ostraSize_picture() ostraSize2D(ostraTexture_picture)
#define ostraSample_picture(at) ostraTake4(ostraSample(ostraTexture_picture, ostraSampler_picture, at))
#define ostraFetch_picture(at) ostraTake4(ostraFetch(ostraTexture_picture, at, ostraUniform_wrapModesOf_picture))
// A picture as it is.
void ostraBody(float4 InFragCoord
	, constant OstraUniforms& ostraUniforms
	, float2 at
	, thread float4& color
	, texture2d<float> ostraTexture_picture, sampler ostraSampler_picture
	)
{
{
color = SampleTexture(picture, at);
}
}
struct OstraInputs
{
	float2 value_at [[user(varying0)]];
};
struct OstraOutputs
{
	float4 value_color [[color(0)]];
};
fragment OstraOutputs ostraMain(float4 ostraPosition [[position]]
	, constant OstraUniforms& ostraUniforms [[buffer(0)]]
	, OstraInputs ostraInputs [[stage_in]]
	, texture2d<float> ostraTexture_picture [[texture(1)]], sampler ostraSampler_picture [[sampler(1)]]
	)
{
	OstraOutputs ostraOutputs;
	float4 ostraColour_color = float4(0);
	ostraBody(ostraPosition
	, ostraUniforms
	, ostraInputs.value_at
	, ostraColour_color
	, ostraTexture_picture, ostraSampler_picture
	);
	ostraOutputs.value_color = float4(ostraColour_color);
	return ostraOutputs;
}

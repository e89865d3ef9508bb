struct OstraUniforms
{
	float3 value_eye;
	float3 value_sun;
	float3 value_sunColor;
	float3 value_skyColor;
	float value_gloss;
	uint value_wrapModesOf_picture;
};
#define ostraUniform_eye ostraUniforms.value_eye
#define ostraUniform_sun ostraUniforms.value_sun
#define ostraUniform_sunColor ostraUniforms.value_sunColor
#define ostraUniform_skyColor ostraUniforms.value_skyColor
#define ostraUniform_gloss ostraUniforms.value_gloss
#define ostraUniform_wrapModesOf_picture ostraUniforms.value_wrapModesOf_picture
#define ostraSize_picture() ostraSize2D(ostraTexture_picture)
#define ostraSample_picture(at) ostraTake4(ostraSample(ostraTexture_picture, ostraSampler_picture, at))
#define ostraFetch_picture(at) ostraTake4(ostraFetch(ostraTexture_picture, at, ostraUniform_wrapModesOf_picture))
// A model with a texture in the light of a sun and of the sky: colours the pixels.
void ostraBody(float4 InFragCoord
	, constant OstraUniforms& ostraUniforms
	, float3 place
	, float3 facing
	, float2 picturePlace
	, thread float4& color
	, texture2d<float> ostraTexture_picture, sampler ostraSampler_picture
	)
{
{
vec4 texel = SampleTexture(picture, picturePlace);
vec3 base = vec3(texel.x * texel.x, texel.y * texel.y, texel.z * texel.z);
vec3 n = normalize(facing);
vec3 toEye = normalize(UNIFORM(eye) - place);
vec3 toSun = normalize(UNIFORM(sun));
vec3 middle = normalize(toEye + toSun);
float light = max(dot(n, toSun), 0.0);
float shine = pow(max(dot(n, middle), 0.0), UNIFORM(gloss)) * light * 0.6;
float rim = pow(1.0 - max(dot(n, toEye), 0.0), 4.0);
float above = 0.5 + 0.5 * n.y;
vec3 c = base * (UNIFORM(sunColor) * light + UNIFORM(skyColor) * (0.35 + 0.65 * above));
c = c + UNIFORM(sunColor) * shine + UNIFORM(skyColor) * (rim * 0.35);
color = vec4(sqrt(c.x), sqrt(c.y), sqrt(c.z), texel.w);
}
}
struct OstraInputs
{
	float3 value_place [[user(varying0)]];
	float3 value_facing [[user(varying1)]];
	float2 value_picturePlace [[user(varying2)]];
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
	, ostraInputs.value_place
	, ostraInputs.value_facing
	, ostraInputs.value_picturePlace
	, ostraColour_color
	, ostraTexture_picture, ostraSampler_picture
	);
	ostraOutputs.value_color = float4(ostraColour_color);
	return ostraOutputs;
}

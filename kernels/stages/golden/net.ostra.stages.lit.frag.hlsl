[[vk::binding(0, 0)]] cbuffer OstraUniforms : register(b0)
{
	float3 ostraUniform_eye : packoffset(c0.x);
	float3 ostraUniform_sun : packoffset(c1.x);
	float3 ostraUniform_sunColor : packoffset(c2.x);
	float3 ostraUniform_skyColor : packoffset(c3.x);
	float ostraUniform_gloss : packoffset(c4.x);
	uint ostraUniform_wrapModesOf_picture : packoffset(c4.y);
};
static float3 place;
static float3 facing;
static float2 picturePlace;
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
// A model with a texture in the light of a sun and of the sky: colours the pixels.
void ostraMain()
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
struct OstraOutputs
{
	float4 ostraOutput_color : SV_Target0;
};
OstraOutputs main(float4 ostraPosition : SV_Position
	, [[vk::location(0)]]  float3 ostraInput_place : VARYING0
	, [[vk::location(1)]]  float3 ostraInput_facing : VARYING1
	, [[vk::location(2)]]  float2 ostraInput_picturePlace : VARYING2
)
{
	InFragCoord = ostraPosition;
	place = ostraInput_place;
	facing = ostraInput_facing;
	picturePlace = ostraInput_picturePlace;
	ostraMain();
	OstraOutputs outputs;
	outputs.ostraOutput_color = float4(color);
	return outputs;
}

float InkDistance(float depth, float nearPlane, float farPlane)
{
return nearPlane * farPlane / (farPlane - depth * (farPlane - nearPlane));
}
[[vk::binding(0, 0)]] cbuffer OstraUniforms : register(b0)
{
	float ostraUniform_nearPlane : packoffset(c0.x);
	float ostraUniform_farPlane : packoffset(c0.y);
	float3 ostraUniform_ink : packoffset(c1.x);
	float3 ostraUniform_haze : packoffset(c2.x);
	float ostraUniform_sight : packoffset(c3.x);
	uint ostraUniform_wrapModesOf_scene : packoffset(c3.y);
	uint ostraUniform_wrapModesOf_depths : packoffset(c3.z);
};
static float2 at;
static float4 color = (float4)0;
[[vk::binding(1, 0)]] Texture2D<float4> ostraTexture_scene : register(t1);
[[vk::binding(1, 0)]] SamplerState ostraSampler_scene : register(s1);
#define ostraSample_ostraUniform_scene ostraSample_scene
#define ostraFetch_ostraUniform_scene ostraFetch_scene
#define ostraSize_ostraUniform_scene ostraSize_scene
int2 ostraSize_scene()
{
	uint width;
	uint height;
	ostraTexture_scene.GetDimensions(width, height);
	return int2(int(width), int(height));
}
float4 ostraSample_scene(float2 at) { return ostraTexture_scene.SampleLevel(ostraSampler_scene, at, 0.0).xyzw; }
float4 ostraFetch_scene(int2 at)
{
	int2 size = ostraSize_scene();
	int2 place = int2(ostraWrap(at.x, size.x, ostraUniform_wrapModesOf_scene >> 2u), ostraWrap(at.y, size.y, ostraUniform_wrapModesOf_scene >> 4u));
	bool outside = min(place.x, place.y) < 0;
	if (outside) return (float4)0;
	return ostraTexture_scene.Load(int3(place, 0)).xyzw;
}
[[vk::binding(2, 0)]] Texture2D<float4> ostraTexture_depths : register(t2);
[[vk::binding(2, 0)]] SamplerState ostraSampler_depths : register(s2);
#define ostraSample_ostraUniform_depths ostraSample_depths
#define ostraFetch_ostraUniform_depths ostraFetch_depths
#define ostraSize_ostraUniform_depths ostraSize_depths
int2 ostraSize_depths()
{
	uint width;
	uint height;
	ostraTexture_depths.GetDimensions(width, height);
	return int2(int(width), int(height));
}
float ostraSample_depths(float2 at) { return ostraTexture_depths.SampleLevel(ostraSampler_depths, at, 0.0).x; }
float ostraFetch_depths(int2 at)
{
	int2 size = ostraSize_depths();
	int2 place = int2(ostraWrap(at.x, size.x, ostraUniform_wrapModesOf_depths >> 2u), ostraWrap(at.y, size.y, ostraUniform_wrapModesOf_depths >> 4u));
	bool outside = min(place.x, place.y) < 0;
	if (outside) return (float)0;
	return ostraTexture_depths.Load(int3(place, 0)).x;
}
// A drawing of what an earlier pass has drawn: lines where the depth jumps, haze with the distance, darker corners.
void ostraMain()
{
{
int2 size = TextureSize(depths);
int2 pixel = int2(int(at.x * float(size.x)), int(at.y * float(size.y)));
float here = InkDistance(FetchTexture(depths, pixel), UNIFORM(nearPlane), UNIFORM(farPlane));
float left = InkDistance(FetchTexture(depths, int2(pixel.x - 1, pixel.y)), UNIFORM(nearPlane), UNIFORM(farPlane));
float right = InkDistance(FetchTexture(depths, int2(pixel.x + 1, pixel.y)), UNIFORM(nearPlane), UNIFORM(farPlane));
float above = InkDistance(FetchTexture(depths, int2(pixel.x, pixel.y - 1)), UNIFORM(nearPlane), UNIFORM(farPlane));
float below = InkDistance(FetchTexture(depths, int2(pixel.x, pixel.y + 1)), UNIFORM(nearPlane), UNIFORM(farPlane));
// Second differences: slopes are no lines, edges and creases are.
float bend = abs(left + right - 2.0 * here) + abs(above + below - 2.0 * here);
float edge = smoothstep(0.01, 0.05, bend / here);
vec4 seen = SampleTexture(scene, at);
vec3 c = vec3(seen.x, seen.y, seen.z);
c = mix(c, UNIFORM(haze), clamp((here - 2.0) / UNIFORM(sight), 0.0, 1.0));
c = mix(c, UNIFORM(ink), edge);
vec2 fromMiddle = at - vec2(0.5, 0.5);
c = c * (1.0 - 0.9 * dot(fromMiddle, fromMiddle));
color = vec4(c.x, c.y, c.z, 1.0);
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

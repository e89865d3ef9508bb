float InkDistance(float depth, float nearPlane, float farPlane)
{
return nearPlane * farPlane / (farPlane - depth * (farPlane - nearPlane));
}
struct OstraUniforms
{
	float value_nearPlane;
	float value_farPlane;
	float3 value_ink;
	float3 value_haze;
	float value_sight;
	uint value_wrapModesOf_scene;
	uint value_wrapModesOf_depths;
};
#define ostraUniform_nearPlane ostraUniforms.value_nearPlane
#define ostraUniform_farPlane ostraUniforms.value_farPlane
#define ostraUniform_ink ostraUniforms.value_ink
#define ostraUniform_haze ostraUniforms.value_haze
#define ostraUniform_sight ostraUniforms.value_sight
#define ostraUniform_wrapModesOf_scene ostraUniforms.value_wrapModesOf_scene
#define ostraUniform_wrapModesOf_depths ostraUniforms.value_wrapModesOf_depths
#define ostraSize_scene() ostraSize2D(ostraTexture_scene)
#define ostraSample_scene(at) ostraTake4(ostraSample(ostraTexture_scene, ostraSampler_scene, at))
#define ostraFetch_scene(at) ostraTake4(ostraFetch(ostraTexture_scene, at, ostraUniform_wrapModesOf_scene))
#define ostraSize_depths() ostraSize2D(ostraTexture_depths)
#define ostraSample_depths(at) ostraTake1(ostraSample(ostraTexture_depths, ostraSampler_depths, at))
#define ostraFetch_depths(at) ostraTake1(ostraFetch(ostraTexture_depths, at, ostraUniform_wrapModesOf_depths))
// A drawing of what an earlier pass has drawn: lines where the depth jumps, haze with the distance, darker corners.
void ostraBody(float4 InFragCoord
	, constant OstraUniforms& ostraUniforms
	, float2 at
	, thread float4& color
	, texture2d<float> ostraTexture_scene, sampler ostraSampler_scene
	, texture2d<float> ostraTexture_depths, sampler ostraSampler_depths
	)
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
	, texture2d<float> ostraTexture_scene [[texture(1)]], sampler ostraSampler_scene [[sampler(1)]]
	, texture2d<float> ostraTexture_depths [[texture(2)]], sampler ostraSampler_depths [[sampler(2)]]
	)
{
	OstraOutputs ostraOutputs;
	float4 ostraColour_color = float4(0);
	ostraBody(ostraPosition
	, ostraUniforms
	, ostraInputs.value_at
	, ostraColour_color
	, ostraTexture_scene, ostraSampler_scene
	, ostraTexture_depths, ostraSampler_depths
	);
	ostraOutputs.value_color = float4(ostraColour_color);
	return ostraOutputs;
}

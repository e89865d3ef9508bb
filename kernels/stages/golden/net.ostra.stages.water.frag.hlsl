[[vk::binding(0, 0)]] cbuffer OstraUniforms : register(b0)
{
	float3 ostraUniform_eye : packoffset(c0.x);
	float3 ostraUniform_sun : packoffset(c1.x);
	float3 ostraUniform_haze : packoffset(c2.x);
	float ostraUniform_sight : packoffset(c3.x);
};
static float3 place;
static float4 color = (float4)0;
// A level of water, clear from above and a mirror of the sky along it; it is blended over what lies below.
void ostraMain()
{
{
vec3 toEye = normalize(UNIFORM(eye) - place);
vec3 toSun = normalize(UNIFORM(sun));
float swell = sin(place.x * 7.0 + place.z * 11.0) + sin(place.x * 13.0 - place.z * 5.0);
float waves = sin(place.x * 61.0 + place.z * 90.0 + swell) + sin(place.z * 131.0 - place.x * 35.0 - 1.7 * swell);
vec3 n = normalize(vec3(waves * 0.012 + swell * 0.01, 1.0, waves * 0.012));
float mirror = 0.04 + 0.96 * pow(1.0 - max(dot(n, toEye), 0.0), 5.0);
float glitter = pow(max(dot(n, normalize(toEye + toSun)), 0.0), 400.0);
vec3 c = mix(vec3(0.01, 0.06, 0.09), UNIFORM(haze), mirror) + vec3(1.2, 1.0, 0.7) * glitter;
float away = length(UNIFORM(eye) - place) / UNIFORM(sight);
float veil = clamp(1.0 - exp(-away * away), 0.0, 1.0);
c = mix(c, UNIFORM(haze), veil);
color = vec4(sqrt(c.x), sqrt(c.y), sqrt(c.z), clamp(0.62 + mirror + veil + glitter, 0.0, 1.0));
}
}
struct OstraOutputs
{
	float4 ostraOutput_color : SV_Target0;
};
OstraOutputs main(float4 ostraPosition : SV_Position
	, [[vk::location(0)]]  float3 ostraInput_place : VARYING0
)
{
	InFragCoord = ostraPosition;
	place = ostraInput_place;
	ostraMain();
	OstraOutputs outputs;
	outputs.ostraOutput_color = float4(color);
	return outputs;
}

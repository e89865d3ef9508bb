struct OstraUniforms
{
	float3 value_eye;
	float3 value_sun;
	float3 value_haze;
	float value_sight;
};
#define ostraUniform_eye ostraUniforms.value_eye
#define ostraUniform_sun ostraUniforms.value_sun
#define ostraUniform_haze ostraUniforms.value_haze
#define ostraUniform_sight ostraUniforms.value_sight
// A level of water, clear from above and a mirror of the sky along it; it is blended over what lies below.
void ostraBody(float4 InFragCoord
	, constant OstraUniforms& ostraUniforms
	, float3 place
	, thread float4& color
	)
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
struct OstraInputs
{
	float3 value_place [[user(varying0)]];
};
struct OstraOutputs
{
	float4 value_color [[color(0)]];
};
fragment OstraOutputs ostraMain(float4 ostraPosition [[position]]
	, constant OstraUniforms& ostraUniforms [[buffer(0)]]
	, OstraInputs ostraInputs [[stage_in]]
	)
{
	OstraOutputs ostraOutputs;
	float4 ostraColour_color = float4(0);
	ostraBody(ostraPosition
	, ostraUniforms
	, ostraInputs.value_place
	, ostraColour_color
	);
	ostraOutputs.value_color = float4(ostraColour_color);
	return ostraOutputs;
}

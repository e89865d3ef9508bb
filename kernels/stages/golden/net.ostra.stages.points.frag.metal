struct OstraUniforms
{
	uint2 value_colors;
	float value_opacity;
};
#define ostraUniform_opacity ostraUniforms.value_opacity
struct OstraGradientSegment
{
	float position;
	float scale;
	float bias;
	float lowSlope;
	float highSlope;
	int interpolation;
	packed_float3 color;
	packed_float3 change;
};
// The segments of one gradient.
struct GradientRenderData
{
	device const OstraGradientSegment* segments;
	uint count;
};
#define ostraGradient(table) GradientRenderData{ostraGradientSegments + (table).x, (table).y}
inline float3 SampleGradient(GradientRenderData gradient, float position)
{
	uint low = 0u;
	uint high = gradient.count;
	if (high == 0u) return float3(0.0, 0.0, 0.0);
	while (low < high)
	{
		uint middle = (low + high) / 2u;
		if (position >= gradient.segments[middle].position)
			low = middle + 1u;
		else
			high = middle;
	}
	OstraGradientSegment segment = gradient.segments[max(low, 1u) - 1u];
	if (low == 0u) return segment.color;
	float t = (min(position, 1.0) - segment.position) * segment.scale;
	float part = t < segment.bias ? segment.lowSlope * t : 1.0 - segment.highSlope * (1.0 - t);
	if (segment.interpolation == 0) part = 0.0;
	if (segment.interpolation == 2) part = part * part * (3.0 - 2.0 * part);
	return segment.color + segment.change * part;
}
#define ostraUniform_colors ostraGradient(ostraUniforms.value_colors)
// Points in the colours of a gradient; light adds up where many lie one behind the other.
void ostraBody(float4 InFragCoord
	, constant OstraUniforms& ostraUniforms
	, device const OstraGradientSegment* ostraGradientSegments
	, float tone
	, thread float4& color
	)
{
{
vec3 c = SampleGradient(UNIFORM(colors), tone);
color = vec4(c.x, c.y, c.z, UNIFORM(opacity));
}
}
struct OstraInputs
{
	float value_tone [[user(varying0)]];
};
struct OstraOutputs
{
	float4 value_color [[color(0)]];
};
fragment OstraOutputs ostraMain(float4 ostraPosition [[position]]
	, constant OstraUniforms& ostraUniforms [[buffer(0)]]
	, device const OstraGradientSegment* ostraGradientSegments [[buffer(1)]]
	, OstraInputs ostraInputs [[stage_in]]
	)
{
	OstraOutputs ostraOutputs;
	float4 ostraColour_color = float4(0);
	ostraBody(ostraPosition
	, ostraUniforms
	, ostraGradientSegments
	, ostraInputs.value_tone
	, ostraColour_color
	);
	ostraOutputs.value_color = float4(ostraColour_color);
	return ostraOutputs;
}

[[vk::binding(0, 0)]] cbuffer OstraUniforms : register(b0)
{
	uint2 ostraGradientTable_colors : packoffset(c0.x);
	float ostraUniform_opacity : packoffset(c0.z);
};
struct OstraGradientSegment
{
	float position;
	float scale;
	float bias;
	float lowSlope;
	float highSlope;
	int interpolation;
	float color0;
	float color1;
	float color2;
	float change0;
	float change1;
	float change2;
};
[[vk::binding(1, 0)]] StructuredBuffer<OstraGradientSegment> ostraGradientSegments : register(t1);
GradientRenderData ostraGradient(uint2 table)
{
	GradientRenderData gradient;
	gradient.first = table.x;
	gradient.count = table.y;
	return gradient;
}
float3 SampleGradient(GradientRenderData gradient, float position)
{
	uint low = 0u;
	uint high = gradient.count;
	if (high == 0u) return float3(0.0, 0.0, 0.0);
	while (low < high)
	{
		uint middle = (low + high) / 2u;
		if (position >= ostraGradientSegments[gradient.first + middle].position)
			low = middle + 1u;
		else
			high = middle;
	}
	OstraGradientSegment segment = ostraGradientSegments[gradient.first + max(low, 1u) - 1u];
	float3 color = float3(segment.color0, segment.color1, segment.color2);
	if (low == 0u) return color;
	float t = (min(position, 1.0) - segment.position) * segment.scale;
	float part = t < segment.bias ? segment.lowSlope * t : 1.0 - segment.highSlope * (1.0 - t);
	if (segment.interpolation == 0) part = 0.0;
	if (segment.interpolation == 2) part = part * part * (3.0 - 2.0 * part);
	return color + float3(segment.change0, segment.change1, segment.change2) * part;
}
static float tone;
static float4 color = (float4)0;
#define ostraUniform_colors ostraGradient(ostraGradientTable_colors)
// Points in the colours of a gradient; light adds up where many lie one behind the other.
void ostraMain()
{
{
vec3 c = SampleGradient(UNIFORM(colors), tone);
color = vec4(c.x, c.y, c.z, UNIFORM(opacity));
}
}
struct OstraOutputs
{
	float4 ostraOutput_color : SV_Target0;
};
OstraOutputs main(float4 ostraPosition : SV_Position
	, [[vk::location(0)]]  float ostraInput_tone : VARYING0
)
{
	InFragCoord = ostraPosition;
	tone = ostraInput_tone;
	ostraMain();
	OstraOutputs outputs;
	outputs.ostraOutput_color = float4(color);
	return outputs;
}

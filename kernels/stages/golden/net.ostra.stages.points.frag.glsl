layout(set = 0, binding = 0, std140) uniform OstraUniforms
{
	layout(offset = 0) uvec2 ostraGradientTable_colors;
	layout(offset = 8) float ostraUniform_opacity;
};
struct OstraGradientSegment
{
	float position;
	float scale;
	float bias;
	float lowSlope;
	float highSlope;
	int interpolation;
	float color[3];
	float change[3];
};
layout(set = 0, binding = 1, scalar) readonly buffer OstraGradients
{
	OstraGradientSegment ostraGradientSegments[];
};
#define ostraGradient(table) GradientRenderData((table).x, (table).y)
vec3 SampleGradient(GradientRenderData gradient, float position)
{
	uint low = 0u;
	uint high = gradient.count;
	if (high == 0u) return vec3(0.0, 0.0, 0.0);
	while (low < high)
	{
		uint middle = (low + high) / 2u;
		if (position >= ostraGradientSegments[gradient.first + middle].position)
			low = middle + 1u;
		else
			high = middle;
	}
	OstraGradientSegment segment = ostraGradientSegments[gradient.first + max(low, 1u) - 1u];
	vec3 color = vec3(segment.color[0], segment.color[1], segment.color[2]);
	if (low == 0u) return color;
	float t = (min(position, 1.0) - segment.position) * segment.scale;
	float part = t < segment.bias ? segment.lowSlope * t : 1.0 - segment.highSlope * (1.0 - t);
	if (segment.interpolation == 0) part = 0.0;
	if (segment.interpolation == 2) part = part * part * (3.0 - 2.0 * part);
	return color + vec3(segment.change[0], segment.change[1], segment.change[2]) * part;
}
layout(location = 0)  in float tone;
vec4 color = vec4(0);
layout(location = 0) out vec4 ostraOut_color;
#define ostraUniform_colors ostraGradient(ostraGradientTable_colors)
// Points in the colours of a gradient; light adds up where many lie one behind the other.
void ostraMain()
{
{
vec3 c = SampleGradient(UNIFORM(colors), tone);
color = vec4(c.x, c.y, c.z, UNIFORM(opacity));
}
}
void main()
{
	ostraMain();
	ostraOut_color = vec4(color);
}

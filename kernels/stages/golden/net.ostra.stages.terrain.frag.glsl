#define PATCH_POINTS 4
#define PATCH_DOMAIN quads
#define PATCH_SPACING fractional_even_spacing
float TerrainSlope(int x, int y, vec2 way)
{
uint h = uint(x) * 0x8DA6B343u + uint(y) * 0xD8163841u;
h = (h ^ (h >> 15u)) * 0x2C1B3C6Du;
h = (h ^ (h >> 12u)) * 0x297A2D39u;
h = h ^ (h >> 15u);
return way.x * (float(h & 65535u) / 32767.5 - 1.0) + way.y * (float(h >> 16u) / 32767.5 - 1.0);
}
float TerrainNoise(vec2 at)
{
vec2 cell = floor(at);
vec2 t = at - cell;
vec2 s = t * t * t * (t * (t * 6.0 - vec2(15.0, 15.0)) + vec2(10.0, 10.0));
int x = int(cell.x);
int y = int(cell.y);
float low = mix(TerrainSlope(x, y, t), TerrainSlope(x + 1, y, t - vec2(1.0, 0.0)), s.x);
float high = mix(TerrainSlope(x, y + 1, t - vec2(0.0, 1.0)), TerrainSlope(x + 1, y + 1, t - vec2(1.0, 1.0)), s.x);
return mix(low, high, s.y) * 1.5;
}
float TerrainHeight(vec2 at)
{
float hills = 0.5 + 0.5 * TerrainNoise(at * 0.7) + 0.2 * TerrainNoise(vec2(at.y, at.x) * 1.6 + vec2(3.7, 9.2));
float mountains = smoothstep(0.35, 0.95, hills);
float height = 0.0;
float size = 0.5;
float weight = 1.0;
vec2 place = at;
for (int i = 0; i < 8; i++)
{
float ridge = 1.0 - abs(TerrainNoise(place));
ridge = ridge * ridge * weight;
weight = clamp(ridge * 1.8, 0.0, 1.0);
height = height + ridge * size;
size = size * 0.52;
place = vec2(place.x * 1.6 - place.y * 1.2, place.x * 1.2 + place.y * 1.6) + vec2(17.3, 5.1);
}
return 0.3 * hills + height * (0.12 + 0.75 * mountains);
}
layout(set = 0, binding = 0, std140) uniform OstraUniforms
{
	layout(offset = 0) uvec2 ostraGradientTable_colors;
	layout(offset = 16) vec3 ostraUniform_eye;
	layout(offset = 32) vec3 ostraUniform_sun;
	layout(offset = 48) vec3 ostraUniform_haze;
	layout(offset = 64) float ostraUniform_height;
	layout(offset = 68) float ostraUniform_sight;
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
layout(location = 0)  in vec3 place;
layout(location = 1)  in vec3 facing;
vec4 color = vec4(0);
layout(location = 0) out vec4 ostraOut_color;
#define ostraUniform_colors ostraGradient(ostraGradientTable_colors)
// A terrain: colours by height and steepness, in the light of a low sun and behind haze.
void ostraMain()
{
{
vec3 n = normalize(facing);
float grain = 0.5 * TerrainNoise(vec2(place.x, place.z) * 40.0);
float level = clamp(place.y / UNIFORM(height) + grain * 0.05, 0.0, 1.0);
vec3 ground = SampleGradient(UNIFORM(colors), level);
vec3 rock = vec3(0.21, 0.19, 0.18) * (1.0 + grain * 0.4);
ground = mix(rock, ground, smoothstep(0.55, 0.8, n.y + grain * 0.1));
float light = max(dot(n, normalize(UNIFORM(sun))), 0.0);
vec3 c = ground * (vec3(1.9, 1.5, 1.05) * light + vec3(0.14, 0.19, 0.28) * (0.5 + 0.5 * n.y));
float away = length(UNIFORM(eye) - place) / UNIFORM(sight);
c = mix(c, UNIFORM(haze), clamp(1.0 - exp(-away * away), 0.0, 1.0));
color = vec4(sqrt(c.x), sqrt(c.y), sqrt(c.z), 1.0);
}
}
void main()
{
	ostraMain();
	ostraOut_color = vec4(color);
}

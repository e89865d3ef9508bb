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
static float3 position;
static float3 corner;
// A terrain of patches: corners of the patches, in the plane.
void ostraMain()
{
{
corner = position;
OutPosition = vec4(position.x, position.y, position.z, 1.0);
}
}
struct OstraOutputs
{
	float4 ostraPosition : SV_Position;
	[[vk::location(0)]]  float3 ostraOutput_corner : VARYING0;
	[[vk::builtin("PointSize")]] float ostraPointSize : PSIZE;
};
OstraOutputs main(uint ostraVertex : SV_VertexID, uint ostraInstance : SV_InstanceID
	, [[vk::location(0)]] float3 ostraInput_position : ATTRIBUTE0
)
{
	InVertexID = ostraVertex;
	InInstanceID = ostraInstance;
	OutPointSize = 1.0;
	position = ostraInput_position;
	ostraMain();
	OstraOutputs outputs;
	outputs.ostraPosition = OutPosition;
	outputs.ostraPointSize = OutPointSize;
	outputs.ostraOutput_corner = corner;
	return outputs;
}

#define PATCH_POINTS 4
#define PATCH_DOMAIN quads
#define PATCH_SPACING fractional_even_spacing
// What a patch is, where stages of tessellation do not say otherwise.
#ifndef PATCH_POINTS
#define PATCH_POINTS 3
#endif
#ifndef PATCH_INPUT_POINTS
#define PATCH_INPUT_POINTS PATCH_POINTS
#endif
#ifndef PATCH_DOMAIN
#define PATCH_DOMAIN triangles
#endif
#ifndef PATCH_SPACING
#define PATCH_SPACING equal_spacing
#endif
#ifndef PATCH_WINDING
#define PATCH_WINDING ccw
#endif
static float4 ostraPositions[PATCH_POINTS];
#define InPatchSize uint(PATCH_POINTS)
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
[[vk::binding(0, 0)]] cbuffer OstraUniforms : register(b0)
{
	float4x4 ostraUniform_camera : packoffset(c0);
	float2 ostraUniform_offset : packoffset(c4.x);
	float ostraUniform_scale : packoffset(c4.z);
	float ostraUniform_height : packoffset(c4.w);
};
static float3 ostraIn_corner[PATCH_POINTS];
static float3 corner;
static float3 ostraIn_place[PATCH_POINTS];
static float3 place;
static float3 ostraIn_facing[PATCH_POINTS];
static float3 facing;
// A terrain of patches: lifts the new vertices to their heights.
void ostraMain()
{
{
// Corners are counted counter-clockwise from (0, 0), so that the faces turn as those of the patches.
vec3 low = mix(InPatch(corner, 0), InPatch(corner, 1), InTessCoord.x);
vec3 high = mix(InPatch(corner, 3), InPatch(corner, 2), InTessCoord.x);
vec3 flat0 = mix(low, high, InTessCoord.y);
float near0 = 0.004;
vec2 at = vec2(flat0.x * UNIFORM(scale), flat0.z * UNIFORM(scale)) + UNIFORM(offset);
float h = TerrainHeight(at) * UNIFORM(height);
float hx = TerrainHeight(at + vec2(near0, 0.0)) * UNIFORM(height);
float hz = TerrainHeight(at + vec2(0.0, near0)) * UNIFORM(height);
float slope = UNIFORM(scale) / near0;
corner = flat0;
place = vec3(flat0.x, flat0.y + h, flat0.z);
facing = normalize(vec3((h - hx) * slope, 1.0, (h - hz) * slope));
OutPosition = mul(UNIFORM(camera), vec4(place.x, place.y, place.z, 1.0));
}
}
struct OstraInputs
{
	float4 ostraPosition : SV_Position;
	[[vk::location(0)]] float3 ostraInput_corner : VARYING0;
	[[vk::location(1)]] float3 ostraInput_place : VARYING1;
	[[vk::location(2)]] float3 ostraInput_facing : VARYING2;
};
struct OstraOutputs
{
	float4 ostraPosition : SV_Position;
	[[vk::location(0)]]  float3 ostraOutput_corner : VARYING0;
	[[vk::location(1)]]  float3 ostraOutput_place : VARYING1;
	[[vk::location(2)]]  float3 ostraOutput_facing : VARYING2;
};
struct OstraLevels
{
	float outer[ostraOuterCount(PATCH_DOMAIN)] : SV_TessFactor;
	ostraInner(PATCH_DOMAIN)
};
[domain(ostraDomain(PATCH_DOMAIN))]
OstraOutputs main(OstraLevels levels, const OutputPatch<OstraInputs, PATCH_POINTS> patch, ostraPlace(PATCH_DOMAIN) ostraCoordinates : SV_DomainLocation)
{
	for (int i = 0; i < PATCH_POINTS; ++i)
	{
		ostraPositions[i] = patch[i].ostraPosition;
		ostraIn_corner[i] = patch[i].ostraInput_corner;
		ostraIn_place[i] = patch[i].ostraInput_place;
		ostraIn_facing[i] = patch[i].ostraInput_facing;
	}
	InTessCoord = ostraTessCoord(ostraCoordinates);
	ostraMain();
	OstraOutputs outputs;
	outputs.ostraPosition = OutPosition;
	outputs.ostraOutput_corner = corner;
	outputs.ostraOutput_place = place;
	outputs.ostraOutput_facing = facing;
	return outputs;
}

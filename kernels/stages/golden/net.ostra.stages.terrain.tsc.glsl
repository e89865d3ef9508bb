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
layout(vertices = PATCH_POINTS) out;
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
float TerrainDivision(vec3 a, vec3 b, vec3 eyePlace, float fineness)
{
vec3 middle = (a + b) * 0.5;
float distance2 = dot(middle - eyePlace, middle - eyePlace);
return clamp(fineness * length(a - b) * inversesqrt(distance2 + 0.01), 1.0, 64.0);
}
layout(set = 0, binding = 0, std140) uniform OstraUniforms
{
	layout(offset = 0) vec3 ostraUniform_eye;
	layout(offset = 16) float ostraUniform_detail;
};
layout(location = 0) in vec3 ostraIn_corner[];
layout(location = 0) out vec3 ostraOut_corner[];
vec3 corner;
// A terrain of patches: divides the sides of a patch the finer the nearer they are. Neighbours divide a common side alike.
void ostraMain()
{
{
corner = InPatch(corner, InInvocationID);
OutPosition = InPatchPosition(InInvocationID);
if (InInvocationID == 0u)
{
vec3 a = InPatch(corner, 0);
vec3 b = InPatch(corner, 1);
vec3 c = InPatch(corner, 2);
vec3 d = InPatch(corner, 3);
float ab = TerrainDivision(a, b, UNIFORM(eye), UNIFORM(detail));
float bc = TerrainDivision(b, c, UNIFORM(eye), UNIFORM(detail));
float cd = TerrainDivision(c, d, UNIFORM(eye), UNIFORM(detail));
float da = TerrainDivision(d, a, UNIFORM(eye), UNIFORM(detail));
// Sides of u = 0, v = 0, u = 1, v = 1; then inside along u and along v.
OutTessLevelOuter[0] = da;
OutTessLevelOuter[1] = ab;
OutTessLevelOuter[2] = bc;
OutTessLevelOuter[3] = cd;
OutTessLevelInner[0] = max(ab, cd);
OutTessLevelInner[1] = max(da, bc);
}
}
}
void main()
{
	corner = ostraIn_corner[gl_InvocationID];
	ostraMain();
	ostraOut_corner[gl_InvocationID] = corner;
}

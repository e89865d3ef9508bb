vec3 GroundColor(Float32 level, Float32 flatness)
{
vec3 meadow = mix(vec3(0.16, 0.32, 0.1), vec3(0.36, 0.4, 0.18), smoothstep(0.0, 0.5, level));
vec3 rock = vec3(0.36, 0.33, 0.3);
vec3 snow = vec3(0.95, 0.96, 1.0);
vec3 ground = mix(rock, meadow, smoothstep(0.5, 0.8, flatness));
return mix(ground, snow, smoothstep(0.5, 0.7, level) * smoothstep(0.4, 0.7, flatness));
}
[[vk::binding(0, 0)]] cbuffer OstraUniforms : register(b0)
{
	int ostraUniform_width : packoffset(c0.x);
	int ostraUniform_height : packoffset(c0.y);
	float ostraUniform_cells : packoffset(c0.z);
	float ostraUniform_time : packoffset(c0.w);
	float ostraUniform_waterLevel : packoffset(c1.x);
	float ostraUniform_steepness : packoffset(c1.y);
	float3 ostraUniform_light : packoffset(c2.x);
	int ostraUniform_noiseMode_0 : packoffset(c3.x);
	int ostraUniform_noiseSeed_0 : packoffset(c3.y);
	int2 ostraUniform_noiseData_0 : packoffset(c3.z);
	int ostraUniform_noiseMode_1 : packoffset(c4.x);
	int ostraUniform_noiseSeed_1 : packoffset(c4.y);
	int2 ostraUniform_noiseData_1 : packoffset(c4.z);
	int ostraUniform_noiseMode_2 : packoffset(c5.x);
	int ostraUniform_noiseSeed_2 : packoffset(c5.y);
	int2 ostraUniform_noiseData_2 : packoffset(c5.z);
};
[[vk::binding(1, 0)]] RWStructuredBuffer<Vector4d32> ostraBuffer_target : register(u1);
// The value of a noise: x, y, z and w as NoiseCoordinate takes them; a table without depth is no noise.
float ostraNoise(int mode, int2 table, float x, float y, float z, float w)
{
	if (table.y == 0) return 0.0f;
	return NoiseOfMode(mode, NoiseKey(uint(table.x), 0x5EEDu), table.y, NoiseCoordinate(x), NoiseCoordinate(y), NoiseCoordinate(z), NoiseCoordinate(w));
}
float ostraNoiseAt(int index, float x, float y, float z, float w)
{
	int mode = 0;
	int2 table = int2(0, 0);
	if (index == 0) { mode = ostraUniform_noiseMode_0; table = ostraUniform_noiseData_0; }
	if (index == 1) { mode = ostraUniform_noiseMode_1; table = ostraUniform_noiseData_1; }
	if (index == 2) { mode = ostraUniform_noiseMode_2; table = ostraUniform_noiseData_2; }
	return ostraNoise(mode, table, x, y, z, w);
}
float RenderNoise(int index, float position, float time) { return ostraNoiseAt(index, position, 0.0, 0.0, time); }
float RenderNoise(int index, float2 position, float time) { return ostraNoiseAt(index, position.x, position.y, 0.0, time); }
float RenderNoise(int index, float3 position, float time) { return ostraNoiseAt(index, position.x, position.y, position.z, time); }
float RenderNoise(int index, float4 position, float time) { return ostraNoiseAt(index, position.x, position.y, position.z, position.w + time); }
// Draws land made of noise number 0 from above, lit from the side: water, meadows, rocks and snow by height and slope.
static const uint3 InWorkGroupSize = uint3(16, 16, 1);
[numthreads(16, 16, 1)]
void main(uint3 InGlobalInvocationID : SV_DispatchThreadID, uint3 InLocalInvocationID : SV_GroupThreadID, uint3 InWorkGroupID : SV_GroupID)
{
{
int x = int(InGlobalInvocationID.x);
int y = int(InGlobalInvocationID.y);
if (x >= UNIFORM(width) || y >= UNIFORM(height))
{
return;
}
float scale = UNIFORM(cells) / float(UNIFORM(width));
vec2 place = vec2(float(x) * scale, float(y) * scale);
vec2 right = vec2(place.x + scale, place.y);
vec2 below = vec2(place.x, place.y + scale);
float here = 0.0;
float hereRight = 0.0;
float hereBelow = 0.0;
ADDNOISECALL
here = RenderNoise(0, place, UNIFORM(time));
ADDNOISECALL
hereRight = RenderNoise(0, right, UNIFORM(time));
ADDNOISECALL
hereBelow = RenderNoise(0, below, UNIFORM(time));
vec3 color = mix(vec3(0.18, 0.36, 0.5), vec3(0.03, 0.1, 0.25), (UNIFORM(waterLevel) - here) / UNIFORM(waterLevel));
vec3 normal = vec3(0.0, 0.0, 1.0);
if (here > UNIFORM(waterLevel))
{
float slope = UNIFORM(steepness) / scale;
normal = normalize(vec3((here - hereRight) * slope, (here - hereBelow) * slope, 1.0));
color = GroundColor((here - UNIFORM(waterLevel)) / (1.0 - UNIFORM(waterLevel)), normal.z);
}
float shade = 0.25 + 0.85 * max(dot(normal, normalize(UNIFORM(light))), 0.0);
UNIFORM_BUFFER(target)[y * UNIFORM(width) + x] = vec4(color.x * shade, color.y * shade, color.z * shade, 1.0);
}
}

vec3 GroundColor(Float32 level, Float32 flatness)
{
vec3 meadow = mix(vec3(0.16, 0.32, 0.1), vec3(0.36, 0.4, 0.18), smoothstep(0.0, 0.5, level));
vec3 rock = vec3(0.36, 0.33, 0.3);
vec3 snow = vec3(0.95, 0.96, 1.0);
vec3 ground = mix(rock, meadow, smoothstep(0.5, 0.8, flatness));
return mix(ground, snow, smoothstep(0.5, 0.7, level) * smoothstep(0.4, 0.7, flatness));
}
struct OstraUniforms
{
	int value_width;
	int value_height;
	float value_cells;
	float value_time;
	float value_waterLevel;
	float value_steepness;
	float3 value_light;
	int value_noiseMode_0;
	int value_noiseSeed_0;
	int2 value_noiseData_0;
	int value_noiseMode_1;
	int value_noiseSeed_1;
	int2 value_noiseData_1;
	int value_noiseMode_2;
	int value_noiseSeed_2;
	int2 value_noiseData_2;
};
#define ostraUniform_width ostraUniforms.value_width
#define ostraUniform_height ostraUniforms.value_height
#define ostraUniform_cells ostraUniforms.value_cells
#define ostraUniform_time ostraUniforms.value_time
#define ostraUniform_waterLevel ostraUniforms.value_waterLevel
#define ostraUniform_steepness ostraUniforms.value_steepness
#define ostraUniform_light ostraUniforms.value_light
#define ostraUniform_noiseMode_0 ostraUniforms.value_noiseMode_0
#define ostraUniform_noiseSeed_0 ostraUniforms.value_noiseSeed_0
#define ostraUniform_noiseData_0 ostraUniforms.value_noiseData_0
#define ostraUniform_noiseMode_1 ostraUniforms.value_noiseMode_1
#define ostraUniform_noiseSeed_1 ostraUniforms.value_noiseSeed_1
#define ostraUniform_noiseData_1 ostraUniforms.value_noiseData_1
#define ostraUniform_noiseMode_2 ostraUniforms.value_noiseMode_2
#define ostraUniform_noiseSeed_2 ostraUniforms.value_noiseSeed_2
#define ostraUniform_noiseData_2 ostraUniforms.value_noiseData_2
// The value of a noise: x, y, z and w as NoiseCoordinate takes them; a table without depth is no noise.
float ostraNoise(int mode, int2 table, float x, float y, float z, float w)
{
	if (table.y == 0) return 0.0f;
	return NoiseOfMode(mode, NoiseKey(uint(table.x), 0x5EEDu), table.y, NoiseCoordinate(x), NoiseCoordinate(y), NoiseCoordinate(z), NoiseCoordinate(w));
}
inline float ostraNoiseAt(constant OstraUniforms& ostraUniforms, int index, float x, float y, float z, float w)
{
	int mode = 0;
	int2 table = int2(0, 0);
	if (index == 0) { mode = ostraUniform_noiseMode_0; table = ostraUniform_noiseData_0; }
	if (index == 1) { mode = ostraUniform_noiseMode_1; table = ostraUniform_noiseData_1; }
	if (index == 2) { mode = ostraUniform_noiseMode_2; table = ostraUniform_noiseData_2; }
	return ostraNoise(mode, table, x, y, z, w);
}
inline float ostraNoiseAt(constant OstraUniforms& ostraUniforms, int index, float position, float time) { return ostraNoiseAt(ostraUniforms, index, position, 0.0, 0.0, time); }
inline float ostraNoiseAt(constant OstraUniforms& ostraUniforms, int index, float2 position, float time) { return ostraNoiseAt(ostraUniforms, index, position.x, position.y, 0.0, time); }
inline float ostraNoiseAt(constant OstraUniforms& ostraUniforms, int index, float3 position, float time) { return ostraNoiseAt(ostraUniforms, index, position.x, position.y, position.z, time); }
inline float ostraNoiseAt(constant OstraUniforms& ostraUniforms, int index, float4 position, float time) { return ostraNoiseAt(ostraUniforms, index, position.x, position.y, position.z, position.w + time); }
#define RenderNoise(index, position, time) ostraNoiseAt(ostraUniforms, index, position, time)
// Draws land made of noise number 0 from above, lit from the side: water, meadows, rocks and snow by height and slope.
constant uint3 InWorkGroupSize = uint3(16, 16, 1);
kernel void ostraMain(uint3 InGlobalInvocationID [[thread_position_in_grid]], uint3 InLocalInvocationID [[thread_position_in_threadgroup]], uint3 InWorkGroupID [[threadgroup_position_in_grid]]
	, constant OstraUniforms& ostraUniforms [[buffer(0)]]
	, device  ostraStored<Vector4d32>::Type* ostraBuffer_target [[buffer(1)]]
	)
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

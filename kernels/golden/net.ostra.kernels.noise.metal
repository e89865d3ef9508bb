struct OstraUniforms
{
	int value_width;
	int value_height;
	float value_cells;
	float value_time;
	int value_noiseMode_0;
	int value_noiseSeed_0;
	int2 value_noiseData_0;
};
#define ostraUniform_width ostraUniforms.value_width
#define ostraUniform_height ostraUniforms.value_height
#define ostraUniform_cells ostraUniforms.value_cells
#define ostraUniform_time ostraUniforms.value_time
#define ostraUniform_noiseMode_0 ostraUniforms.value_noiseMode_0
#define ostraUniform_noiseSeed_0 ostraUniforms.value_noiseSeed_0
#define ostraUniform_noiseData_0 ostraUniforms.value_noiseData_0
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
	return ostraNoise(mode, table, x, y, z, w);
}
inline float ostraNoiseAt(constant OstraUniforms& ostraUniforms, int index, float position, float time) { return ostraNoiseAt(ostraUniforms, index, position, 0.0, 0.0, time); }
inline float ostraNoiseAt(constant OstraUniforms& ostraUniforms, int index, float2 position, float time) { return ostraNoiseAt(ostraUniforms, index, position.x, position.y, 0.0, time); }
inline float ostraNoiseAt(constant OstraUniforms& ostraUniforms, int index, float3 position, float time) { return ostraNoiseAt(ostraUniforms, index, position.x, position.y, position.z, time); }
inline float ostraNoiseAt(constant OstraUniforms& ostraUniforms, int index, float4 position, float time) { return ostraNoiseAt(ostraUniforms, index, position.x, position.y, position.z, position.w + time); }
#define RenderNoise(index, position, time) ostraNoiseAt(ostraUniforms, index, position, time)
// Draws noise number 0 in gray; noiseMode_0 says which one and noiseSeed_0 picks a variant, cells is the width of the part shown.
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
float value = 0.0;
vec3 place = vec3(float(x) * scale, float(y) * scale, 0.375);
ADDNOISECALL
value = RenderNoise(0, place, UNIFORM(time));
UNIFORM_BUFFER(target)[y * UNIFORM(width) + x] = vec4(value, value, value, 1.0);
}
}

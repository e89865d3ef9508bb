layout(set = 0, binding = 0, std140) uniform OstraUniforms
{
	layout(offset = 0) int ostraUniform_width;
	layout(offset = 4) int ostraUniform_height;
	layout(offset = 8) float ostraUniform_cells;
	layout(offset = 12) float ostraUniform_time;
	layout(offset = 16) int ostraUniform_noiseMode_0;
	layout(offset = 20) int ostraUniform_noiseSeed_0;
	layout(offset = 24) ivec2 ostraUniform_noiseData_0;
};
layout(set = 0, binding = 1, scalar)  buffer OstraBuffer_target
{
	Vector4d32 ostraBuffer_target[];
};
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
	return ostraNoise(mode, table, x, y, z, w);
}
float RenderNoise(int index, float position, float time) { return ostraNoiseAt(index, position, 0.0, 0.0, time); }
float RenderNoise(int index, vec2 position, float time) { return ostraNoiseAt(index, position.x, position.y, 0.0, time); }
float RenderNoise(int index, vec3 position, float time) { return ostraNoiseAt(index, position.x, position.y, position.z, time); }
float RenderNoise(int index, vec4 position, float time) { return ostraNoiseAt(index, position.x, position.y, position.z, position.w + time); }
// Draws noise number 0 in gray; noiseMode_0 says which one and noiseSeed_0 picks a variant, cells is the width of the part shown.
layout(local_size_x = 16, local_size_y = 16, local_size_z = 1) in;
void main()
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

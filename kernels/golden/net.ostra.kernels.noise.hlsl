[[vk::binding(0, 0)]] cbuffer OstraUniforms : register(b0)
{
	int ostraUniform_width : packoffset(c0.x);
	int ostraUniform_height : packoffset(c0.y);
	float ostraUniform_cells : packoffset(c0.z);
	float ostraUniform_time : packoffset(c0.w);
	int ostraUniform_noiseMode_0 : packoffset(c1.x);
	int ostraUniform_noiseSeed_0 : packoffset(c1.y);
	int2 ostraUniform_noiseData_0 : packoffset(c1.z);
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
	return ostraNoise(mode, table, x, y, z, w);
}
float RenderNoise(int index, float position, float time) { return ostraNoiseAt(index, position, 0.0, 0.0, time); }
float RenderNoise(int index, float2 position, float time) { return ostraNoiseAt(index, position.x, position.y, 0.0, time); }
float RenderNoise(int index, float3 position, float time) { return ostraNoiseAt(index, position.x, position.y, position.z, time); }
float RenderNoise(int index, float4 position, float time) { return ostraNoiseAt(index, position.x, position.y, position.z, position.w + time); }
// Draws noise number 0 in gray; noiseMode_0 says which one and noiseSeed_0 picks a variant, cells is the width of the part shown.
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
float value = 0.0;
vec3 place = vec3(float(x) * scale, float(y) * scale, 0.375);
ADDNOISECALL
value = RenderNoise(0, place, UNIFORM(time));
UNIFORM_BUFFER(target)[y * UNIFORM(width) + x] = vec4(value, value, value, 1.0);
}
}

[[vk::binding(0, 0)]] cbuffer OstraUniforms : register(b0)
{
	int ostraUniform_width : packoffset(c0.x);
	int ostraUniform_height : packoffset(c0.y);
};
[[vk::binding(1, 0)]] StructuredBuffer<Float32> ostraBuffer_taps : register(t1);
[[vk::binding(2, 0)]] StructuredBuffer<Vector4d32> ostraBuffer_source : register(t2);
[[vk::binding(3, 0)]] RWStructuredBuffer<Vector4d32> ostraBuffer_target : register(u3);
// Blurs an RGBA picture with 25 weights, row by row in taps; beyond the edges the outermost pixels go on.
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
vec4 sum = vec4(0.0, 0.0, 0.0, 0.0);
for (int dy = 0; dy < 5; dy++)
{
int row = clamp(y + dy - 2, 0, UNIFORM(height) - 1) * UNIFORM(width);
for (int dx = 0; dx < 5; dx++)
{
int column = clamp(x + dx - 2, 0, UNIFORM(width) - 1);
sum = sum + UNIFORM_BUFFER(source)[row + column] * UNIFORM_BUFFER(taps)[dy * 5 + dx];
}
}
UNIFORM_BUFFER(target)[y * UNIFORM(width) + x] = sum;
}
}

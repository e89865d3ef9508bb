[[vk::binding(0, 0)]] cbuffer OstraUniforms : register(b0)
{
	int ostraUniform_width : packoffset(c0.x);
	int ostraUniform_height : packoffset(c0.y);
	float ostraUniform_speed : packoffset(c0.z);
};
[[vk::binding(1, 0)]] StructuredBuffer<Float32> ostraBuffer_source : register(t1);
[[vk::binding(2, 0)]] RWStructuredBuffer<Float32> ostraBuffer_target : register(u2);
// One step of heat through a plate: each cell goes towards the mean of its neighbours, which are read once by the group.
static const uint3 InWorkGroupSize = uint3(16, 16, 1);
groupSharedMemory float tile[324]; 
[numthreads(16, 16, 1)]
void main(uint3 InGlobalInvocationID : SV_DispatchThreadID, uint3 InLocalInvocationID : SV_GroupThreadID, uint3 InWorkGroupID : SV_GroupID)
{
{

int x = int(InGlobalInvocationID.x);
int y = int(InGlobalInvocationID.y);
int left = int(InWorkGroupID.x) * 16 - 1;
int top = int(InWorkGroupID.y) * 16 - 1;
for (int n = int(InLocalInvocationID.y) * 16 + int(InLocalInvocationID.x); n < 324; n = n + 256)
{
int column = min(max(left + n % 18, 0), UNIFORM(width) - 1);
int row = min(max(top + n / 18, 0), UNIFORM(height) - 1);
tile[n] = UNIFORM_BUFFER(source)[row * UNIFORM(width) + column];
}
groupSharedBarrier;
if (x < UNIFORM(width) && y < UNIFORM(height))
{
int at = (y - top) * 18 + x - left;
float mean = (tile[at - 18] + tile[at - 1] + tile[at + 1] + tile[at + 18]) * 0.25;
UNIFORM_BUFFER(target)[y * UNIFORM(width) + x] = tile[at] + (mean - tile[at]) * UNIFORM(speed);
}
}
}

[[vk::binding(0, 0)]] cbuffer OstraUniforms : register(b0)
{
	uint ostraUniform_rows : packoffset(c0.x);
	uint ostraUniform_inner : packoffset(c0.y);
	uint ostraUniform_columns : packoffset(c0.z);
};
[[vk::binding(1, 0)]] StructuredBuffer<Float32> ostraBuffer_left : register(t1);
[[vk::binding(2, 0)]] StructuredBuffer<Float32> ostraBuffer_right : register(t2);
[[vk::binding(3, 0)]] RWStructuredBuffer<Float32> ostraBuffer_product : register(u3);
// Product of two matrices, row by row in memory, over tiles of 16 x 16 elements in group memory.
static const uint3 InWorkGroupSize = uint3(16, 16, 1);
groupSharedMemory float leftTile[256]; 
groupSharedMemory float rightTile[256]; 
[numthreads(16, 16, 1)]
void main(uint3 InGlobalInvocationID : SV_DispatchThreadID, uint3 InLocalInvocationID : SV_GroupThreadID, uint3 InWorkGroupID : SV_GroupID)
{
{


uint column = InGlobalInvocationID.x;
uint row = InGlobalInvocationID.y;
uint x = InLocalInvocationID.x;
uint y = InLocalInvocationID.y;
float sum = 0.0;
for (uint first = 0u; first < UNIFORM(inner); first = first + 16u)
{
float a = 0.0;
float b = 0.0;
if (row < UNIFORM(rows) && first + x < UNIFORM(inner))
{
a = UNIFORM_BUFFER(left)[row * UNIFORM(inner) + first + x];
}
if (column < UNIFORM(columns) && first + y < UNIFORM(inner))
{
b = UNIFORM_BUFFER(right)[(first + y) * UNIFORM(columns) + column];
}
leftTile[y * 16u + x] = a;
rightTile[y * 16u + x] = b;
groupSharedBarrier;
for (uint k = 0u; k < 16u; ++k)
{
sum = sum + leftTile[y * 16u + k] * rightTile[k * 16u + x];
}
groupSharedBarrier;
}
if (row < UNIFORM(rows) && column < UNIFORM(columns))
{
UNIFORM_BUFFER(product)[row * UNIFORM(columns) + column] = sum;
}
}
}

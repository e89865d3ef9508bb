struct OstraUniforms
{
	uint value_rows;
	uint value_inner;
	uint value_columns;
};
#define ostraUniform_rows ostraUniforms.value_rows
#define ostraUniform_inner ostraUniforms.value_inner
#define ostraUniform_columns ostraUniforms.value_columns
// Product of two matrices, row by row in memory, over tiles of 16 x 16 elements in group memory.
constant uint3 InWorkGroupSize = uint3(16, 16, 1);
kernel void ostraMain(uint3 InGlobalInvocationID [[thread_position_in_grid]], uint3 InLocalInvocationID [[thread_position_in_threadgroup]], uint3 InWorkGroupID [[threadgroup_position_in_grid]]
	, constant OstraUniforms& ostraUniforms [[buffer(0)]]
	, device const ostraStored<Float32>::Type* ostraBuffer_left [[buffer(1)]]
	, device const ostraStored<Float32>::Type* ostraBuffer_right [[buffer(2)]]
	, device  ostraStored<Float32>::Type* ostraBuffer_product [[buffer(3)]]
	)
{
groupSharedMemory float leftTile[256]; 
groupSharedMemory float rightTile[256]; 
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

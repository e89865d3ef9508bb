layout(set = 0, binding = 0, std140) uniform OstraUniforms
{
	layout(offset = 0) uint ostraUniform_rows;
	layout(offset = 4) uint ostraUniform_inner;
	layout(offset = 8) uint ostraUniform_columns;
};
layout(set = 0, binding = 1, scalar) readonly buffer OstraBuffer_left
{
	Float32 ostraBuffer_left[];
};
layout(set = 0, binding = 2, scalar) readonly buffer OstraBuffer_right
{
	Float32 ostraBuffer_right[];
};
layout(set = 0, binding = 3, scalar)  buffer OstraBuffer_product
{
	Float32 ostraBuffer_product[];
};
// Product of two matrices, row by row in memory, over tiles of 16 x 16 elements in group memory.
layout(local_size_x = 16, local_size_y = 16, local_size_z = 1) in;
groupSharedMemory float leftTile[256]; 
groupSharedMemory float rightTile[256]; 
void main()
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

layout(set = 0, binding = 0, std140) uniform OstraUniforms
{
	layout(offset = 0) int ostraUniform_width;
	layout(offset = 4) int ostraUniform_height;
	layout(offset = 8) float ostraUniform_speed;
};
layout(set = 0, binding = 1, scalar) readonly buffer OstraBuffer_source
{
	Float32 ostraBuffer_source[];
};
layout(set = 0, binding = 2, scalar)  buffer OstraBuffer_target
{
	Float32 ostraBuffer_target[];
};
// One step of heat through a plate: each cell goes towards the mean of its neighbours, which are read once by the group.
layout(local_size_x = 16, local_size_y = 16, local_size_z = 1) in;
groupSharedMemory float tile[324]; 
void main()
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

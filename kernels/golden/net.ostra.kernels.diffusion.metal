struct OstraUniforms
{
	int value_width;
	int value_height;
	float value_speed;
};
#define ostraUniform_width ostraUniforms.value_width
#define ostraUniform_height ostraUniforms.value_height
#define ostraUniform_speed ostraUniforms.value_speed
// One step of heat through a plate: each cell goes towards the mean of its neighbours, which are read once by the group.
constant uint3 InWorkGroupSize = uint3(16, 16, 1);
kernel void ostraMain(uint3 InGlobalInvocationID [[thread_position_in_grid]], uint3 InLocalInvocationID [[thread_position_in_threadgroup]], uint3 InWorkGroupID [[threadgroup_position_in_grid]]
	, constant OstraUniforms& ostraUniforms [[buffer(0)]]
	, device const ostraStored<Float32>::Type* ostraBuffer_source [[buffer(1)]]
	, device  ostraStored<Float32>::Type* ostraBuffer_target [[buffer(2)]]
	)
{
groupSharedMemory float tile[324]; 
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

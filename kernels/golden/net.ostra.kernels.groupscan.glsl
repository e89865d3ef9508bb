layout(set = 0, binding = 0, std140) uniform OstraUniforms
{
	layout(offset = 0) uint ostraUniform_count;
};
layout(set = 0, binding = 1, scalar) readonly buffer OstraBuffer_source
{
	UInt32 ostraBuffer_source[];
};
layout(set = 0, binding = 2, scalar)  buffer OstraBuffer_target
{
	UInt32 ostraBuffer_target[];
};
layout(set = 0, binding = 3, scalar)  buffer OstraBuffer_totals
{
	UInt32 ostraBuffer_totals[];
};
// Prefix sums within each group of 256 elements, and the sum of each group: two more steps make them sums of everything.
layout(local_size_x = 256, local_size_y = 1, local_size_z = 1) in;
groupSharedMemory uint sums[256]; 
void main()
{
{

uint i = InGlobalInvocationID.x;
uint k = InLocalInvocationID.x;
uint sum = 0u;
if (i < UNIFORM(count))
{
sum = UNIFORM_BUFFER(source)[i];
}
sums[k] = sum;
groupSharedBarrier;
for (uint reach = 1u; reach < 256u; reach = reach * 2u)
{
if (k >= reach)
{
sum = sum + sums[k - reach];
}
groupSharedBarrier;
sums[k] = sum;
groupSharedBarrier;
}
if (i < UNIFORM(count))
{
UNIFORM_BUFFER(target)[i] = sum;
}
if (k == 255u)
{
UNIFORM_BUFFER(totals)[InWorkGroupID.x] = sum;
}
}
}

layout(set = 0, binding = 0, std140) uniform OstraUniforms
{
	layout(offset = 0) uint ostraUniform_count;
};
layout(set = 0, binding = 1, scalar) readonly buffer OstraBuffer_source
{
	Float32 ostraBuffer_source[];
};
layout(set = 0, binding = 2, scalar)  buffer OstraBuffer_sums
{
	Float32 ostraBuffer_sums[];
};
// Sums the elements of each group of 256 in group memory; one sum for each group.
layout(local_size_x = 256, local_size_y = 1, local_size_z = 1) in;
groupSharedMemory float partial[256]; 
void main()
{
{

uint i = InGlobalInvocationID.x;
uint k = InLocalInvocationID.x;
float value = 0.0;
if (i < UNIFORM(count))
{
value = UNIFORM_BUFFER(source)[i];
}
partial[k] = value;
groupSharedBarrier;
for (uint reach = 128u; reach > 0u; reach = reach / 2u)
{
if (k < reach)
{
partial[k] = partial[k] + partial[k + reach];
}
groupSharedBarrier;
}
if (k == 0u)
{
UNIFORM_BUFFER(sums)[InWorkGroupID.x] = partial[0];
}
}
}

layout(set = 0, binding = 0, std140) uniform OstraUniforms
{
	layout(offset = 0) uint ostraUniform_count;
};
layout(set = 0, binding = 1, scalar)  buffer OstraBuffer_values
{
	Float32 ostraBuffer_values[];
};
// Sorts each group of 256 elements in group memory.
layout(local_size_x = 256, local_size_y = 1, local_size_z = 1) in;
groupSharedMemory float keys[256]; 
void main()
{
{

uint i = InGlobalInvocationID.x;
uint k = InLocalInvocationID.x;
float key = 3.4e38;
if (i < UNIFORM(count))
{
key = UNIFORM_BUFFER(values)[i];
}
keys[k] = key;
groupSharedBarrier;
for (uint run = 2u; run <= 256u; run = run * 2u)
{
for (uint reach = run / 2u; reach > 0u; reach = reach / 2u)
{
uint other = k ^ reach;
if (other > k)
{
float low = keys[k];
float high = keys[other];
bool isRising = (k & run) == 0u;
if ((low > high) == isRising)
{
keys[k] = high;
keys[other] = low;
}
}
groupSharedBarrier;
}
}
if (i < UNIFORM(count))
{
UNIFORM_BUFFER(values)[i] = keys[k];
}
}
}

struct OstraUniforms
{
	uint value_count;
};
#define ostraUniform_count ostraUniforms.value_count
// Sorts each group of 256 elements in group memory.
constant uint3 InWorkGroupSize = uint3(256, 1, 1);
kernel void ostraMain(uint3 InGlobalInvocationID [[thread_position_in_grid]], uint3 InLocalInvocationID [[thread_position_in_threadgroup]], uint3 InWorkGroupID [[threadgroup_position_in_grid]]
	, constant OstraUniforms& ostraUniforms [[buffer(0)]]
	, device  ostraStored<Float32>::Type* ostraBuffer_values [[buffer(1)]]
	)
{
groupSharedMemory float keys[256]; 
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

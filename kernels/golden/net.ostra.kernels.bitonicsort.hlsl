[[vk::binding(0, 0)]] cbuffer OstraUniforms : register(b0)
{
	uint ostraUniform_count : packoffset(c0.x);
};
[[vk::binding(1, 0)]] RWStructuredBuffer<Float32> ostraBuffer_values : register(u1);
// Sorts each group of 256 elements in group memory.
static const uint3 InWorkGroupSize = uint3(256, 1, 1);
groupSharedMemory float keys[256]; 
[numthreads(256, 1, 1)]
void main(uint3 InGlobalInvocationID : SV_DispatchThreadID, uint3 InLocalInvocationID : SV_GroupThreadID, uint3 InWorkGroupID : SV_GroupID)
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

struct OstraUniforms
{
	uint value_count;
};
#define ostraUniform_count ostraUniforms.value_count
// Sums the elements of each group of 256 in group memory; one sum for each group.
constant uint3 InWorkGroupSize = uint3(256, 1, 1);
kernel void ostraMain(uint3 InGlobalInvocationID [[thread_position_in_grid]], uint3 InLocalInvocationID [[thread_position_in_threadgroup]], uint3 InWorkGroupID [[threadgroup_position_in_grid]]
	, constant OstraUniforms& ostraUniforms [[buffer(0)]]
	, device const ostraStored<Float32>::Type* ostraBuffer_source [[buffer(1)]]
	, device  ostraStored<Float32>::Type* ostraBuffer_sums [[buffer(2)]]
	)
{
groupSharedMemory float partial[256]; 
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

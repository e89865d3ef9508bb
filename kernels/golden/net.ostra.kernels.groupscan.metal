struct OstraUniforms
{
	uint value_count;
};
#define ostraUniform_count ostraUniforms.value_count
// Prefix sums within each group of 256 elements, and the sum of each group: two more steps make them sums of everything.
constant uint3 InWorkGroupSize = uint3(256, 1, 1);
kernel void ostraMain(uint3 InGlobalInvocationID [[thread_position_in_grid]], uint3 InLocalInvocationID [[thread_position_in_threadgroup]], uint3 InWorkGroupID [[threadgroup_position_in_grid]]
	, constant OstraUniforms& ostraUniforms [[buffer(0)]]
	, device const ostraStored<UInt32>::Type* ostraBuffer_source [[buffer(1)]]
	, device  ostraStored<UInt32>::Type* ostraBuffer_target [[buffer(2)]]
	, device  ostraStored<UInt32>::Type* ostraBuffer_totals [[buffer(3)]]
	)
{
groupSharedMemory uint sums[256]; 
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

// Takes the square root of each of the first counts[0] values in place; meant for an indirect dispatch in groups of 64.
constant uint3 InWorkGroupSize = uint3(64, 1, 1);
kernel void ostraMain(uint3 InGlobalInvocationID [[thread_position_in_grid]], uint3 InLocalInvocationID [[thread_position_in_threadgroup]], uint3 InWorkGroupID [[threadgroup_position_in_grid]]
	, device const ostraStored<UInt32>::Type* ostraBuffer_counts [[buffer(1)]]
	, device  ostraStored<Float32>::Type* ostraBuffer_values [[buffer(2)]]
	)
{
{
uint i = InGlobalInvocationID.x;
if (i < UNIFORM_BUFFER(counts)[0])
{
UNIFORM_BUFFER(values)[i] = sqrt(UNIFORM_BUFFER(values)[i]);
}
}
}

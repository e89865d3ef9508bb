struct OstraUniforms
{
	int value_groupSize;
};
#define ostraUniform_groupSize ostraUniforms.value_groupSize
// Writes the arguments of an indirect dispatch that has one invocation for each of the counts[0] elements; one invocation.
constant uint3 InWorkGroupSize = uint3(1, 1, 1);
kernel void ostraMain(uint3 InGlobalInvocationID [[thread_position_in_grid]], uint3 InLocalInvocationID [[thread_position_in_threadgroup]], uint3 InWorkGroupID [[threadgroup_position_in_grid]]
	, constant OstraUniforms& ostraUniforms [[buffer(0)]]
	, device const ostraStored<UInt32>::Type* ostraBuffer_counts [[buffer(1)]]
	, device  ostraStored<IntVector4d32>::Type* ostraBuffer_arguments [[buffer(2)]]
	)
{
{
if (InGlobalInvocationID.x == 0u)
{
int elements = int(UNIFORM_BUFFER(counts)[0]);
int groups = (elements + UNIFORM(groupSize) - 1) / UNIFORM(groupSize);
UNIFORM_BUFFER(arguments)[0] = int4(groups, 1, 1, elements);
}
}
}

struct OstraUniforms
{
	uint value_count;
	float value_limit;
};
#define ostraUniform_count ostraUniforms.value_count
#define ostraUniform_limit ostraUniforms.value_limit
// Collects the values above a limit, in any order, and counts them in counts[0], which must be 0 before.
constant uint3 InWorkGroupSize = uint3(256, 1, 1);
kernel void ostraMain(uint3 InGlobalInvocationID [[thread_position_in_grid]], uint3 InLocalInvocationID [[thread_position_in_threadgroup]], uint3 InWorkGroupID [[threadgroup_position_in_grid]]
	, constant OstraUniforms& ostraUniforms [[buffer(0)]]
	, device const ostraStored<Float32>::Type* ostraBuffer_values [[buffer(1)]]
	, device  ostraStored<Float32>::Type* ostraBuffer_found [[buffer(2)]]
	, device  ostraStored<UInt32>::Type* ostraBuffer_counts [[buffer(3)]]
	)
{
{
uint i = LinearInvocation();
if (i >= UNIFORM(count))
{
return;
}
float value = UNIFORM_BUFFER(values)[i];
if (value > UNIFORM(limit))
{
uint place = 0u;
AtomicAdd(UNIFORM_BUFFER(counts)[0], 1u, place);
UNIFORM_BUFFER(found)[place] = value;
}
}
}

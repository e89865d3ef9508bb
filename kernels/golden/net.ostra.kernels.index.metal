struct OstraUniforms
{
	uint value_count;
};
#define ostraUniform_count ostraUniforms.value_count
// Writes every element's own number: values[i] = i.
constant uint3 InWorkGroupSize = uint3(256, 1, 1);
kernel void ostraMain(uint3 InGlobalInvocationID [[thread_position_in_grid]], uint3 InLocalInvocationID [[thread_position_in_threadgroup]], uint3 InWorkGroupID [[threadgroup_position_in_grid]]
	, constant OstraUniforms& ostraUniforms [[buffer(0)]]
	, device  ostraStored<UInt32>::Type* ostraBuffer_values [[buffer(1)]]
	)
{
{
uint i = LinearInvocation();
if (i < UNIFORM(count))
{
UNIFORM_BUFFER(values)[i] = i;
}
}
}

struct OstraUniforms
{
	uint value_count;
	uint value_distance;
};
#define ostraUniform_count ostraUniforms.value_count
#define ostraUniform_distance ostraUniforms.value_distance
// One of the passes of a running sum: adds the value that lies distance before. Distances 1, 2, 4, ... up to count give it.
constant uint3 InWorkGroupSize = uint3(256, 1, 1);
kernel void ostraMain(uint3 InGlobalInvocationID [[thread_position_in_grid]], uint3 InLocalInvocationID [[thread_position_in_threadgroup]], uint3 InWorkGroupID [[threadgroup_position_in_grid]]
	, constant OstraUniforms& ostraUniforms [[buffer(0)]]
	, device const ostraStored<UInt32>::Type* ostraBuffer_source [[buffer(1)]]
	, device  ostraStored<UInt32>::Type* ostraBuffer_target [[buffer(2)]]
	)
{
{
uint i = LinearInvocation();
if (i >= UNIFORM(count))
{
return;
}
uint sum = UNIFORM_BUFFER(source)[i];
if (i >= UNIFORM(distance))
{
sum = sum + UNIFORM_BUFFER(source)[i - UNIFORM(distance)];
}
UNIFORM_BUFFER(target)[i] = sum;
}
}

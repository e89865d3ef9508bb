struct OstraUniforms
{
	uint value_count;
	uint value_run;
};
#define ostraUniform_count ostraUniforms.value_count
#define ostraUniform_run ostraUniforms.value_run
// Adds up neighbouring runs of values: sums[i] = values[i * run] + ... Dispatched again on its sums until one is left.
constant uint3 InWorkGroupSize = uint3(256, 1, 1);
kernel void ostraMain(uint3 InGlobalInvocationID [[thread_position_in_grid]], uint3 InLocalInvocationID [[thread_position_in_threadgroup]], uint3 InWorkGroupID [[threadgroup_position_in_grid]]
	, constant OstraUniforms& ostraUniforms [[buffer(0)]]
	, device const ostraStored<Float32>::Type* ostraBuffer_values [[buffer(1)]]
	, device  ostraStored<Float32>::Type* ostraBuffer_sums [[buffer(2)]]
	)
{
{
uint i = LinearInvocation();
uint first = i * UNIFORM(run);
if (first >= UNIFORM(count))
{
return;
}
uint last = min(first + UNIFORM(run), UNIFORM(count));
float sum = 0.0;
for (uint k = first; k < last; k++)
{
sum = sum + UNIFORM_BUFFER(values)[k];
}
UNIFORM_BUFFER(sums)[i] = sum;
}
}

struct OstraUniforms
{
	uint value_count;
	float value_a;
};
#define ostraUniform_count ostraUniforms.value_count
#define ostraUniform_a ostraUniforms.value_a
// y = a * x + y, element by element, over one range of any length.
constant uint3 InWorkGroupSize = uint3(256, 1, 1);
kernel void ostraMain(uint3 InGlobalInvocationID [[thread_position_in_grid]], uint3 InLocalInvocationID [[thread_position_in_threadgroup]], uint3 InWorkGroupID [[threadgroup_position_in_grid]]
	, constant OstraUniforms& ostraUniforms [[buffer(0)]]
	, device const ostraStored<Float32>::Type* ostraBuffer_x [[buffer(1)]]
	, device  ostraStored<Float32>::Type* ostraBuffer_y [[buffer(2)]]
	)
{
{
uint i = LinearInvocation();
if (i < UNIFORM(count))
{
UNIFORM_BUFFER(y)[i] = UNIFORM(a) * UNIFORM_BUFFER(x)[i] + UNIFORM_BUFFER(y)[i];
}
}
}

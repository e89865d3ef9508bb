struct OstraUniforms
{
	int value_width;
	int value_height;
};
#define ostraUniform_width ostraUniforms.value_width
#define ostraUniform_height ostraUniforms.value_height
// Blurs an RGBA picture with 25 weights, row by row in taps; beyond the edges the outermost pixels go on.
constant uint3 InWorkGroupSize = uint3(16, 16, 1);
kernel void ostraMain(uint3 InGlobalInvocationID [[thread_position_in_grid]], uint3 InLocalInvocationID [[thread_position_in_threadgroup]], uint3 InWorkGroupID [[threadgroup_position_in_grid]]
	, constant OstraUniforms& ostraUniforms [[buffer(0)]]
	, device const ostraStored<Float32>::Type* ostraBuffer_taps [[buffer(1)]]
	, device const ostraStored<Vector4d32>::Type* ostraBuffer_source [[buffer(2)]]
	, device  ostraStored<Vector4d32>::Type* ostraBuffer_target [[buffer(3)]]
	)
{
{
int x = int(InGlobalInvocationID.x);
int y = int(InGlobalInvocationID.y);
if (x >= UNIFORM(width) || y >= UNIFORM(height))
{
return;
}
vec4 sum = vec4(0.0, 0.0, 0.0, 0.0);
for (int dy = 0; dy < 5; dy++)
{
int row = clamp(y + dy - 2, 0, UNIFORM(height) - 1) * UNIFORM(width);
for (int dx = 0; dx < 5; dx++)
{
int column = clamp(x + dx - 2, 0, UNIFORM(width) - 1);
sum = sum + UNIFORM_BUFFER(source)[row + column] * UNIFORM_BUFFER(taps)[dy * 5 + dx];
}
}
UNIFORM_BUFFER(target)[y * UNIFORM(width) + x] = sum;
}
}

struct OstraUniforms
{
	uint value_width;
	uint value_height;
	float value_left;
	float value_top;
	float value_pixelSize;
	uint value_maximum;
};
#define ostraUniform_width ostraUniforms.value_width
#define ostraUniform_height ostraUniforms.value_height
#define ostraUniform_left ostraUniforms.value_left
#define ostraUniform_top ostraUniforms.value_top
#define ostraUniform_pixelSize ostraUniforms.value_pixelSize
#define ostraUniform_maximum ostraUniforms.value_maximum
// Counts for every point of a part of the complex plane how many steps of z = z * z + c stay within the circle of radius 2.
constant uint3 InWorkGroupSize = uint3(16, 16, 1);
kernel void ostraMain(uint3 InGlobalInvocationID [[thread_position_in_grid]], uint3 InLocalInvocationID [[thread_position_in_threadgroup]], uint3 InWorkGroupID [[threadgroup_position_in_grid]]
	, constant OstraUniforms& ostraUniforms [[buffer(0)]]
	, device  ostraStored<UInt32>::Type* ostraBuffer_steps [[buffer(1)]]
	)
{
{
uint x = InGlobalInvocationID.x;
uint y = InGlobalInvocationID.y;
if (x >= UNIFORM(width) || y >= UNIFORM(height))
{
return;
}
float cx = UNIFORM(left) + float(x) * UNIFORM(pixelSize);
float cy = UNIFORM(top) + float(y) * UNIFORM(pixelSize);
float zx = 0.0;
float zy = 0.0;
uint count = 0u;
while (count < UNIFORM(maximum) && zx * zx + zy * zy <= 4.0)
{
float next = zx * zx - zy * zy + cx;
zy = 2.0 * zx * zy + cy;
zx = next;
count++;
}
UNIFORM_BUFFER(steps)[y * UNIFORM(width) + x] = count;
}
}

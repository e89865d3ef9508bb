layout(set = 0, binding = 0, std140) uniform OstraUniforms
{
	layout(offset = 0) uint ostraUniform_width;
	layout(offset = 4) uint ostraUniform_height;
	layout(offset = 8) float ostraUniform_left;
	layout(offset = 12) float ostraUniform_top;
	layout(offset = 16) float ostraUniform_pixelSize;
	layout(offset = 20) uint ostraUniform_maximum;
};
layout(set = 0, binding = 1, scalar)  buffer OstraBuffer_steps
{
	UInt32 ostraBuffer_steps[];
};
// Counts for every point of a part of the complex plane how many steps of z = z * z + c stay within the circle of radius 2.
layout(local_size_x = 16, local_size_y = 16, local_size_z = 1) in;
void main()
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

layout(set = 0, binding = 0, std140) uniform OstraUniforms
{
	layout(offset = 0) uint ostraUniform_count;
	layout(offset = 4) float ostraUniform_a;
};
layout(set = 0, binding = 1, scalar) readonly buffer OstraBuffer_x
{
	Float32 ostraBuffer_x[];
};
layout(set = 0, binding = 2, scalar)  buffer OstraBuffer_y
{
	Float32 ostraBuffer_y[];
};
// y = a * x + y, element by element, over one range of any length.
layout(local_size_x = 256, local_size_y = 1, local_size_z = 1) in;
void main()
{
{
uint i = LinearInvocation();
if (i < UNIFORM(count))
{
UNIFORM_BUFFER(y)[i] = UNIFORM(a) * UNIFORM_BUFFER(x)[i] + UNIFORM_BUFFER(y)[i];
}
}
}

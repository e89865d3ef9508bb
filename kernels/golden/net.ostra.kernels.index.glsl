layout(set = 0, binding = 0, std140) uniform OstraUniforms
{
	layout(offset = 0) uint ostraUniform_count;
};
layout(set = 0, binding = 1, scalar)  buffer OstraBuffer_values
{
	UInt32 ostraBuffer_values[];
};
// Writes every element's own number: values[i] = i.
layout(local_size_x = 256, local_size_y = 1, local_size_z = 1) in;
void main()
{
{
uint i = LinearInvocation();
if (i < UNIFORM(count))
{
UNIFORM_BUFFER(values)[i] = i;
}
}
}

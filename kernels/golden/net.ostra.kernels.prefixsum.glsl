layout(set = 0, binding = 0, std140) uniform OstraUniforms
{
	layout(offset = 0) uint ostraUniform_count;
	layout(offset = 4) uint ostraUniform_distance;
};
layout(set = 0, binding = 1, scalar) readonly buffer OstraBuffer_source
{
	UInt32 ostraBuffer_source[];
};
layout(set = 0, binding = 2, scalar)  buffer OstraBuffer_target
{
	UInt32 ostraBuffer_target[];
};
// One of the passes of a running sum: adds the value that lies distance before. Distances 1, 2, 4, ... up to count give it.
layout(local_size_x = 256, local_size_y = 1, local_size_z = 1) in;
void main()
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

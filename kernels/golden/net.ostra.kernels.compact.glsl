layout(set = 0, binding = 0, std140) uniform OstraUniforms
{
	layout(offset = 0) uint ostraUniform_count;
	layout(offset = 4) float ostraUniform_limit;
};
layout(set = 0, binding = 1, scalar) readonly buffer OstraBuffer_values
{
	Float32 ostraBuffer_values[];
};
layout(set = 0, binding = 2, scalar)  buffer OstraBuffer_found
{
	Float32 ostraBuffer_found[];
};
layout(set = 0, binding = 3, scalar)  buffer OstraBuffer_counts
{
	UInt32 ostraBuffer_counts[];
};
// Collects the values above a limit, in any order, and counts them in counts[0], which must be 0 before.
layout(local_size_x = 256, local_size_y = 1, local_size_z = 1) in;
void main()
{
{
uint i = LinearInvocation();
if (i >= UNIFORM(count))
{
return;
}
float value = UNIFORM_BUFFER(values)[i];
if (value > UNIFORM(limit))
{
uint place = 0u;
AtomicAdd(UNIFORM_BUFFER(counts)[0], 1u, place);
UNIFORM_BUFFER(found)[place] = value;
}
}
}

layout(set = 0, binding = 1, scalar) readonly buffer OstraBuffer_counts
{
	UInt32 ostraBuffer_counts[];
};
layout(set = 0, binding = 2, scalar)  buffer OstraBuffer_values
{
	Float32 ostraBuffer_values[];
};
// Takes the square root of each of the first counts[0] values in place; meant for an indirect dispatch in groups of 64.
layout(local_size_x = 64, local_size_y = 1, local_size_z = 1) in;
void main()
{
{
uint i = InGlobalInvocationID.x;
if (i < UNIFORM_BUFFER(counts)[0])
{
UNIFORM_BUFFER(values)[i] = sqrt(UNIFORM_BUFFER(values)[i]);
}
}
}

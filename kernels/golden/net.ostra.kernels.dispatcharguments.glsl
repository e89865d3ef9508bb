layout(set = 0, binding = 0, std140) uniform OstraUniforms
{
	layout(offset = 0) int ostraUniform_groupSize;
};
layout(set = 0, binding = 1, scalar) readonly buffer OstraBuffer_counts
{
	UInt32 ostraBuffer_counts[];
};
layout(set = 0, binding = 2, scalar)  buffer OstraBuffer_arguments
{
	IntVector4d32 ostraBuffer_arguments[];
};
// Writes the arguments of an indirect dispatch that has one invocation for each of the counts[0] elements; one invocation.
layout(local_size_x = 1, local_size_y = 1, local_size_z = 1) in;
void main()
{
{
if (InGlobalInvocationID.x == 0u)
{
int elements = int(UNIFORM_BUFFER(counts)[0]);
int groups = (elements + UNIFORM(groupSize) - 1) / UNIFORM(groupSize);
UNIFORM_BUFFER(arguments)[0] = int4(groups, 1, 1, elements);
}
}
}

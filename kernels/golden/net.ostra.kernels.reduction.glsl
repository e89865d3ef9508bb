layout(set = 0, binding = 0, std140) uniform OstraUniforms
{
	layout(offset = 0) uint ostraUniform_count;
	layout(offset = 4) uint ostraUniform_run;
};
layout(set = 0, binding = 1, scalar) readonly buffer OstraBuffer_values
{
	Float32 ostraBuffer_values[];
};
layout(set = 0, binding = 2, scalar)  buffer OstraBuffer_sums
{
	Float32 ostraBuffer_sums[];
};
// Adds up neighbouring runs of values: sums[i] = values[i * run] + ... Dispatched again on its sums until one is left.
layout(local_size_x = 256, local_size_y = 1, local_size_z = 1) in;
void main()
{
{
uint i = LinearInvocation();
uint first = i * UNIFORM(run);
if (first >= UNIFORM(count))
{
return;
}
uint last = min(first + UNIFORM(run), UNIFORM(count));
float sum = 0.0;
for (uint k = first; k < last; k++)
{
sum = sum + UNIFORM_BUFFER(values)[k];
}
UNIFORM_BUFFER(sums)[i] = sum;
}
}

layout(set = 0, binding = 0, std140) uniform OstraUniforms
{
	layout(offset = 0) int ostraUniform_width;
	layout(offset = 4) int ostraUniform_height;
};
layout(set = 0, binding = 1, scalar) readonly buffer OstraBuffer_taps
{
	Float32 ostraBuffer_taps[];
};
layout(set = 0, binding = 2, scalar) readonly buffer OstraBuffer_source
{
	Vector4d32 ostraBuffer_source[];
};
layout(set = 0, binding = 3, scalar)  buffer OstraBuffer_target
{
	Vector4d32 ostraBuffer_target[];
};
// Blurs an RGBA picture with 25 weights, row by row in taps; beyond the edges the outermost pixels go on.
layout(local_size_x = 16, local_size_y = 16, local_size_z = 1) in;
void main()
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

Float32 BilateralWeight(Float32 squaredDistance, Float32 squaredDifference, Float32 space, Float32 color)
{
return exp(squaredDistance * space + squaredDifference * color);
}
layout(set = 0, binding = 0, std140) uniform OstraUniforms
{
	layout(offset = 0) int ostraUniform_width;
	layout(offset = 4) int ostraUniform_height;
	layout(offset = 8) int ostraUniform_radius;
	layout(offset = 12) float ostraUniform_sigmaSpace;
	layout(offset = 16) float ostraUniform_sigmaColor;
};
layout(set = 0, binding = 1, scalar) readonly buffer OstraBuffer_source
{
	Vector4d32 ostraBuffer_source[];
};
layout(set = 0, binding = 2, scalar)  buffer OstraBuffer_target
{
	Vector4d32 ostraBuffer_target[];
};
// Smooths an RGBA picture but keeps its edges: neighbours count less the farther and the more different they are.
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
float space = -0.5 / (UNIFORM(sigmaSpace) * UNIFORM(sigmaSpace));
float color = -0.5 / (UNIFORM(sigmaColor) * UNIFORM(sigmaColor));
vec4 center = UNIFORM_BUFFER(source)[y * UNIFORM(width) + x];
vec3 sum = vec3(0.0, 0.0, 0.0);
float weights = 0.0;
for (int dy = -UNIFORM(radius); dy <= UNIFORM(radius); dy++)
{
int row = clamp(y + dy, 0, UNIFORM(height) - 1) * UNIFORM(width);
for (int dx = -UNIFORM(radius); dx <= UNIFORM(radius); dx++)
{
vec4 other = UNIFORM_BUFFER(source)[row + clamp(x + dx, 0, UNIFORM(width) - 1)];
vec3 difference = vec3(other.x - center.x, other.y - center.y, other.z - center.z);
float weight = BilateralWeight(float(dx * dx + dy * dy), dot(difference, difference), space, color);
sum = sum + vec3(other.x, other.y, other.z) * weight;
weights = weights + weight;
}
}
sum = sum / weights;
UNIFORM_BUFFER(target)[y * UNIFORM(width) + x] = vec4(sum.x, sum.y, sum.z, center.w);
}
}

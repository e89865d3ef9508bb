Float32 BilateralWeight(Float32 squaredDistance, Float32 squaredDifference, Float32 space, Float32 color)
{
return exp(squaredDistance * space + squaredDifference * color);
}
struct OstraUniforms
{
	int value_width;
	int value_height;
	int value_radius;
	float value_sigmaSpace;
	float value_sigmaColor;
};
#define ostraUniform_width ostraUniforms.value_width
#define ostraUniform_height ostraUniforms.value_height
#define ostraUniform_radius ostraUniforms.value_radius
#define ostraUniform_sigmaSpace ostraUniforms.value_sigmaSpace
#define ostraUniform_sigmaColor ostraUniforms.value_sigmaColor
// Smooths an RGBA picture but keeps its edges: neighbours count less the farther and the more different they are.
constant uint3 InWorkGroupSize = uint3(16, 16, 1);
kernel void ostraMain(uint3 InGlobalInvocationID [[thread_position_in_grid]], uint3 InLocalInvocationID [[thread_position_in_threadgroup]], uint3 InWorkGroupID [[threadgroup_position_in_grid]]
	, constant OstraUniforms& ostraUniforms [[buffer(0)]]
	, device const ostraStored<Vector4d32>::Type* ostraBuffer_source [[buffer(1)]]
	, device  ostraStored<Vector4d32>::Type* ostraBuffer_target [[buffer(2)]]
	)
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

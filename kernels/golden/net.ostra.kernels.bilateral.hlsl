Float32 BilateralWeight(Float32 squaredDistance, Float32 squaredDifference, Float32 space, Float32 color)
{
return exp(squaredDistance * space + squaredDifference * color);
}
[[vk::binding(0, 0)]] cbuffer OstraUniforms : register(b0)
{
	int ostraUniform_width : packoffset(c0.x);
	int ostraUniform_height : packoffset(c0.y);
	int ostraUniform_radius : packoffset(c0.z);
	float ostraUniform_sigmaSpace : packoffset(c0.w);
	float ostraUniform_sigmaColor : packoffset(c1.x);
};
[[vk::binding(1, 0)]] StructuredBuffer<Vector4d32> ostraBuffer_source : register(t1);
[[vk::binding(2, 0)]] RWStructuredBuffer<Vector4d32> ostraBuffer_target : register(u2);
// Smooths an RGBA picture but keeps its edges: neighbours count less the farther and the more different they are.
static const uint3 InWorkGroupSize = uint3(16, 16, 1);
[numthreads(16, 16, 1)]
void main(uint3 InGlobalInvocationID : SV_DispatchThreadID, uint3 InLocalInvocationID : SV_GroupThreadID, uint3 InWorkGroupID : SV_GroupID)
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

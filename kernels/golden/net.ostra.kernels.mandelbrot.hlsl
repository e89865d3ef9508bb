[[vk::binding(0, 0)]] cbuffer OstraUniforms : register(b0)
{
	uint ostraUniform_width : packoffset(c0.x);
	uint ostraUniform_height : packoffset(c0.y);
	float ostraUniform_left : packoffset(c0.z);
	float ostraUniform_top : packoffset(c0.w);
	float ostraUniform_pixelSize : packoffset(c1.x);
	uint ostraUniform_maximum : packoffset(c1.y);
};
[[vk::binding(1, 0)]] RWStructuredBuffer<UInt32> ostraBuffer_steps : register(u1);
// Counts for every point of a part of the complex plane how many steps of z = z * z + c stay within the circle of radius 2.
static const uint3 InWorkGroupSize = uint3(16, 16, 1);
[numthreads(16, 16, 1)]
void main(uint3 InGlobalInvocationID : SV_DispatchThreadID, uint3 InLocalInvocationID : SV_GroupThreadID, uint3 InWorkGroupID : SV_GroupID)
{
{
uint x = InGlobalInvocationID.x;
uint y = InGlobalInvocationID.y;
if (x >= UNIFORM(width) || y >= UNIFORM(height))
{
return;
}
float cx = UNIFORM(left) + float(x) * UNIFORM(pixelSize);
float cy = UNIFORM(top) + float(y) * UNIFORM(pixelSize);
float zx = 0.0;
float zy = 0.0;
uint count = 0u;
while (count < UNIFORM(maximum) && zx * zx + zy * zy <= 4.0)
{
float next = zx * zx - zy * zy + cx;
zy = 2.0 * zx * zy + cy;
zx = next;
count++;
}
UNIFORM_BUFFER(steps)[y * UNIFORM(width) + x] = count;
}
}

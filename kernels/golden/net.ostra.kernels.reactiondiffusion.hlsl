[[vk::binding(0, 0)]] cbuffer OstraUniforms : register(b0)
{
	int ostraUniform_width : packoffset(c0.x);
	int ostraUniform_height : packoffset(c0.y);
	float ostraUniform_feed : packoffset(c0.z);
	float ostraUniform_kill : packoffset(c0.w);
	float ostraUniform_spreadX : packoffset(c1.x);
	float ostraUniform_spreadY : packoffset(c1.y);
	float ostraUniform_timeStep : packoffset(c1.z);
};
[[vk::binding(1, 0)]] StructuredBuffer<Vector2d32> ostraBuffer_source : register(t1);
[[vk::binding(2, 0)]] RWStructuredBuffer<Vector2d32> ostraBuffer_target : register(u2);
// One step of the Gray-Scott model: two substances (x, y) react and spread; the next step swaps source and target.
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
int west = (x == 0) ? UNIFORM(width) - 1 : x - 1;
int east = (x == UNIFORM(width) - 1) ? 0 : x + 1;
int row = y * UNIFORM(width);
int north = ((y == 0) ? UNIFORM(height) - 1 : y - 1) * UNIFORM(width);
int south = ((y == UNIFORM(height) - 1) ? 0 : y + 1) * UNIFORM(width);
vec2 here = UNIFORM_BUFFER(source)[row + x];
vec2 sides = UNIFORM_BUFFER(source)[row + west] + UNIFORM_BUFFER(source)[row + east] + UNIFORM_BUFFER(source)[north + x] + UNIFORM_BUFFER(source)[south + x];
vec2 corners = UNIFORM_BUFFER(source)[north + west] + UNIFORM_BUFFER(source)[north + east] + UNIFORM_BUFFER(source)[south + west] + UNIFORM_BUFFER(source)[south + east];
vec2 spread = sides * 0.2 + corners * 0.05 - here;
float reaction = here.x * here.y * here.y;
float nextX = here.x + (UNIFORM(spreadX) * spread.x - reaction + UNIFORM(feed) * (1.0 - here.x)) * UNIFORM(timeStep);
float nextY = here.y + (UNIFORM(spreadY) * spread.y + reaction - (UNIFORM(feed) + UNIFORM(kill)) * here.y) * UNIFORM(timeStep);
UNIFORM_BUFFER(target)[row + x] = vec2(clamp(nextX, 0.0, 1.0), clamp(nextY, 0.0, 1.0));
}
}

struct OstraUniforms
{
	int value_width;
	int value_height;
	float value_feed;
	float value_kill;
	float value_spreadX;
	float value_spreadY;
	float value_timeStep;
};
#define ostraUniform_width ostraUniforms.value_width
#define ostraUniform_height ostraUniforms.value_height
#define ostraUniform_feed ostraUniforms.value_feed
#define ostraUniform_kill ostraUniforms.value_kill
#define ostraUniform_spreadX ostraUniforms.value_spreadX
#define ostraUniform_spreadY ostraUniforms.value_spreadY
#define ostraUniform_timeStep ostraUniforms.value_timeStep
// One step of the Gray-Scott model: two substances (x, y) react and spread; the next step swaps source and target.
constant uint3 InWorkGroupSize = uint3(16, 16, 1);
kernel void ostraMain(uint3 InGlobalInvocationID [[thread_position_in_grid]], uint3 InLocalInvocationID [[thread_position_in_threadgroup]], uint3 InWorkGroupID [[threadgroup_position_in_grid]]
	, constant OstraUniforms& ostraUniforms [[buffer(0)]]
	, device const ostraStored<Vector2d32>::Type* ostraBuffer_source [[buffer(1)]]
	, device  ostraStored<Vector2d32>::Type* ostraBuffer_target [[buffer(2)]]
	)
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

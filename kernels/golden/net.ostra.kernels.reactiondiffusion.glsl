layout(set = 0, binding = 0, std140) uniform OstraUniforms
{
	layout(offset = 0) int ostraUniform_width;
	layout(offset = 4) int ostraUniform_height;
	layout(offset = 8) float ostraUniform_feed;
	layout(offset = 12) float ostraUniform_kill;
	layout(offset = 16) float ostraUniform_spreadX;
	layout(offset = 20) float ostraUniform_spreadY;
	layout(offset = 24) float ostraUniform_timeStep;
};
layout(set = 0, binding = 1, scalar) readonly buffer OstraBuffer_source
{
	Vector2d32 ostraBuffer_source[];
};
layout(set = 0, binding = 2, scalar)  buffer OstraBuffer_target
{
	Vector2d32 ostraBuffer_target[];
};
// One step of the Gray-Scott model: two substances (x, y) react and spread; the next step swaps source and target.
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

layout(set = 0, binding = 0, std140) uniform OstraUniforms
{
	layout(offset = 0) uint ostraUniform_count;
	layout(offset = 4) float ostraUniform_softening;
	layout(offset = 8) float ostraUniform_timeStep;
};
layout(set = 0, binding = 1, scalar) readonly buffer OstraBuffer_positions
{
	Vector4d32 ostraBuffer_positions[];
};
layout(set = 0, binding = 2, scalar) readonly buffer OstraBuffer_velocities
{
	Vector4d32 ostraBuffer_velocities[];
};
layout(set = 0, binding = 3, scalar)  buffer OstraBuffer_nextPositions
{
	Vector4d32 ostraBuffer_nextPositions[];
};
layout(set = 0, binding = 4, scalar)  buffer OstraBuffer_nextVelocities
{
	Vector4d32 ostraBuffer_nextVelocities[];
};
// One step of bodies that attract each other, every one every other; bodies are (x, y, z, mass), count a multiple of 256.
layout(local_size_x = 256, local_size_y = 1, local_size_z = 1) in;
void main()
{
{
uint i = InGlobalInvocationID.x;
vec4 body = UNIFORM_BUFFER(positions)[i];
vec3 pull = vec3(0.0, 0.0, 0.0);
uint k = 0u;
do
{
vec4 other = UNIFORM_BUFFER(positions)[k];
vec3 way = vec3(other.x - body.x, other.y - body.y, other.z - body.z);
float nearness = inversesqrt(dot(way, way) + UNIFORM(softening));
pull = pull + way * (other.w * nearness * nearness * nearness);
k++;
}
while (k < UNIFORM(count));
vec4 velocity = UNIFORM_BUFFER(velocities)[i];
velocity = vec4(velocity.x + pull.x * UNIFORM(timeStep), velocity.y + pull.y * UNIFORM(timeStep), velocity.z + pull.z * UNIFORM(timeStep), velocity.w);
UNIFORM_BUFFER(nextVelocities)[i] = velocity;
UNIFORM_BUFFER(nextPositions)[i] = vec4(body.x + velocity.x * UNIFORM(timeStep), body.y + velocity.y * UNIFORM(timeStep), body.z + velocity.z * UNIFORM(timeStep), body.w);
}
}

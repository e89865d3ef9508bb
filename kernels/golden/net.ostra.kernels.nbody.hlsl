[[vk::binding(0, 0)]] cbuffer OstraUniforms : register(b0)
{
	uint ostraUniform_count : packoffset(c0.x);
	float ostraUniform_softening : packoffset(c0.y);
	float ostraUniform_timeStep : packoffset(c0.z);
};
[[vk::binding(1, 0)]] StructuredBuffer<Vector4d32> ostraBuffer_positions : register(t1);
[[vk::binding(2, 0)]] StructuredBuffer<Vector4d32> ostraBuffer_velocities : register(t2);
[[vk::binding(3, 0)]] RWStructuredBuffer<Vector4d32> ostraBuffer_nextPositions : register(u3);
[[vk::binding(4, 0)]] RWStructuredBuffer<Vector4d32> ostraBuffer_nextVelocities : register(u4);
// One step of bodies that attract each other, every one every other; bodies are (x, y, z, mass), count a multiple of 256.
static const uint3 InWorkGroupSize = uint3(256, 1, 1);
[numthreads(256, 1, 1)]
void main(uint3 InGlobalInvocationID : SV_DispatchThreadID, uint3 InLocalInvocationID : SV_GroupThreadID, uint3 InWorkGroupID : SV_GroupID)
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

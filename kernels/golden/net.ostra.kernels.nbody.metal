struct OstraUniforms
{
	uint value_count;
	float value_softening;
	float value_timeStep;
};
#define ostraUniform_count ostraUniforms.value_count
#define ostraUniform_softening ostraUniforms.value_softening
#define ostraUniform_timeStep ostraUniforms.value_timeStep
// One step of bodies that attract each other, every one every other; bodies are (x, y, z, mass), count a multiple of 256.
constant uint3 InWorkGroupSize = uint3(256, 1, 1);
kernel void ostraMain(uint3 InGlobalInvocationID [[thread_position_in_grid]], uint3 InLocalInvocationID [[thread_position_in_threadgroup]], uint3 InWorkGroupID [[threadgroup_position_in_grid]]
	, constant OstraUniforms& ostraUniforms [[buffer(0)]]
	, device const ostraStored<Vector4d32>::Type* ostraBuffer_positions [[buffer(1)]]
	, device const ostraStored<Vector4d32>::Type* ostraBuffer_velocities [[buffer(2)]]
	, device  ostraStored<Vector4d32>::Type* ostraBuffer_nextPositions [[buffer(3)]]
	, device  ostraStored<Vector4d32>::Type* ostraBuffer_nextVelocities [[buffer(4)]]
	)
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

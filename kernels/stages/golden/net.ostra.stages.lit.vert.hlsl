[[vk::binding(0, 0)]] cbuffer OstraUniforms : register(b0)
{
	float4x4 ostraUniform_world : packoffset(c0);
	float3x3 ostraUniform_normals : packoffset(c4);
	float4x4 ostraUniform_camera : packoffset(c7);
	float2 ostraUniform_repeats : packoffset(c11.x);
};
static float3 position;
static float3 normal;
static float2 uv;
static float3 place;
static float3 facing;
static float2 picturePlace;
// A model with a texture in the light of a sun: moves the vertices.
void ostraMain()
{
{
vec4 moved = mul(UNIFORM(world), vec4(position.x, position.y, position.z, 1.0));
place = vec3(moved.x, moved.y, moved.z);
facing = mul(UNIFORM(normals), normal);
picturePlace = vec2(uv.x * UNIFORM(repeats).x, uv.y * UNIFORM(repeats).y);
OutPosition = mul(UNIFORM(camera), moved);
}
}
struct OstraOutputs
{
	float4 ostraPosition : SV_Position;
	[[vk::location(0)]]  float3 ostraOutput_place : VARYING0;
	[[vk::location(1)]]  float3 ostraOutput_facing : VARYING1;
	[[vk::location(2)]]  float2 ostraOutput_picturePlace : VARYING2;
	[[vk::builtin("PointSize")]] float ostraPointSize : PSIZE;
};
OstraOutputs main(uint ostraVertex : SV_VertexID, uint ostraInstance : SV_InstanceID
	, [[vk::location(0)]] float3 ostraInput_position : ATTRIBUTE0
	, [[vk::location(1)]] float3 ostraInput_normal : ATTRIBUTE1
	, [[vk::location(2)]] float2 ostraInput_uv : ATTRIBUTE2
)
{
	InVertexID = ostraVertex;
	InInstanceID = ostraInstance;
	OutPointSize = 1.0;
	position = ostraInput_position;
	normal = ostraInput_normal;
	uv = ostraInput_uv;
	ostraMain();
	OstraOutputs outputs;
	outputs.ostraPosition = OutPosition;
	outputs.ostraPointSize = OutPointSize;
	outputs.ostraOutput_place = place;
	outputs.ostraOutput_facing = facing;
	outputs.ostraOutput_picturePlace = picturePlace;
	return outputs;
}

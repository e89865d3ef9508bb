[[vk::binding(0, 0)]] cbuffer OstraUniforms : register(b0)
{
	float4x4 ostraUniform_camera : packoffset(c0);
	float ostraUniform_level : packoffset(c4.x);
};
static float3 position;
static float3 place;
// A level of water: moves its vertices.
void ostraMain()
{
{
place = vec3(position.x, UNIFORM(level), position.z);
OutPosition = mul(UNIFORM(camera), vec4(place.x, place.y, place.z, 1.0));
}
}
struct OstraOutputs
{
	float4 ostraPosition : SV_Position;
	[[vk::location(0)]]  float3 ostraOutput_place : VARYING0;
	[[vk::builtin("PointSize")]] float ostraPointSize : PSIZE;
};
OstraOutputs main(uint ostraVertex : SV_VertexID, uint ostraInstance : SV_InstanceID
	, [[vk::location(0)]] float3 ostraInput_position : ATTRIBUTE0
)
{
	InVertexID = ostraVertex;
	InInstanceID = ostraInstance;
	OutPointSize = 1.0;
	position = ostraInput_position;
	ostraMain();
	OstraOutputs outputs;
	outputs.ostraPosition = OutPosition;
	outputs.ostraPointSize = OutPointSize;
	outputs.ostraOutput_place = place;
	return outputs;
}

static float3 position;
static float2 uv;
static float2 at;
// A pass over the whole picture: the corners as they are given, from -1 to 1.
void ostraMain()
{
{
at = uv;
OutPosition = vec4(position.x, position.y, 0.0, 1.0);
}
}
struct OstraOutputs
{
	float4 ostraPosition : SV_Position;
	[[vk::location(0)]]  float2 ostraOutput_at : VARYING0;
	[[vk::builtin("PointSize")]] float ostraPointSize : PSIZE;
};
OstraOutputs main(uint ostraVertex : SV_VertexID, uint ostraInstance : SV_InstanceID
	, [[vk::location(0)]] float3 ostraInput_position : ATTRIBUTE0
	, [[vk::location(1)]] float2 ostraInput_uv : ATTRIBUTE1
)
{
	InVertexID = ostraVertex;
	InInstanceID = ostraInstance;
	OutPointSize = 1.0;
	position = ostraInput_position;
	uv = ostraInput_uv;
	ostraMain();
	OstraOutputs outputs;
	outputs.ostraPosition = OutPosition;
	outputs.ostraPointSize = OutPointSize;
	outputs.ostraOutput_at = at;
	return outputs;
}

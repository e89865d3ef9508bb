[[vk::binding(0, 0)]] cbuffer OstraUniforms : register(b0)
{
	float4x4 ostraUniform_camera : packoffset(c0);
};
static float4 spot;
static float tone;
// Points as a kernel has written them: x, y, z, and a number from 0 to 1 that chooses the colour.
void ostraMain()
{
{
tone = spot.w;
OutPosition = mul(UNIFORM(camera), vec4(spot.x, spot.y, spot.z, 1.0));
}
}
struct OstraOutputs
{
	float4 ostraPosition : SV_Position;
	[[vk::location(0)]]  float ostraOutput_tone : VARYING0;
	[[vk::builtin("PointSize")]] float ostraPointSize : PSIZE;
};
OstraOutputs main(uint ostraVertex : SV_VertexID, uint ostraInstance : SV_InstanceID
	, [[vk::location(0)]] float4 ostraInput_spot : ATTRIBUTE0
)
{
	InVertexID = ostraVertex;
	InInstanceID = ostraInstance;
	OutPointSize = 1.0;
	spot = ostraInput_spot;
	ostraMain();
	OstraOutputs outputs;
	outputs.ostraPosition = OutPosition;
	outputs.ostraPointSize = OutPointSize;
	outputs.ostraOutput_tone = tone;
	return outputs;
}

struct OstraUniforms
{
	float4x4 value_camera;
};
#define ostraUniform_camera ostraUniforms.value_camera
// Points as a kernel has written them: x, y, z, and a number from 0 to 1 that chooses the colour.
void ostraBody(uint InVertexID, uint InInstanceID, thread float4& OutPosition, thread float& OutPointSize
	, constant OstraUniforms& ostraUniforms
	, float4 spot
	, thread float& tone
	)
{
{
tone = spot.w;
OutPosition = mul(UNIFORM(camera), vec4(spot.x, spot.y, spot.z, 1.0));
}
}
struct OstraInputs
{
	float4 value_spot [[attribute(0)]];
};
struct OstraOutputs
{
	float4 position [[position]];
	float pointSize [[point_size]];
	float value_tone [[user(varying0)]];
};
vertex OstraOutputs ostraMain(uint ostraVertex [[vertex_id]], uint ostraInstance [[instance_id]]
	, constant OstraUniforms& ostraUniforms [[buffer(0)]]
	, OstraInputs ostraInputs [[stage_in]]
	)
{
	OstraOutputs ostraOutputs;
	ostraOutputs.pointSize = 1.0;
	ostraBody(ostraVertex, ostraInstance, ostraOutputs.position, ostraOutputs.pointSize
	, ostraUniforms
	, ostraInputs.value_spot
	, ostraOutputs.value_tone
	);
	return ostraOutputs;
}

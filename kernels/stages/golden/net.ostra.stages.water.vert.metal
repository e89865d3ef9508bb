struct OstraUniforms
{
	float4x4 value_camera;
	float value_level;
};
#define ostraUniform_camera ostraUniforms.value_camera
#define ostraUniform_level ostraUniforms.value_level
// A level of water: moves its vertices.
void ostraBody(uint InVertexID, uint InInstanceID, thread float4& OutPosition, thread float& OutPointSize
	, constant OstraUniforms& ostraUniforms
	, float3 position
	, thread float3& place
	)
{
{
place = vec3(position.x, UNIFORM(level), position.z);
OutPosition = mul(UNIFORM(camera), vec4(place.x, place.y, place.z, 1.0));
}
}
struct OstraInputs
{
	float3 value_position [[attribute(0)]];
};
struct OstraOutputs
{
	float4 position [[position]];
	float pointSize [[point_size]];
	float3 value_place [[user(varying0)]];
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
	, ostraInputs.value_position
	, ostraOutputs.value_place
	);
	return ostraOutputs;
}

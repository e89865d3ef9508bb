struct OstraUniforms
{
	float4x4 value_world;
	float3x3 value_normals;
	float4x4 value_camera;
	float2 value_repeats;
};
#define ostraUniform_world ostraUniforms.value_world
#define ostraUniform_normals ostraUniforms.value_normals
#define ostraUniform_camera ostraUniforms.value_camera
#define ostraUniform_repeats ostraUniforms.value_repeats
// A model with a texture in the light of a sun: moves the vertices.
void ostraBody(uint InVertexID, uint InInstanceID, thread float4& OutPosition, thread float& OutPointSize
	, constant OstraUniforms& ostraUniforms
	, float3 position
	, float3 normal
	, float2 uv
	, thread float3& place
	, thread float3& facing
	, thread float2& picturePlace
	)
{
{
vec4 moved = mul(UNIFORM(world), vec4(position.x, position.y, position.z, 1.0));
place = vec3(moved.x, moved.y, moved.z);
facing = mul(UNIFORM(normals), normal);
picturePlace = vec2(uv.x * UNIFORM(repeats).x, uv.y * UNIFORM(repeats).y);
OutPosition = mul(UNIFORM(camera), moved);
}
}
struct OstraInputs
{
	float3 value_position [[attribute(0)]];
	float3 value_normal [[attribute(1)]];
	float2 value_uv [[attribute(2)]];
};
struct OstraOutputs
{
	float4 position [[position]];
	float pointSize [[point_size]];
	float3 value_place [[user(varying0)]];
	float3 value_facing [[user(varying1)]];
	float2 value_picturePlace [[user(varying2)]];
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
	, ostraInputs.value_normal
	, ostraInputs.value_uv
	, ostraOutputs.value_place
	, ostraOutputs.value_facing
	, ostraOutputs.value_picturePlace
	);
	return ostraOutputs;
}

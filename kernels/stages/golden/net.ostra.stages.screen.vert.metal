// A pass over the whole picture: the corners as they are given, from -1 to 1.
void ostraBody(uint InVertexID, uint InInstanceID, thread float4& OutPosition, thread float& OutPointSize
	, float3 position
	, float2 uv
	, thread float2& at
	)
{
{
at = uv;
OutPosition = vec4(position.x, position.y, 0.0, 1.0);
}
}
struct OstraInputs
{
	float3 value_position [[attribute(0)]];
	float2 value_uv [[attribute(1)]];
};
struct OstraOutputs
{
	float4 position [[position]];
	float pointSize [[point_size]];
	float2 value_at [[user(varying0)]];
};
vertex OstraOutputs ostraMain(uint ostraVertex [[vertex_id]], uint ostraInstance [[instance_id]]
	, OstraInputs ostraInputs [[stage_in]]
	)
{
	OstraOutputs ostraOutputs;
	ostraOutputs.pointSize = 1.0;
	ostraBody(ostraVertex, ostraInstance, ostraOutputs.position, ostraOutputs.pointSize
	, ostraInputs.value_position
	, ostraInputs.value_uv
	, ostraOutputs.value_at
	);
	return ostraOutputs;
}

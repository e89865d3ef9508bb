layout(set = 0, binding = 0, std140) uniform OstraUniforms
{
	layout(offset = 0) mat4 ostraUniform_camera;
	layout(offset = 64) float ostraUniform_level;
};
layout(location = 0) in vec3 position;
layout(location = 0)  out vec3 place;
// A level of water: moves its vertices.
void main()
{
	gl_PointSize = 1.0;
{
place = vec3(position.x, UNIFORM(level), position.z);
OutPosition = mul(UNIFORM(camera), vec4(place.x, place.y, place.z, 1.0));
}
}

layout(set = 0, binding = 0, std140) uniform OstraUniforms
{
	layout(offset = 0) mat4 ostraUniform_world;
	layout(offset = 64) mat3 ostraUniform_normals;
	layout(offset = 112) mat4 ostraUniform_camera;
	layout(offset = 176) vec2 ostraUniform_repeats;
};
layout(location = 0) in vec3 position;
layout(location = 1) in vec3 normal;
layout(location = 2) in vec2 uv;
layout(location = 0)  out vec3 place;
layout(location = 1)  out vec3 facing;
layout(location = 2)  out vec2 picturePlace;
// A model with a texture in the light of a sun: moves the vertices.
void main()
{
	gl_PointSize = 1.0;
{
vec4 moved = mul(UNIFORM(world), vec4(position.x, position.y, position.z, 1.0));
place = vec3(moved.x, moved.y, moved.z);
facing = mul(UNIFORM(normals), normal);
picturePlace = vec2(uv.x * UNIFORM(repeats).x, uv.y * UNIFORM(repeats).y);
OutPosition = mul(UNIFORM(camera), moved);
}
}

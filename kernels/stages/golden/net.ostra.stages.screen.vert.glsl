layout(location = 0) in vec3 position;
layout(location = 1) in vec2 uv;
layout(location = 0)  out vec2 at;
// A pass over the whole picture: the corners as they are given, from -1 to 1.
void main()
{
	gl_PointSize = 1.0;
{
at = uv;
OutPosition = vec4(position.x, position.y, 0.0, 1.0);
}
}

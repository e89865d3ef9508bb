layout(set = 0, binding = 0, std140) uniform OstraUniforms
{
	layout(offset = 0) mat4 ostraUniform_camera;
};
layout(location = 0) in vec4 spot;
layout(location = 0)  out float tone;
// Points as a kernel has written them: x, y, z, and a number from 0 to 1 that chooses the colour.
void main()
{
	gl_PointSize = 1.0;
{
tone = spot.w;
OutPosition = mul(UNIFORM(camera), vec4(spot.x, spot.y, spot.z, 1.0));
}
}

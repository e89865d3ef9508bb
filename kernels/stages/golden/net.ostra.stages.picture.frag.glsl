layout(set = 0, binding = 0, std140) uniform OstraUniforms
{
	layout(offset = 0) uint ostraUniform_wrapModesOf_picture;
};
layout(location = 0)  in vec2 at;
vec4 color = vec4(0);
layout(location = 0) out vec4 ostraOut_color;
layout(set = 0, binding = 1) uniform sampler2D ostraTexture_picture;
ivec2 ostraSize_picture() { return textureSize(ostraTexture_picture, 0); }
vec4 ostraSample_picture(vec2 at) { return textureLod(ostraTexture_picture, at, 0.0).xyzw; }
vec4 ostraFetch_picture(ivec2 at)
{
	ivec2 size = ostraSize_picture();
	ivec2 place = ivec2(ostraWrap(at.x, size.x, ostraUniform_wrapModesOf_picture >> 2u), ostraWrap(at.y, size.y, ostraUniform_wrapModesOf_picture >> 4u));
	bool outside = min(place.x, place.y) < 0;
	return outside ? vec4(0.0) : texelFetch(ostraTexture_picture, place, 0).xyzw;
}
// A picture as it is.
void ostraMain()
{
{
color = SampleTexture(picture, at);
}
}
void main()
{
	ostraMain();
	ostraOut_color = vec4(color);
}

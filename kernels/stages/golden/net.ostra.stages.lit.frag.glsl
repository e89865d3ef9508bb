layout(set = 0, binding = 0, std140) uniform OstraUniforms
{
	layout(offset = 0) vec3 ostraUniform_eye;
	layout(offset = 16) vec3 ostraUniform_sun;
	layout(offset = 32) vec3 ostraUniform_sunColor;
	layout(offset = 48) vec3 ostraUniform_skyColor;
	layout(offset = 64) float ostraUniform_gloss;
	layout(offset = 68) uint ostraUniform_wrapModesOf_picture;
};
layout(location = 0)  in vec3 place;
layout(location = 1)  in vec3 facing;
layout(location = 2)  in vec2 picturePlace;
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
// A model with a texture in the light of a sun and of the sky: colours the pixels.
void ostraMain()
{
{
vec4 texel = SampleTexture(picture, picturePlace);
vec3 base = vec3(texel.x * texel.x, texel.y * texel.y, texel.z * texel.z);
vec3 n = normalize(facing);
vec3 toEye = normalize(UNIFORM(eye) - place);
vec3 toSun = normalize(UNIFORM(sun));
vec3 middle = normalize(toEye + toSun);
float light = max(dot(n, toSun), 0.0);
float shine = pow(max(dot(n, middle), 0.0), UNIFORM(gloss)) * light * 0.6;
float rim = pow(1.0 - max(dot(n, toEye), 0.0), 4.0);
float above = 0.5 + 0.5 * n.y;
vec3 c = base * (UNIFORM(sunColor) * light + UNIFORM(skyColor) * (0.35 + 0.65 * above));
c = c + UNIFORM(sunColor) * shine + UNIFORM(skyColor) * (rim * 0.35);
color = vec4(sqrt(c.x), sqrt(c.y), sqrt(c.z), texel.w);
}
}
void main()
{
	ostraMain();
	ostraOut_color = vec4(color);
}

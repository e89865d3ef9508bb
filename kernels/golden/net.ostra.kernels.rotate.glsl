Float32 EncodeSrgb(Float32 light)
{
return light <= 0.0031308 ? 12.92 * light : 1.055 * pow(light, 1.0 / 2.4) - 0.055;
}
layout(set = 0, binding = 0, std140) uniform OstraUniforms
{
	layout(offset = 0) int ostraUniform_width;
	layout(offset = 4) int ostraUniform_height;
	layout(offset = 8) float ostraUniform_angle;
	layout(offset = 12) float ostraUniform_scale;
	layout(offset = 16) uint ostraUniform_wrapModesOf_image;
};
layout(set = 0, binding = 1, scalar)  buffer OstraBuffer_result
{
	Vector4d32 ostraBuffer_result[];
};
layout(set = 0, binding = 2) uniform sampler2D ostraTexture_image;
ivec2 ostraSize_image() { return textureSize(ostraTexture_image, 0); }
vec4 ostraSample_image(vec2 at) { return textureLod(ostraTexture_image, at, 0.0).xyzw; }
vec4 ostraFetch_image(ivec2 at)
{
	ivec2 size = ostraSize_image();
	ivec2 place = ivec2(ostraWrap(at.x, size.x, ostraUniform_wrapModesOf_image >> 2u), ostraWrap(at.y, size.y, ostraUniform_wrapModesOf_image >> 4u));
	bool outside = min(place.x, place.y) < 0;
	return outside ? vec4(0.0) : texelFetch(ostraTexture_image, place, 0).xyzw;
}
// Rotates and resizes a picture around its middle. The texture decodes its pixels from the sRGB curve, so that they are
// blended as light; the result is encoded with the curve again, alpha too.
layout(local_size_x = 16, local_size_y = 16, local_size_z = 1) in;
void main()
{
{
int x = int(InGlobalInvocationID.x);
int y = int(InGlobalInvocationID.y);
if (x >= UNIFORM(width) || y >= UNIFORM(height))
{
return;
}
float across = (float(x) + 0.5 - 0.5 * float(UNIFORM(width))) / UNIFORM(scale);
float down = (float(y) + 0.5 - 0.5 * float(UNIFORM(height))) / UNIFORM(scale);
float c = cos(UNIFORM(angle));
float s = sin(UNIFORM(angle));
int2 size = TextureSize(image);
vec2 uv = vec2((c * across + s * down) / float(size.x) + 0.5, (c * down - s * across) / float(size.y) + 0.5);
vec4 light = SampleTexture(image, uv);
UNIFORM_BUFFER(result)[y * UNIFORM(width) + x] =
vec4(EncodeSrgb(light.x), EncodeSrgb(light.y), EncodeSrgb(light.z), EncodeSrgb(light.w));
}
}

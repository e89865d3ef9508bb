layout(set = 0, binding = 0, std140) uniform OstraUniforms
{
	layout(offset = 0) int ostraUniform_width;
	layout(offset = 4) int ostraUniform_height;
	layout(offset = 8) float ostraUniform_angle;
	layout(offset = 12) float ostraUniform_radius;
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
// Stirs a picture: turns it around its middle, the more the closer to it. Nothing moves beyond the radius, which is
// measured in heights of the picture.
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
float aspect = float(UNIFORM(width)) / float(UNIFORM(height));
float across = ((float(x) + 0.5) / float(UNIFORM(width)) - 0.5) * aspect;
float down = (float(y) + 0.5) / float(UNIFORM(height)) - 0.5;
float closeness = max(1.0 - length(vec2(across, down)) / UNIFORM(radius), 0.0);
float turn = UNIFORM(angle) * closeness * closeness;
float c = cos(turn);
float s = sin(turn);
vec2 uv = vec2((c * across - s * down) / aspect + 0.5, s * across + c * down + 0.5);
UNIFORM_BUFFER(result)[y * UNIFORM(width) + x] = SampleTexture(image, uv);
}
}

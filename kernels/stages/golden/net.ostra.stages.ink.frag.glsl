float InkDistance(float depth, float nearPlane, float farPlane)
{
return nearPlane * farPlane / (farPlane - depth * (farPlane - nearPlane));
}
layout(set = 0, binding = 0, std140) uniform OstraUniforms
{
	layout(offset = 0) float ostraUniform_nearPlane;
	layout(offset = 4) float ostraUniform_farPlane;
	layout(offset = 16) vec3 ostraUniform_ink;
	layout(offset = 32) vec3 ostraUniform_haze;
	layout(offset = 48) float ostraUniform_sight;
	layout(offset = 52) uint ostraUniform_wrapModesOf_scene;
	layout(offset = 56) uint ostraUniform_wrapModesOf_depths;
};
layout(location = 0)  in vec2 at;
vec4 color = vec4(0);
layout(location = 0) out vec4 ostraOut_color;
layout(set = 0, binding = 1) uniform sampler2D ostraTexture_scene;
ivec2 ostraSize_scene() { return textureSize(ostraTexture_scene, 0); }
vec4 ostraSample_scene(vec2 at) { return textureLod(ostraTexture_scene, at, 0.0).xyzw; }
vec4 ostraFetch_scene(ivec2 at)
{
	ivec2 size = ostraSize_scene();
	ivec2 place = ivec2(ostraWrap(at.x, size.x, ostraUniform_wrapModesOf_scene >> 2u), ostraWrap(at.y, size.y, ostraUniform_wrapModesOf_scene >> 4u));
	bool outside = min(place.x, place.y) < 0;
	return outside ? vec4(0.0) : texelFetch(ostraTexture_scene, place, 0).xyzw;
}
layout(set = 0, binding = 2) uniform sampler2D ostraTexture_depths;
ivec2 ostraSize_depths() { return textureSize(ostraTexture_depths, 0); }
float ostraSample_depths(vec2 at) { return textureLod(ostraTexture_depths, at, 0.0).x; }
float ostraFetch_depths(ivec2 at)
{
	ivec2 size = ostraSize_depths();
	ivec2 place = ivec2(ostraWrap(at.x, size.x, ostraUniform_wrapModesOf_depths >> 2u), ostraWrap(at.y, size.y, ostraUniform_wrapModesOf_depths >> 4u));
	bool outside = min(place.x, place.y) < 0;
	return outside ? float(0.0) : texelFetch(ostraTexture_depths, place, 0).x;
}
// A drawing of what an earlier pass has drawn: lines where the depth jumps, haze with the distance, darker corners.
void ostraMain()
{
{
int2 size = TextureSize(depths);
int2 pixel = int2(int(at.x * float(size.x)), int(at.y * float(size.y)));
float here = InkDistance(FetchTexture(depths, pixel), UNIFORM(nearPlane), UNIFORM(farPlane));
float left = InkDistance(FetchTexture(depths, int2(pixel.x - 1, pixel.y)), UNIFORM(nearPlane), UNIFORM(farPlane));
float right = InkDistance(FetchTexture(depths, int2(pixel.x + 1, pixel.y)), UNIFORM(nearPlane), UNIFORM(farPlane));
float above = InkDistance(FetchTexture(depths, int2(pixel.x, pixel.y - 1)), UNIFORM(nearPlane), UNIFORM(farPlane));
float below = InkDistance(FetchTexture(depths, int2(pixel.x, pixel.y + 1)), UNIFORM(nearPlane), UNIFORM(farPlane));
// Second differences: slopes are no lines, edges and creases are.
float bend = abs(left + right - 2.0 * here) + abs(above + below - 2.0 * here);
float edge = smoothstep(0.01, 0.05, bend / here);
vec4 seen = SampleTexture(scene, at);
vec3 c = vec3(seen.x, seen.y, seen.z);
c = mix(c, UNIFORM(haze), clamp((here - 2.0) / UNIFORM(sight), 0.0, 1.0));
c = mix(c, UNIFORM(ink), edge);
vec2 fromMiddle = at - vec2(0.5, 0.5);
c = c * (1.0 - 0.9 * dot(fromMiddle, fromMiddle));
color = vec4(c.x, c.y, c.z, 1.0);
}
}
void main()
{
	ostraMain();
	ostraOut_color = vec4(color);
}

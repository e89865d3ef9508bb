// A drawing of what an earlier pass has drawn: lines where the depth jumps, haze with the distance, darker corners.
#define KERNELINPUTS \
(varying Vector2d32) at, \
(const TextureSampler_2D_RGBA_F32_LINEAR) scene, \
(const TextureSampler_2D_R_F32_POINT) depths, \
(Float32) nearPlane, \
(Float32) farPlane, \
(Vector32) ink, \
(Vector32) haze, \
(Float32) sight, \
(out Vector4d32) color

OSTRA_PARALLEL_KERNEL(InkFragment, KERNELINPUTS)
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
OSTRA_PARALLEL_KERNEL_END

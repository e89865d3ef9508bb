// A terrain: colours by height and steepness, in the light of a low sun and behind haze.
#define KERNELINPUTS \
(varying Vector32) place, \
(varying Vector32) facing, \
(GradientRenderData) colors, \
(Vector32) eye, \
(Vector32) sun, \
(Vector32) haze, \
(Float32) height, \
(Float32) sight, \
(out Vector4d32) color

OSTRA_PARALLEL_KERNEL(TerrainFragment, KERNELINPUTS)
{
	vec3 n = normalize(facing);
	float grain = 0.5 * TerrainNoise(vec2(place.x, place.z) * 40.0);
	float level = clamp(place.y / UNIFORM(height) + grain * 0.05, 0.0, 1.0);
	vec3 ground = SampleGradient(UNIFORM(colors), level);
	vec3 rock = vec3(0.21, 0.19, 0.18) * (1.0 + grain * 0.4);
	ground = mix(rock, ground, smoothstep(0.55, 0.8, n.y + grain * 0.1));
	float light = max(dot(n, normalize(UNIFORM(sun))), 0.0);
	vec3 c = ground * (vec3(1.9, 1.5, 1.05) * light + vec3(0.14, 0.19, 0.28) * (0.5 + 0.5 * n.y));
	float away = length(UNIFORM(eye) - place) / UNIFORM(sight);
	c = mix(c, UNIFORM(haze), clamp(1.0 - exp(-away * away), 0.0, 1.0));
	color = vec4(sqrt(c.x), sqrt(c.y), sqrt(c.z), 1.0);
}
OSTRA_PARALLEL_KERNEL_END

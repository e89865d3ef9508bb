// A model with a texture in the light of a sun and of the sky: colours the pixels.
#define KERNELINPUTS \
(varying Vector32) place, \
(varying Vector32) facing, \
(varying Vector2d32) picturePlace, \
(Vector32) eye, \
(Vector32) sun, \
(Vector32) sunColor, \
(Vector32) skyColor, \
(Float32) gloss, \
(const TextureSampler_2D_RGBA_F32_LINEAR) picture, \
(out Vector4d32) color

OSTRA_PARALLEL_KERNEL(LitFragment, KERNELINPUTS)
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
OSTRA_PARALLEL_KERNEL_END

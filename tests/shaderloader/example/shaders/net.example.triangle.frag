// The colour of a pixel: brighter towards the top.
#define KERNELINPUTS \
(varying Vector2d32) place, \
(Vector4d32) tint, \
(out Vector4d32) f_color

OSTRA_PARALLEL_KERNEL(TriangleFragment, KERNELINPUTS)
{
	float light = 0.5 + 0.5 * place.y;
	f_color = vec4(UNIFORM(tint).x * light, UNIFORM(tint).y * light, UNIFORM(tint).z * light, UNIFORM(tint).w);
}
OSTRA_PARALLEL_KERNEL_END

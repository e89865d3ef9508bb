// Points in the colours of a gradient; light adds up where many lie one behind the other.
#define KERNELINPUTS \
(varying Float32) tone, \
(GradientRenderData) colors, \
(Float32) opacity, \
(out Vector4d32) color

OSTRA_PARALLEL_KERNEL(PointsFragment, KERNELINPUTS)
{
	vec3 c = SampleGradient(UNIFORM(colors), tone);
	color = vec4(c.x, c.y, c.z, UNIFORM(opacity));
}
OSTRA_PARALLEL_KERNEL_END

// Points as a kernel has written them: x, y, z, and a number from 0 to 1 that chooses the colour.
#define KERNELINPUTS \
(attribute Vector4d32) spot, \
(varying Float32) tone, \
(Matrix32) camera

OSTRA_PARALLEL_KERNEL(PointsVertex, KERNELINPUTS)
{
	tone = spot.w;
	OutPosition = mul(UNIFORM(camera), vec4(spot.x, spot.y, spot.z, 1.0));
}
OSTRA_PARALLEL_KERNEL_END

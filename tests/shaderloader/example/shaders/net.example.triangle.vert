// Corners in clip space: x to the right, y upwards, from -1 to 1.
#define KERNELINPUTS \
(attribute Vector2d32) corner, \
(varying Vector2d32) place

OSTRA_PARALLEL_KERNEL(TriangleVertex, KERNELINPUTS)
{
	place = corner;
	OutPosition = vec4(corner.x, corner.y, 0.5, 1.0);
}
OSTRA_PARALLEL_KERNEL_END

// A terrain of patches: corners of the patches, in the plane.
#define KERNELINPUTS \
(attribute Vector32) position, \
(varying Vector32) corner

OSTRA_PARALLEL_KERNEL(TerrainVertex, KERNELINPUTS)
{
	corner = position;
	OutPosition = vec4(position.x, position.y, position.z, 1.0);
}
OSTRA_PARALLEL_KERNEL_END

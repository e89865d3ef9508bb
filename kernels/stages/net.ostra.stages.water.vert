// A level of water: moves its vertices.
#define KERNELINPUTS \
(attribute Vector32) position, \
(varying Vector32) place, \
(Matrix32) camera, \
(Float32) level

OSTRA_PARALLEL_KERNEL(WaterVertex, KERNELINPUTS)
{
	place = vec3(position.x, UNIFORM(level), position.z);
	OutPosition = mul(UNIFORM(camera), vec4(place.x, place.y, place.z, 1.0));
}
OSTRA_PARALLEL_KERNEL_END

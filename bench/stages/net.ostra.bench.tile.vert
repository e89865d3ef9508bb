// A tile of one colour: puts a unit square somewhere.
#define KERNELINPUTS \
(attribute Vector2d32) position, \
(Vector4d32) place

OSTRA_PARALLEL_KERNEL(TileVertex, KERNELINPUTS)
{
	vec4 to = UNIFORM(place);
	OutPosition = vec4(to.x + position.x * to.z, to.y + position.y * to.w, 0.5, 1.0);
}
OSTRA_PARALLEL_KERNEL_END

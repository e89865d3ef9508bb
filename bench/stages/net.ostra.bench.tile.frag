// A tile of one colour.
#define KERNELINPUTS \
(Vector4d32) tint, \
(out Vector4d32) color

OSTRA_PARALLEL_KERNEL(TileFragment, KERNELINPUTS)
{
	color = UNIFORM(tint);
}
OSTRA_PARALLEL_KERNEL_END

// A pass over the whole picture: the corners as they are given, from -1 to 1.
#define KERNELINPUTS \
(attribute Vector32) position, \
(attribute Vector2d32) uv, \
(varying Vector2d32) at

OSTRA_PARALLEL_KERNEL(ScreenVertex, KERNELINPUTS)
{
	at = uv;
	OutPosition = vec4(position.x, position.y, 0.0, 1.0);
}
OSTRA_PARALLEL_KERNEL_END

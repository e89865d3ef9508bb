// A model with a texture in the light of a sun: moves the vertices.
#define KERNELINPUTS \
(attribute Vector32) position, \
(attribute Vector32) normal, \
(attribute Vector2d32) uv, \
(varying Vector32) place, \
(varying Vector32) facing, \
(varying Vector2d32) picturePlace, \
(Matrix32) world, \
(SquareMatrix32) normals, \
(Matrix32) camera, \
(Vector2d32) repeats

OSTRA_PARALLEL_KERNEL(LitVertex, KERNELINPUTS)
{
	vec4 moved = mul(UNIFORM(world), vec4(position.x, position.y, position.z, 1.0));
	place = vec3(moved.x, moved.y, moved.z);
	facing = mul(UNIFORM(normals), normal);
	picturePlace = vec2(uv.x * UNIFORM(repeats).x, uv.y * UNIFORM(repeats).y);
	OutPosition = mul(UNIFORM(camera), moved);
}
OSTRA_PARALLEL_KERNEL_END

// A picture as it is.
#define KERNELINPUTS \
(varying Vector2d32) at, \
(const TextureSampler_2D_RGBA_F32_LINEAR) picture, \
(out Vector4d32) color

OSTRA_PARALLEL_KERNEL(PictureFragment, KERNELINPUTS)
{
	color = SampleTexture(picture, at);
}
OSTRA_PARALLEL_KERNEL_END

struct OstraUniforms
{
	uint value_count;
	uint value_wrapModesOf_table;
};
#define ostraUniform_count ostraUniforms.value_count
#define ostraUniform_wrapModesOf_table ostraUniforms.value_wrapModesOf_table
#define ostraSize_table() ostraSize3D(ostraTexture_table)
#define ostraSample_table(at) ostraTake3(ostraSample(ostraTexture_table, ostraSampler_table, at))
#define ostraFetch_table(at) ostraTake3(ostraFetch(ostraTexture_table, at, ostraUniform_wrapModesOf_table))
// Replaces the colours of a picture by those of a table: a cube over red, green and blue. Colours between its entries
// are blended; the ends of each axis are the middles of the first and the last entry.
constant uint3 InWorkGroupSize = uint3(256, 1, 1);
kernel void ostraMain(uint3 InGlobalInvocationID [[thread_position_in_grid]], uint3 InLocalInvocationID [[thread_position_in_threadgroup]], uint3 InWorkGroupID [[threadgroup_position_in_grid]]
	, constant OstraUniforms& ostraUniforms [[buffer(0)]]
	, device const ostraStored<Vector4d32>::Type* ostraBuffer_source [[buffer(1)]]
	, device  ostraStored<Vector4d32>::Type* ostraBuffer_target [[buffer(2)]]
	, texture3d<float> ostraTexture_table [[texture(3)]], sampler ostraSampler_table [[sampler(3)]]
	)
{
{
uint i = LinearInvocation();
if (i >= UNIFORM(count))
{
return;
}
vec4 pixel = UNIFORM_BUFFER(source)[i];
int3 size = TextureSize(table);
vec3 entries = vec3(float(size.x), float(size.y), float(size.z));
vec3 colour = clamp(vec3(pixel.x, pixel.y, pixel.z), 0.0, 1.0);
vec3 at = vec3((colour.x * (entries.x - 1.0) + 0.5) / entries.x,
(colour.y * (entries.y - 1.0) + 0.5) / entries.y,
(colour.z * (entries.z - 1.0) + 0.5) / entries.z);
vec3 mapped = SampleTexture(table, at);
UNIFORM_BUFFER(target)[i] = vec4(mapped.x, mapped.y, mapped.z, pixel.w);
}
}

// The noises, one line each: all that programs, shaders and the tool know of them comes from here.
//
// A new noise is a line here, its text in ostra/render/noise, that file's name in noise_texts.inl, and a line with a
// picture in docs/noise.md.
//
// OSTRA_NOISE(mode, name, id) is defined before this file is included, and not defined any more behind it. The mode is
// the number that the uniforms noiseMode_0, noiseMode_1, ... choose the noise by; the name stands in the constant of
// its class (kPerlinNoise) and in the function of its text (NoisePerlin); the ID is the last part of that of its class.
// OSTRA_DEFAULT_NOISE may be another macro, for the noise that all numbers without a line stand for. No include guard.
#ifndef OSTRA_DEFAULT_NOISE
#define OSTRA_DEFAULT_NOISE OSTRA_NOISE
#endif

OSTRA_NOISE(0, Perlin, "perlin")
OSTRA_DEFAULT_NOISE(1, Turbulence, "turbulence")
OSTRA_NOISE(3, Gaseous, "gaseous")
OSTRA_NOISE(4, Electric, "electric")
OSTRA_NOISE(5, Box, "box")
OSTRA_NOISE(6, BlisteredTurbulence, "blisteredturbulence")
OSTRA_NOISE(7, DisplacedTurbulence, "displacedturbulence")
OSTRA_NOISE(8, Buya, "buya")
OSTRA_NOISE(9, Cranal, "cranal")
OSTRA_NOISE(10, Dents, "dents")
OSTRA_NOISE(11, Hama, "hama")
OSTRA_NOISE(12, Luka, "luka")
OSTRA_NOISE(13, Mod, "mod")
OSTRA_NOISE(14, Naki, "naki")
OSTRA_NOISE(15, Nutous, "nutous")
OSTRA_NOISE(16, Ober, "ober")
OSTRA_NOISE(17, Pezo, "pezo")
OSTRA_NOISE(18, Poxo, "poxo")
OSTRA_NOISE(19, Sema, "sema")
OSTRA_NOISE(20, Stupl, "stupl")
OSTRA_NOISE(21, Vl, "vl")
OSTRA_NOISE(22, WavyTurbulence, "wavyturbulence")
OSTRA_NOISE(23, Zada, "zada")
OSTRA_NOISE(24, Cell, "cell")

#undef OSTRA_NOISE
#undef OSTRA_DEFAULT_NOISE

// turbulence: fractional Brownian motion over all octaves, clouds with fine detail. Continuous; period 65536.
float NoiseTurbulence(uint key, int depth, float x, float y, float z, float w) {
  return NoiseSoft(1.1f * NoiseFractal(key, depth, x, y, z, w));
}

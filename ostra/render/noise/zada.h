// zada: fibres combed along the second axis, split into bright strands. Continuous; period 65536.
float NoiseZada(uint key, int depth, float x, float y, float z, float w) {
  float bend = 0.5f * NoiseFractal(NoiseKey(key, 1u), 2, x, y, z, w);
  float combedX = NoiseCoordinate(8.0f * (x + bend));
  float strand = NoiseRidges(key, min(depth, 3), combedX, y, 4.0f * z, w);
  float bundle = NoiseGradient(NoiseKey(key, 2u), 0.25f * combedX, y, z, w);
  return NoiseSaturate(0.9f * strand + 0.5f * bundle + 0.1f);
}

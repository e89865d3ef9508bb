// nutous: nuts in a box: round kernels with growth rings, dark where they meet. Continuous; period 65536.
float NoiseNutous(uint key, int depth, float x, float y, float z, float w) {
  float shell = NoiseStep(0.0f, 8.0f, NoiseBorder(key, x, y, z, w));
  float bend = 0.15f * NoiseGradient(NoiseKey(key, 1u), 3.0f * x, 3.0f * y, 3.0f * z, w);
  float rings = NoiseWave(6.0f * (NoiseNearest(key, x, y, z, w) + bend));
  return shell * (0.55f + 0.45f * rings);
}

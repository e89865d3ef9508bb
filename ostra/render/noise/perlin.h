// perlin: plain gradient noise, soft blobs of one size. Continuous; period 65536 on every axis.
float NoisePerlin(uint key, int depth, float x, float y, float z, float w) {
  return NoiseSoft(1.25f * NoiseGradient(key, x, y, z, w));
}

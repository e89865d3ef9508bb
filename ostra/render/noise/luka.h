// luka: smooth lines of equal height on rolling hills, like the grain of wood. Continuous; period 65536.
float NoiseLuka(uint key, int depth, float x, float y, float z, float w) {
  float height =
      NoiseGradient(key, x, y, z, w) + 0.08f * NoiseFractal(NoiseKey(key, 1u), min(depth, 4), x, 4.0f * y, z, w);
  return NoiseWave(5.0f * height);
}

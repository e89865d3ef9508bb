// poxo: pock marks: craters of different sizes, a bright rim around a dark floor, scattered over a rough ground.
// Continuous; period 65536.
float NoisePoxo(uint key, int depth, float x, float y, float z, float w) {
  float inside = NoiseSpots(key, 0.75f, 0.5f, x, y, z, w);
  float rim = NoiseStep(0.0f, 25.0f, inside) - NoiseStep(0.04f, 25.0f, inside);
  float bottom = NoiseStep(0.05f, 10.0f, inside);
  float ground = 0.55f + 0.3f * NoiseFractal(NoiseKey(key, 1u), min(depth, 5), 2.0f * x, 2.0f * y, 2.0f * z, w);
  return NoiseSaturate(ground + 0.4f * rim - 0.55f * bottom);
}

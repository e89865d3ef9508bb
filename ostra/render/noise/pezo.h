// pezo: broken pieces of different brightness with dark joints. Continuous; period 65536.
float NoisePezo(uint key, int depth, float x, float y, float z, float w) {
  float joint = NoiseStep(0.02f, 14.0f, NoiseBorder(key, x, y, z, w));
  return joint * (0.15f + 0.85f * NoiseNearestValue(key, x, y, z, w));
}

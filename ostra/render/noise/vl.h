// vl: a net of thin bright lines along the borders between scattered points. Continuous; period 65536.
float NoiseVl(uint key, int depth, float x, float y, float z, float w) {
  float border = NoiseBorder(key, x, y, z, w);
  float glow = NoiseCrest(border, 2.5f);
  return 0.75f * (1.0f - NoiseStep(0.02f, 16.0f, border)) + 0.25f * glow * glow;
}

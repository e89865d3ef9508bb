// dents: an even surface with soft dents hit into it here and there. Continuous; period 65536.
float NoiseDents(uint key, int depth, float x, float y, float z, float w) {
  float hit = max(NoiseFractal(key, min(depth, 3), x, y, z, w) - 0.02f, 0.0f);
  float rest = NoiseSaturate(1.0f - 1.6f * hit);
  float grain = NoiseGradient(NoiseKey(key, 1u), 4.0f * x, 4.0f * y, 4.0f * z, w);
  return NoiseSaturate(0.95f * rest * rest * rest + 0.08f * grain);
}

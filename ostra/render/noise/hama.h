// hama: hammered metal: round hollows of different depth that run into each other. Continuous; period 65536.
float NoiseHama(uint key, int depth, float x, float y, float z, float w) {
  float hollows = NoiseBumps(key, 2.0f * x, 2.0f * y, 2.0f * z, w);
  float scratches = NoiseFractal(NoiseKey(key, 1u), min(depth, 4), 4.0f * x, 4.0f * y, 4.0f * z, w);
  float rest = NoiseSaturate(1.15f - 0.9f * hollows);
  return NoiseSaturate(rest * rest + 0.08f * scratches);
}

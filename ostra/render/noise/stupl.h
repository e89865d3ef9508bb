// stupl: stipple: crisp dots of different sizes on an empty ground. Continuous; period 65536.
float NoiseStupl(uint key, int depth, float x, float y, float z, float w) {
  float large = NoiseSpots(key, 0.8f, 0.25f, 2.0f * x, 2.0f * y, 2.0f * z, w);
  float small = NoiseSpots(NoiseKey(key, 1u), 0.8f, 0.25f, 4.0f * x, 4.0f * y, 4.0f * z, w);
  return max(NoiseStep(0.0f, 30.0f, large), 0.6f * NoiseStep(0.0f, 30.0f, small));
}

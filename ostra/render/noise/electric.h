// electric: bright threads that flicker along the zeros of a displaced fractal, on a dark ground. Continuous; period
// 65536.
float NoiseElectric(uint key, int depth, float x, float y, float z, float w) {
  float jitter = 0.35f * NoiseFractal(NoiseKey(key, 1u), min(depth, 5), 2.0f * x, 2.0f * y, 2.0f * z, 2.0f * w);
  float threadX = NoiseCoordinate(x + jitter);
  float threadY = NoiseCoordinate(y - jitter);
  float strong = NoiseCrest(NoiseGradient(key, threadX, threadY, z, w), 3.0f);
  float weak = NoiseCrest(NoiseGradient(NoiseKey(key, 2u), 2.0f * threadX, 2.0f * threadY, 2.0f * z, 2.0f * w), 4.0f);
  float glow = strong * strong;
  float core = glow * glow * glow;
  return min(0.35f * glow + 0.65f * core + 0.4f * weak * weak * weak * weak, 1.0f);
}

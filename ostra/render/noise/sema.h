// sema: calm and rough patches beside each other: slow noise decides how much of a fine fractal shows. Continuous;
// period 65536.
float NoiseSema(uint key, int depth, float x, float y, float z, float w) {
  float slow = NoiseGradient(NoiseKey(key, 1u), x, y, z, w);
  float rough = NoiseStep(-0.15f, 3.0f, slow);
  float fine = NoiseFractal(key, min(depth, 6), 4.0f * x, 4.0f * y, 4.0f * z, w);
  return NoiseSoft(0.9f * slow + 1.1f * rough * fine);
}

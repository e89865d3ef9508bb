// wavyturbulence: billows swaying in waves that cross each other. Continuous; period 65536.
float NoiseWavyTurbulence(uint key, int depth, float x, float y, float z, float w) {
  float swayX = 0.3f * NoiseWave(y + 0.5f * NoiseGradient(NoiseKey(key, 1u), x, y, z, w));
  float swayY = 0.3f * NoiseWave(x + 0.5f * NoiseGradient(NoiseKey(key, 2u), x, y, z, w));
  float crossX = NoiseCoordinate(x + swayX);
  float crossY = NoiseCoordinate(y + swayY);
  float ripple = NoiseWave(2.0f * (crossX + crossY + NoiseGradient(NoiseKey(key, 3u), crossX, crossY, z, w)));
  return NoiseSaturate(0.9f * NoiseBillow(key, min(depth, 7), crossX, crossY, z, w) + 0.45f * ripple);
}
